#include "filesystem/FileQueries.h"

#include "filesystem/Directories.h"
#include "filesystem/Failures.h"
#include "os/FilesByPath.h"

#include <chrono>

namespace QzFileSystem
{
    namespace
    {
        QzOs::FileInformation GetInformation(unsigned short const* path, char const* failureText)
        {
            QzOs::FileInformation information;
            QzOs::Error const error = QzOs::GetFileInformation(path, information);
            if (error != 0)
                throw MakeFailure(error, failureText, path);
            return information;
        }

        // 0001-01-01 and 10000-01-01 in seconds since 1970.
        constexpr std::int64_t kFirstSecond = -62'135'596'800;
        constexpr std::int64_t kEndSecond = 253'402'300'800;
    }

    bool IsDirectory(unsigned short const* path)
    {
        return QzOs::GetFileKind(path, QzOs::Links::Follow) == QzOs::FileKind::Directory;
    }

    bool IsFile(unsigned short const* path)
    {
        return QzOs::GetFileKind(path, QzOs::Links::Follow) == QzOs::FileKind::File;
    }

    bool Exists(unsigned short const* path)
    {
        return QzOs::GetFileKind(path, QzOs::Links::Follow) != QzOs::FileKind::None;
    }

    bool IsWriteable(unsigned short const* path)
    {
        QzOs::FileInformation information;
        return QzOs::GetFileInformation(path, information) == 0 && information.mIsWriteable;
    }

    void RefuseSpecialFile(unsigned short const* path)
    {
        if (QzOs::IsSpecialFile(path))
            throw MakeSpecialFileFailure(path);
    }

    std::int32_t GetFileSize(unsigned short const* path)
    {
        return static_cast<std::int32_t>(GetFileSize64(path));
    }

    std::uint64_t GetFileSize64(unsigned short const* path)
    {
        return GetInformation(path, "Failed to get size of file '%1'.").mSize;
    }

    void GetLastModifiedTime(unsigned short const* path, QzDataType::DateTime& time)
    {
        using namespace std::chrono;
        QzOs::FileInformation const information = GetInformation(path, kAttributesFailureText);
        if (information.mModifiedSeconds < kFirstSecond || information.mModifiedSeconds >= kEndSecond)
            throw MakeFailure(QzOs::kErrorOverflow, "Failed to interpret last-modified time of file '%1'.", path);

        sys_seconds const moment{seconds(information.mModifiedSeconds)};
        sys_days const day = floor<days>(moment);
        year_month_day const date(day);
        hh_mm_ss const clock(moment - day);
        time = QzDataType::DateTime(static_cast<int>(date.year()), static_cast<int>(unsigned{date.month()}),
            static_cast<int>(unsigned{date.day()}), static_cast<int>(clock.hours().count()),
            static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
            information.mModifiedNanoseconds / 1'000'000, 0, 0);
    }

    int CopyFileAttributes(unsigned short const* from, unsigned short const* to, QzBase::Message* err)
    {
        QzOs::FileInformation const information = GetInformation(from, kAttributesFailureText);
        QzOs::Error const error = QzOs::SetFilePermissions(to, information.mPermissions);
        if (error == 0 || !err)
            return 1;
        Report(err, MakeFailure(error, "Failed to set attributes of file '%1'.", to));
        return 0;
    }

    void GetDiskFreeSpace(unsigned short const* path, std::uint64_t& freeBytes, std::uint64_t& totalBytes)
    {
        constexpr int kDiskSpaceFailureID = static_cast<int>(0x8005FE26);
        freeBytes = 0;
        totalBytes = 0;
        if (!path)
            return;
        QzOs::Error const error = QzOs::GetDiskSpace(path, freeBytes, totalBytes);
        if (error != 0)
            throw MakeFailure(error, kDiskSpaceFailureID, "Failed to get disk free space for path %1.",
                GetAbsolutePath(path).c_str());
    }
}
