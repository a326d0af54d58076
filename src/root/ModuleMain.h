#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/ReturnString.h>
#include <QzSynch/Locks.h>

namespace QzLog
{
    class ConfigurationHook;
    class Destination_DebugOutput;
    class Destination_DiskFile;
    class Destination_KafkaLog;
    class Destination_SystemLog;
    class Logger;
    class ThreadContext;

    /// The root of the process as the layers above the messages see it; they reach it through ModulePin and
    /// RequiredModule. Any thread may call any operation.
    class ModuleMain
    {
    public:
        virtual void SetBasePath(unsigned short const* path) = 0;
        virtual QzBase::ReturnWString GetBasePath() = 0;
        virtual QzBase::ReturnWString GetServerInstanceName() = 0;
        virtual void SetServerInstanceName(unsigned short const* name) = 0;

        /// UTF-8, valid for the module's life.
        virtual char const* GetMachineName() = 0;

        virtual void SetConfigurationHook(ConfigurationHook* hook) = 0;
        virtual QzBase::ReturnPtrI<ConfigurationHook> GetConfigurationHook() = 0;
        virtual void RefreshConfiguration() = 0;
        virtual QzBase::ReturnPtrI<Logger> GetLogger(char const* name, QzSynch::EnumHvnLockStackCategory category) = 0;
        virtual QzBase::ReturnPtrI<Destination_DebugOutput> GetDestination_DebugOutput() = 0;
        virtual QzBase::ReturnPtrI<Destination_SystemLog> GetDestination_SystemLog() = 0;
        virtual QzBase::ReturnPtrI<Destination_DiskFile> GetDestination_DiskFile(unsigned short const* path) = 0;
        virtual QzBase::ReturnPtrI<Destination_KafkaLog> GetDestination_KafkaLog(unsigned short const* path) = 0;
        virtual void UpdateLogRegistryStr(unsigned short const* text) = 0;

        /// The calling thread's context, created on first use and owned by the module. Takes no lock once it exists.
        virtual ThreadContext* GetThreadContext() = 0;

    protected:
        ~ModuleMain() = default;
    };
}
