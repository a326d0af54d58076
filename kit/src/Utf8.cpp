#include <QzLogKit/Utf8.h>

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Module.h>

#include <algorithm>

namespace QzLogKit
{
    namespace
    {
        QzBase::ReturnWString Wide(std::string const& text)
        {
            return QzBase::UTF8ToWideChar(text.c_str(), false);
        }

        std::string Narrow(QzBase::ReturnWString const& text)
        {
            return QzBase::WideCharToUTF8(text.c_str(), false).c_str();
        }
    }

    QzBase::ReturnPtrI<QzLog::Destination_DiskFile> GetDestination_DiskFile(std::string const& path)
    {
        return QzLog::GetDestination_DiskFile(Wide(path).c_str());
    }

    QzBase::ReturnPtrI<QzLog::Destination_KafkaLog> GetDestination_KafkaLog(std::string const& path)
    {
        return QzLog::GetDestination_KafkaLog(Wide(path).c_str());
    }

    std::string GetFilePath(QzLog::Destination_DiskFile& file)
    {
        std::string path = Narrow(file.GetFilePath());
        std::replace(path.begin(), path.end(), '\\', '/');
        return path;
    }

    void SetBasePath(std::string const& path)
    {
        QzLog::SetBasePath(Wide(path).c_str());
    }

    void SetServerInstanceName(std::string const& name)
    {
        QzLog::SetServerInstanceName(Wide(name).c_str());
    }

    std::string GetServerInstanceName()
    {
        return Narrow(QzLog::GetServerInstanceName());
    }

    bool SetKafkaTopic(std::string const& topic)
    {
        return QzLog::SetKafkaTopic(Wide(topic).c_str());
    }

    std::string GetKafkaTopic()
    {
        return Narrow(QzLog::GetKafkaTopic());
    }

    void SetFeatureEnabled(std::string const& name, bool enabled)
    {
        QzBase::SetFeatureEnabled(Wide(name).c_str(), enabled);
    }

    bool IsFeatureEnabled(std::string const& name)
    {
        return QzBase::IsFeatureEnabled(Wide(name).c_str());
    }
}
