#pragma once

#include "filesystem/FileObjects.h"
#include "os/Files.h"

#include <QzBase/WideString.h>

#include <optional>

namespace QzFileSystem
{
    /// A path, the handle opened under it and what to do with the file at the end: all that the file objects
    /// do, without their timers. The operations are those of FileObjects.h.
    class HandleFile
    {
    public:
        /// \param ownerName  for the text of a failure to open; a literal.
        HandleFile(
            unsigned short const* path, CloseDisposition disposition, QzOs::Access access, char const* ownerName);
        ~HandleFile();
        HandleFile(HandleFile const&) = delete;
        HandleFile& operator=(HandleFile const&) = delete;

        unsigned short const* GetPath() const { return mPath.c_str(); }
        bool IsSameFile(QzBase::Message* err) const;
        bool IsAtPath();
        bool IsReplaced() const;
        void RefuseSpecialFile() const;
        std::int64_t GetSize() const;

        std::int64_t GetPosition() const;
        std::int64_t Seek(std::int64_t offset, QzOs::Origin origin) const;

        void Read(void* buffer, std::uint64_t count) const;
        std::uint32_t ReadUInt32() const;
        void ReadBinary(QzDataType::Binary& binary, std::uint64_t maximum) const;
        void ReadLine(QzDataType::Binary& binary) const;

        void Write(void const* buffer, std::uint64_t count) const;
        void WriteText(char const* text, std::uint64_t count) const;
        void WriteTexts(std::string_view first, std::string_view second) const;
        void WriteUInt32(std::uint32_t value) const;

        void Flush() const;
        void Truncate() const;
        void Close();

        bool Lock(bool exclusive, QzOs::LockWait wait) const;
        void Unlock() noexcept;

        void ReopenAfterFork();
        int OpenDescriptorOfCopy(unsigned short const* path) const;
        void OffloadCopy(int descriptor, std::int64_t smallestSize) const;

    private:
        /// Throws unless all that was asked has been written.
        void CheckWrite(QzOs::Error error, std::uint64_t asked, std::uint64_t done) const;
        [[noreturn]] void ThrowOpenFailure(QzOs::Error error) const;
        QzBase::ReturnWString GetPathToReport() const;

        CloseDisposition mDisposition;
        QzBase::WideString mPath;
        QzOs::FileHandle mHandle = QzOs::kNoFile;
        QzOs::Access mAccess;
        std::uint32_t mForkGeneration;
        /// Of the open file; found out when it is asked for.
        std::optional<QzOs::FileIdentity> mIdentity;
        char const* mOwnerName;
    };
}
