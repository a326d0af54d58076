#include "filesystem/FileObjects.h"

#include "filesystem/HandleFile.h"

namespace QzFileSystem
{
    namespace
    {
        using Timer = QzBase::TotalTimer::Timer;

        QzOs::LockWait ToWait(bool failAtOnce) noexcept
        {
            return failAtOnce ? QzOs::LockWait::None : QzOs::LockWait::Endless;
        }

        /// All of a WriteableFile over a HandleFile, for either of the two interfaces that have it.
        template <class Interface>
        class WritingFile : public Interface
        {
        public:
            WritingFile(
                unsigned short const* path, CloseDisposition disposition, QzOs::Access access, char const* ownerName)
                : mFile(path, disposition, access, ownerName)
            {
            }

            unsigned short const* GetPath() const override { return mFile.GetPath(); }
            bool IsSameFile(QzBase::Message* err) override { return mFile.IsSameFile(err); }
            std::int64_t GetSize() override { return mFile.GetSize(); }
            std::int64_t GetPosition() override { return mFile.GetPosition(); }

            std::int64_t MovePosition(std::int64_t offset) override
            {
                return mFile.Seek(offset, QzOs::Origin::Position);
            }

            void SetPosition(std::int64_t offset) override { mFile.Seek(offset, QzOs::Origin::Start); }
            std::int64_t MovePositionToEnd() override { return mFile.Seek(0, QzOs::Origin::End); }

            void Write(void const* buffer, std::uint64_t count) override
            {
                Timer const timer(mWriteTimer);
                mFile.Write(buffer, count);
            }

            void WriteText(char const* text, std::uint64_t count) override
            {
                Timer const timer(mWriteTimer);
                mFile.WriteText(text, count);
            }

            void WriteTexts(std::string_view first, std::string_view second) override
            {
                Timer const timer(mWriteTimer);
                mFile.WriteTexts(first, second);
            }

            void WriteUInt32(unsigned int const& value) override
            {
                Timer const timer(mWriteTimer);
                mFile.WriteUInt32(value);
            }

            void Flush() override
            {
                Timer const timer(mWriteTimer);
                mFile.Flush();
            }

            void Truncate() override
            {
                Timer const timer(mWriteTimer);
                mFile.Truncate();
            }

            void Close() override
            {
                Timer const timer(mWriteTimer);
                mFile.Close();
            }

            QzBase::TotalTimer& GetWriteTimer() override { return mWriteTimer; }
            QzBase::TotalTimer& GetWriteLockTimer() override { return mWriteLockTimer; }

            bool WriteLock(bool failAtOnce) override
            {
                Timer const timer(mWriteLockTimer);
                return mFile.Lock(true, ToWait(failAtOnce));
            }

            bool WriteLockSoon() override
            {
                Timer const timer(mWriteLockTimer);
                return mFile.Lock(true, QzOs::LockWait::Short);
            }

            void ReopenAfterFork() override { mFile.ReopenAfterFork(); }
            bool IsAtPath() override { return mFile.IsAtPath(); }
            bool IsReplaced() override { return mFile.IsReplaced(); }
            void RefuseSpecialFile() override { mFile.RefuseSpecialFile(); }
            int OpenDescriptorOfCopy(unsigned short const* path) override { return mFile.OpenDescriptorOfCopy(path); }
            void OffloadCopy(int descriptor, std::int64_t smallestSize) override
            {
                mFile.OffloadCopy(descriptor, smallestSize);
            }

        protected:
            void ReleaseWriteLock() noexcept override
            {
                Timer const timer(mWriteLockTimer);
                mFile.Unlock();
            }

            HandleFile mFile;

        private:
            QzBase::TotalTimer mWriteTimer;
            QzBase::TotalTimer mWriteLockTimer;
        };

        class WriteableFileImpl final : public WritingFile<WriteableFile>
        {
        public:
            WriteableFileImpl(unsigned short const* path, CloseDisposition disposition)
                : WritingFile(path, disposition, QzOs::Access::Write, "WriteableFileImpl")
            {
            }
        };

        class UpdateableFileImpl final : public WritingFile<UpdateableFile>
        {
        public:
            UpdateableFileImpl(unsigned short const* path, CloseDisposition disposition, QzOs::Access access)
                : WritingFile(path, disposition, access, "UpdateableFileImpl")
            {
            }

            void ReadBinary(QzDataType::Binary& binary, std::uint64_t maximum) override
            {
                Timer const timer(mReadTimer);
                mFile.ReadBinary(binary, maximum);
            }

            void Read(void* buffer, std::uint64_t count) override
            {
                Timer const timer(mReadTimer);
                mFile.Read(buffer, count);
            }

            void ReadUInt32(unsigned int& value) override
            {
                Timer const timer(mReadTimer);
                value = mFile.ReadUInt32();
            }

            void ReadLine(QzDataType::Binary& binary) override
            {
                Timer const timer(mReadTimer);
                mFile.ReadLine(binary);
            }

            QzBase::TotalTimer& GetReadTimer() override { return mReadTimer; }
            QzBase::TotalTimer& GetReadLockTimer() override { return mReadLockTimer; }

            bool ReadLock(bool failAtOnce) override
            {
                Timer const timer(mReadLockTimer);
                return mFile.Lock(false, ToWait(failAtOnce));
            }

        private:
            void ReleaseReadLock() noexcept override
            {
                Timer const timer(mReadLockTimer);
                mFile.Unlock();
            }

            QzBase::TotalTimer mReadTimer;
            QzBase::TotalTimer mReadLockTimer;
        };
    }

    GenericFile::~GenericFile() = default;

    std::unique_ptr<UpdateableFile> CreateUpdateableFile(unsigned short const* path, CloseDisposition disposition)
    {
        return std::make_unique<UpdateableFileImpl>(path, disposition, QzOs::Access::ReadWrite);
    }

    std::unique_ptr<UpdateableFile> CreateAppendableFile(unsigned short const* path, CloseDisposition disposition)
    {
        return std::make_unique<UpdateableFileImpl>(path, disposition, QzOs::Access::ReadAppend);
    }

    std::unique_ptr<WriteableFile> CreateWriteableFile(unsigned short const* path, CloseDisposition disposition)
    {
        return std::make_unique<WriteableFileImpl>(path, disposition);
    }
}
