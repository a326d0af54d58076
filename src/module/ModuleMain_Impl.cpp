#include "module/ModuleMain_Impl.h"

#include "destination/Destination_DebugOutput_Impl.h"
#include "destination/Destination_KafkaLog_Impl.h"
#include "destination/Destination_SystemLog_Impl.h"
#include "filesystem/Paths.h"
#include "module/ThreadContext_Impl.h"
#include "root/ModuleAccess.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/ThreadSpecificLogInfo.h>
#include <QzSynch/ThreadSpecificLogInfo.h>

#include <vector>

namespace QzLog
{
    ModuleMain_Impl::ModuleMain_Impl()
        : mMachineName(QzBase::WideCharToUTF8(QzBase::GetComputerName().c_str(), false).c_str()),
          mpLock(QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryDefault)),
          mDiskFiles(*mpLock),
          mpDebugOutput(new Destination_DebugOutput_Impl),
          mpSystemLog(new Destination_SystemLog_Impl),
          mpThreadStorage(QzSynch::CreateThreadLocalStorage())
    {
    }

    ModuleMain_Impl::~ModuleMain_Impl() = default;

    void ModuleMain_Impl::SetConfigurationHook(ConfigurationHook* hook)
    {
        QzBase::CountedPtr<ConfigurationHook> replaced(hook);
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        mpConfigurationHook.swap(replaced);
    }

    QzBase::ReturnPtrI<ConfigurationHook> ModuleMain_Impl::GetConfigurationHook()
    {
        QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
        return QzBase::ReturnPtrI<ConfigurationHook>(mpConfigurationHook.get());
    }

    void ModuleMain_Impl::RefreshConfiguration()
    {
        QzBase::ReturnPtrI<ConfigurationHook> const hook = GetConfigurationHook();
        if (!hook)
            return;
        std::vector<QzBase::CountedPtr<Logger>> loggers;
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            loggers.reserve(mRegisteredLoggers.size());
            for (auto const& [name, logger] : mRegisteredLoggers)
                loggers.emplace_back(logger);
        }
        for (QzBase::CountedPtr<Logger> const& logger : loggers)
        {
            hook->ConfigureLogger(logger.get());
            logger->ApplyConfigurationHook(hook.get());
        }
    }

    QzBase::ReturnPtrI<Logger> ModuleMain_Impl::GetLogger(
        char const* loggerName, QzSynch::EnumHvnLockStackCategory category)
    {
        std::string name(loggerName ? loggerName : "");
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            auto const found = mRegisteredLoggers.find(name);
            if (found != mRegisteredLoggers.end())
                return QzBase::ReturnPtrI<Logger>(found->second.get());
        }
        QzBase::CountedPtr<Logger_Impl> const logger = Logger_Impl::Create(name.c_str(), category);
        if (QzBase::ReturnPtrI<ConfigurationHook> const hook = GetConfigurationHook())
            hook->ConfigureLogger(logger.get());
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        // Another thread may have been first. Its logger is used; this one is destroyed without the lock.
        auto const entry = mRegisteredLoggers.try_emplace(std::move(name), logger).first;
        return QzBase::ReturnPtrI<Logger>(entry->second.get());
    }

    QzBase::ReturnPtrI<Destination_DebugOutput> ModuleMain_Impl::GetDestination_DebugOutput()
    {
        return QzBase::ReturnPtrI<Destination_DebugOutput>(mpDebugOutput.get());
    }

    QzBase::ReturnPtrI<Destination_SystemLog> ModuleMain_Impl::GetDestination_SystemLog()
    {
        return QzBase::ReturnPtrI<Destination_SystemLog>(mpSystemLog.get());
    }

    QzBase::ReturnPtrI<Destination_DiskFile> ModuleMain_Impl::GetDestination_DiskFile(unsigned short const* path)
    {
        return mDiskFiles.GetDestination(path, *mpDebugOutput);
    }

    void ModuleMain_Impl::SetServerInstanceName(unsigned short const* name)
    {
        mServerInstanceName.Set(name);
        Destination_KafkaLog_Impl::ConfigureKafkaTopic(QzBase::GetComputerName().c_str(), name);
    }

    QzBase::ReturnPtrI<Destination_KafkaLog> ModuleMain_Impl::GetDestination_KafkaLog(unsigned short const* path)
    {
        using namespace QzBase::Literals;

        if (!path)
            return nullptr;
        QzBase::WideString key = QzFileSystem::CombinePaths(path, u""_w).c_str();
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            auto const found = mKafkaDestinations.find(key);
            if (found != mKafkaDestinations.end())
                return QzBase::ReturnPtrI<Destination_KafkaLog>(found->second.get());
        }
        QzBase::CountedPtr<Destination_KafkaLog> const destination(new Destination_KafkaLog_Impl(key.c_str()));
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        // Another thread may have been first. Its destination is used; this one is destroyed without the lock.
        mKafkaAftermath.mDiskFiles.reserve(mKafkaAftermath.mDiskFiles.size() + 1);
        auto const [entry, isNew] = mKafkaDestinations.try_emplace(std::move(key), destination);
        if (isNew)
            mKafkaAftermath.mDiskFiles.emplace_back(destination->GetDiskFileDestination());
        return QzBase::ReturnPtrI<Destination_KafkaLog>(entry->second.get());
    }

    void ModuleMain_Impl::UpdateLogRegistryStr(unsigned short const* text)
    {
        Destination_KafkaLog_Impl::PublishRegistrySettings(text);
    }

    ThreadContext* ModuleMain_Impl::GetThreadContext()
    {
        if (QzSynch::ThreadContext* const stored = mpThreadStorage->GetValue())
        {
            ThreadContext_Impl* const context = static_cast<ThreadContext_Impl*>(stored);
            context->FollowFork();
            return context;
        }
        QzBase::StrongPtr<ThreadContext_Impl> context(
            new ThreadContext_Impl(mMachineName.c_str(), mServerInstanceName));
        mpThreadStorage->SetValue(context.get());
        return context.release();
    }

    ModuleMain_Impl::KafkaAftermath::~KafkaAftermath()
    {
        try
        {
            QzBase::ReturnString const serverName =
                QzBase::WideCharToUTF8(mModule.mServerInstanceName.Get().c_str(), false);
            // They share one topic and one count: the first file that can be written reports all of it.
            for (auto const& diskFile : mDiskFiles)
                Destination_KafkaLog_Impl::ReportLosses(*diskFile, mModule.mMachineName.c_str(), serverName.c_str());
        }
        catch (std::bad_alloc const&)
        {
            // The count is kept for the next module.
        }
    }

    ModuleMain_Impl::LogInfoRegistration::LogInfoRegistration()
    {
        // QzSynch may still be calling one of these when the module is hidden: they then do nothing.
        QzSynch::RegisterThreadSpecificLogInfoGetter(
            []
            {
                ModulePin const module;
                return module ? GetThreadSpecificLogInfo() : std::shared_ptr<ThreadSpecificLogInfo>();
            });
        QzSynch::RegisterThreadSpecificLogInfoSetter(
            [](ThreadSpecificLogInfo* info)
            {
                ModulePin const module;
                if (module && info)
                    SetThreadSpecificLogInfo(*info);
            });
        QzSynch::RegisterThreadSpecificLogInfoUnsetter(
            []
            {
                ModulePin const module;
                if (module)
                    ClearThreadSpecificLogInfo();
            });
    }

    ModuleMain_Impl::LogInfoRegistration::~LogInfoRegistration()
    {
        QzSynch::DeregisterThreadSpecificLogInfoGetter();
        QzSynch::DeregisterThreadSpecificLogInfoSetter();
        QzSynch::DeregisterThreadSpecificLogInfoUnsetter();
    }
}
