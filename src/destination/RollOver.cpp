#include "destination/RollOver.h"

#include "filesystem/FileChanges.h"
#include "filesystem/FileQueries.h"
#include "filesystem/stdio/FileDescriptors.h"
#include "filesystem/stdio/FileGuards.h"
#include "os/Cancellation.h"
#include "os/FilesByPath.h"

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

        QzBase::WideString MakeBackupName(QzBase::WideString const& path, unsigned int number)
        {
            std::string digits = std::to_string(number);
            if (digits.size() < 2)
                digits.insert(0, 1, '0');
            QzBase::WideString name(path);
            for (char const c : ".bak" + digits)
                name.push_back(static_cast<unsigned short>(c));
            return name;
        }

        /// Frees number 0, at the cost of the oldest back-up when all numbers are taken.
        void ShiftBackups(QzBase::WideString const& path, unsigned int backupCount)
        {
            unsigned int number = 0;
            while (number < backupCount && QzFileSystem::IsFile(MakeBackupName(path, number).c_str()))
                ++number;
            if (number == backupCount && number != 0)
            {
                --number;
                // Deleted where it stands, since in another folder others might read it. If that fails, the move onto
                // its name replaces it.
                QzOs::DeleteFile(MakeBackupName(path, number).c_str());
            }
            // From the oldest on, so that no name is overwritten before it has been moved.
            for (; number != 0; --number)
                QzFileSystem::MoveFile(MakeBackupName(path, number - 1).c_str(), MakeBackupName(path, number).c_str());
        }

        [[noreturn]] void ThrowWriteFailure(QzBase::WideString const& target)
        {
            std::string text("QzLog::Destination_DiskFile_Impl::WriteMessage: ::write failed for file ");
            text.append(QzBase::WideCharToUTF8(target.c_str(), true).c_str()).append(".");
            throw QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, text.c_str());
        }

        void CopyTo(QzFileSystem::UpdateableFile& file, QzBase::WideString const& target)
        {
            file.SetPosition(0);
            File::ScopedDescriptor descriptor(file.OpenDescriptorOfCopy(target.c_str()));
            std::unique_ptr<QzDataType::Binary> const piece(QzDataType::CreateBinary(kCopyBufferSize, nullptr));
            for (;;)
            {
                file.ReadBinary(*piece, kCopyBufferSize);
                std::size_t const size = piece->GetSize();
                if (size == 0)
                    break;
                if (File::WriteDescriptor(descriptor.Get(), piece->GetData(), size) != static_cast<std::int64_t>(size))
                    ThrowWriteFailure(target);
            }
            // Some file systems find out only here that there was no room.
            if (!descriptor.Close())
                ThrowWriteFailure(target);
        }
    }

    void RollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount)
    {
        // A thread that was cancelled in here would leave half a back-up for the next writer to move up.
        QzOs::NoCancellation const noCancellation;
        ShiftBackups(path, backupCount);
        CopyTo(file, MakeBackupName(path, 0));
        file.SetPosition(0);
        file.Truncate();
    }
}
