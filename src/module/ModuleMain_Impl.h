#pragma once

#include "filesystem/Initializer.h"
#include "module/DiskFileRegistry.h"
#include "module/ServerInstanceName.h"
#include "root/ModuleMain.h"
#include "routing/Logger_Impl.h"

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/WideString.h>
#include <QzLog/ConfigurationHook.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Destination_SystemLog.h>
#include <QzLog/MsgLogTrace.h>
#include <QzResource/Localizer.h>
#include <QzSynch/ThreadLocalStorage.h>

#include <map>
#include <string>
#include <vector>

namespace QzLog
{
    class ModuleMain_Impl final : public ModuleMain
    {
    public:
        ModuleMain_Impl();
        ~ModuleMain_Impl();
        ModuleMain_Impl(ModuleMain_Impl const&) = delete;
        ModuleMain_Impl& operator=(ModuleMain_Impl const&) = delete;

        void SetBasePath(unsigned short const* path) override { mDiskFiles.SetBasePath(path); }
        QzBase::ReturnWString GetBasePath() override { return mDiskFiles.GetBasePath(); }
        QzBase::ReturnWString GetServerInstanceName() override { return mServerInstanceName.Get(); }
        void SetServerInstanceName(unsigned short const* name) override;
        char const* GetMachineName() override { return mMachineName.c_str(); }
        void SetConfigurationHook(ConfigurationHook* hook) override;
        QzBase::ReturnPtrI<ConfigurationHook> GetConfigurationHook() override;
        void RefreshConfiguration() override;
        QzBase::ReturnPtrI<Logger> GetLogger(char const* name, QzSynch::EnumHvnLockStackCategory category) override;
        QzBase::ReturnPtrI<Destination_DebugOutput> GetDestination_DebugOutput() override;
        QzBase::ReturnPtrI<Destination_SystemLog> GetDestination_SystemLog() override;
        QzBase::ReturnPtrI<Destination_DiskFile> GetDestination_DiskFile(unsigned short const* path) override;
        QzBase::ReturnPtrI<Destination_KafkaLog> GetDestination_KafkaLog(unsigned short const* path) override;
        void UpdateLogRegistryStr(unsigned short const* text) override;
        ThreadContext* GetThreadContext() override;

    private:
        /// Registers the threads' log identity with QzSynch for its life.
        class LogInfoRegistration
        {
        public:
            LogInfoRegistration();
            ~LogInfoRegistration();
            LogInfoRegistration(LogInfoRegistration const&) = delete;
            LogInfoRegistration& operator=(LogInfoRegistration const&) = delete;
        };

        /// Holds the disk files of the Kafka destinations until the Kafka client has ended, and reports there the
        /// records that the client gave up.
        class KafkaAftermath
        {
        public:
            explicit KafkaAftermath(ModuleMain_Impl& module) : mModule(module) {}
            ~KafkaAftermath();
            KafkaAftermath(KafkaAftermath const&) = delete;
            KafkaAftermath& operator=(KafkaAftermath const&) = delete;

            std::vector<QzBase::CountedPtr<Destination_DiskFile>> mDiskFiles;

        private:
            ModuleMain_Impl& mModule;
        };

        /// Keeps the message trace usable for its life.
        class MessageTraceUse
        {
        public:
            MessageTraceUse() { MsgLogTrace::Init(); }
            ~MessageTraceUse() { MsgLogTrace::Destroy(); }
            MessageTraceUse(MessageTraceUse const&) = delete;
            MessageTraceUse& operator=(MessageTraceUse const&) = delete;
        };

        // In the order of construction. Destruction is in reverse: first the registrations with others, then the
        // threads' contexts, then the destinations and loggers, and the lock after the registries.
        // The Kafka client ends before the disk files that its losses are reported in.
        QzResource::Initializer const mResourceInitializer;
        QzFileSystem::Initializer const mFileSystemInitializer;
        ServerInstanceName mServerInstanceName;
        std::string const mMachineName;
        KafkaAftermath mKafkaAftermath{*this};
        KafkaClient::Initializer const mKafkaInitializer;
        QzBase::CountedPtr<ConfigurationHook> mpConfigurationHook;
        /// Guards the hook, the registries and the base path, for the look-up, the insertion or the copy only.
        QzSynch::RWLockPtr const mpLock;
        std::map<std::string, QzBase::CountedPtr<Logger_Impl>> mRegisteredLoggers;
        DiskFileRegistry mDiskFiles;
        /// By the normal form of the path as the caller gave it.
        std::map<QzBase::WideString, QzBase::CountedPtr<Destination_KafkaLog>> mKafkaDestinations;
        QzBase::CountedPtr<Destination_DebugOutput> const mpDebugOutput;
        QzBase::CountedPtr<Destination_SystemLog> const mpSystemLog;
        QzSynch::ThreadLocalStoragePtr const mpThreadStorage;
        MessageTraceUse const mMessageTraceUse;
        LogInfoRegistration const mLogInfoRegistration;
    };
}
