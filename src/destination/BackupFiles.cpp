#include "destination/BackupFiles.h"

#include "filesystem/Failures.h"
#include "filesystem/stdio/FileDescriptors.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>
#include <QzDataType/Binary.h>

#include <memory>
#include <string>

namespace QzLog
{
    namespace File = QzFileSystem::File;

    namespace
    {
        constexpr std::size_t kCopyBufferSize = 262144;

        /// From this size on the system is asked to copy, since all writers wait meanwhile.
        constexpr std::int64_t kOffloadedSize = 16 * 1024 * 1024;

        [[noreturn]] void ThrowWriteFailure(QzBase::WideString const& target)
        {
            std::string text("QzLog::Destination_DiskFile_Impl::WriteMessage: ::write failed for file ");
            text.append(QzBase::WideCharToUTF8(target.c_str(), true).c_str()).append(".");
            throw QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, text.c_str());
        }

        /// Reads the next piece of the log; an empty one is its end, behind which it is emptied.
        void ReadOn(QzFileSystem::UpdateableFile& file, QzDataType::Binary& piece)
        {
            file.ReadBinary(piece, kCopyBufferSize);
            if (piece.GetSize() != 0)
                return;
            std::int64_t const rest = file.GetSize() - file.GetPosition();
            if (rest <= 0)
                return;
            // Another program may just have appended without the lock. But a file system that has lost sight of the
            // file may read nothing from it without an error.
            file.ReadBinary(piece, kCopyBufferSize);
            if (piece.GetSize() == 0)
                throw QzFileSystem::MakeShortFailure(
                    "Failed to read %1 bytes from file '%2'.", static_cast<unsigned long>(rest), file.GetPath());
        }
    }

    QzBase::WideString MakeBackupName(QzBase::WideString const& path, unsigned int number)
    {
        std::string digits = std::to_string(number);
        if (digits.size() < 2)
            digits.insert(0, 1, '0');
        return MakeBackupName(path, digits);
    }

    QzBase::WideString MakeBackupName(QzBase::WideString const& path, std::string_view ending)
    {
        QzBase::WideString name(path);
        for (std::string_view const text : {std::string_view(".bak"), ending})
            for (char const c : text)
                name.push_back(static_cast<unsigned short>(c));
        return name;
    }

    void CopyLog(QzFileSystem::UpdateableFile& file, QzBase::WideString const& target, KeptFile* kept)
    {
        file.SetPosition(0);
        File::ScopedDescriptor descriptor(file.OpenDescriptorOfCopy(target.c_str()));
        file.OffloadCopy(descriptor.Get(), kOffloadedSize);
        // What the system left, which can be all of it. A failure that stopped the system occurs here again.
        std::unique_ptr<QzDataType::Binary> const piece(QzDataType::CreateBinary(kCopyBufferSize, nullptr));
        for (;;)
        {
            ReadOn(file, *piece);
            std::size_t const size = piece->GetSize();
            if (size == 0)
                break;
            if (File::WriteDescriptor(descriptor.Get(), piece->GetData(), size) != static_cast<std::int64_t>(size))
                ThrowWriteFailure(target);
        }
        if (kept)
        {
            QzOs::FileHandle const handle = QzOs::FromDescriptor(descriptor.Get());
            QzOs::FileHandle own = QzOs::kNoFile;
            QzOs::Error error = QzOs::OpenAgain(handle, target.c_str(), QzOs::Access::Read, own);
            kept->mDescriptor.emplace(QzOs::ToDescriptor(own));
            if (error == 0)
                error = QzOs::GetFileIdentity(handle, kept->mIdentity);
            if (error != 0)
                throw QzFileSystem::MakeAttributesFailure(error, target.c_str());
        }
        // Some file systems find out only here that there was no room.
        if (!descriptor.Close())
            ThrowWriteFailure(target);
    }
}
