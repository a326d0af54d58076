#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLogKit/Export.h>

#include <string>

// The functions of the library that want wide text, with UTF-8 in its place. Paths keep their bytes, also those that
// are no UTF-8, and std::filesystem::path will do. Each does what the function of its name in QzLog does, throws what
// that throws and std::bad_alloc, and may be called from any thread. For the identity of a thread see Identity.h.
//
//     auto const file = QzLogKit::GetDestination_DiskFile(folder / "server.log");

namespace QzLogKit
{
    QZLOGKIT_API QzBase::ReturnPtrI<QzLog::Destination_DiskFile> GetDestination_DiskFile(std::string const& path);
    QZLOGKIT_API QzBase::ReturnPtrI<QzLog::Destination_KafkaLog> GetDestination_KafkaLog(std::string const& path);

    /// Destination_DiskFile::GetFilePath, with "/" between its parts.
    QZLOGKIT_API std::string GetFilePath(QzLog::Destination_DiskFile& file);

    QZLOGKIT_API void SetBasePath(std::string const& path);

    QZLOGKIT_API void SetServerInstanceName(std::string const& name);
    QZLOGKIT_API std::string GetServerInstanceName();

    QZLOGKIT_API bool SetKafkaTopic(std::string const& topic);
    QZLOGKIT_API std::string GetKafkaTopic();

    /// QzBase::SetFeatureEnabled and QzBase::IsFeatureEnabled.
    QZLOGKIT_API void SetFeatureEnabled(std::string const& name, bool enabled);
    QZLOGKIT_API bool IsFeatureEnabled(std::string const& name);
}
