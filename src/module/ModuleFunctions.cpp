#include <QzLog/Module.h>

#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "root/ThreadContext.h"

#include <QzLog/ConfigurationHook.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Destination_SystemLog.h>

namespace QzLog
{
    QzBase::ReturnWString GetServerInstanceName()
    {
        return RequiredModule()->GetServerInstanceName();
    }

    void SetServerInstanceName(unsigned short const* name)
    {
        RequiredModule()->SetServerInstanceName(name);
    }

    std::uint64_t GetEpisodeNumber()
    {
        return RequiredModule()->GetThreadContext()->EpisodeNumber();
    }

    void SetEpisodeNumber(std::uint64_t number)
    {
        RequiredModule()->GetThreadContext()->EpisodeNumber() = number;
    }

    void SetConfigurationHook(ConfigurationHook* hook)
    {
        RequiredModule()->SetConfigurationHook(hook);
    }

    QzBase::ReturnPtrI<ConfigurationHook> GetConfigurationHook()
    {
        return RequiredModule()->GetConfigurationHook();
    }

    void RefreshConfiguration()
    {
        RequiredModule()->RefreshConfiguration();
    }

    QzBase::ReturnPtrI<Destination_DebugOutput> GetDestination_DebugOutput()
    {
        return RequiredModule()->GetDestination_DebugOutput();
    }

    QzBase::ReturnPtrI<Destination_SystemLog> GetDestination_SystemLog()
    {
        return RequiredModule()->GetDestination_SystemLog();
    }

    QzBase::ReturnPtrI<Destination_DiskFile> GetDestination_DiskFile(unsigned short const* path)
    {
        return RequiredModule()->GetDestination_DiskFile(path);
    }

    QzBase::ReturnPtrI<Destination_KafkaLog> GetDestination_KafkaLog(unsigned short const* path)
    {
        return RequiredModule()->GetDestination_KafkaLog(path);
    }

    void UpdateLogRegistryStr(unsigned short const* text)
    {
        RequiredModule()->UpdateLogRegistryStr(text);
    }

    void SetBasePath(unsigned short const* path)
    {
        RequiredModule()->SetBasePath(path);
    }
}
