#include "filesystem/TemporaryFolder.h"

#include "filesystem/CopyFile.h"
#include "filesystem/File.h"
#include "filesystem/FileGuards.h"

#include <memory>
#include <random>

using namespace QzFileSystem;
using QzTest::Catch;
using QzTest::DescribeCall;
using QzTest::Wide;

namespace
{
    using BinaryPtr = std::unique_ptr<QzDataType::Binary>;

    BinaryPtr MakeBinary(std::size_t size)
    {
        return BinaryPtr(QzDataType::CreateBinary(size, nullptr));
    }

    std::string ToString(QzDataType::Binary& binary)
    {
        return std::string(binary.GetData(), binary.GetData() + binary.GetSize());
    }

    constexpr char const* kName = "QzFileSystem::File::";

    class FileFamily : public QzTest::TemporaryFolder
    {
    protected:
        std::FILE* OpenStream(OpenMode mode) const
        {
            return File::OpenStream(WideIn("file").c_str(), mode, kShareDefault);
        }

        int OpenDescriptor(OpenMode mode) const
        {
            return File::OpenDescriptor(WideIn("file").c_str(), mode, kShareDefault);
        }
    };
}

TEST_F(FileFamily, OpenModes)
{
    struct
    {
        unsigned int mMode;
        bool mNeedsFile;
        bool mReads;
        bool mWrites;
        std::string mLeft;
    } const rows[] = {
        {kOpenRead, true, true, false, "old"},
        {kOpenWriteNew, false, false, true, "n"},
        {kOpenWrite, false, false, true, "nld"},
        {kOpenUpdate, true, true, true, "nld"},
        {kOpenUpdateNew, false, true, true, "n"},
        {kOpenUpdateAlways, false, true, true, "nld"},
        {kOpenWriteNewForUpdate, false, false, true, "n"},
    };
    for (auto const& row : rows)
    {
        SCOPED_TRACE(row.mMode);
        OpenMode const mode = static_cast<OpenMode>(row.mMode);
        unlink(In("file").c_str());
        EXPECT_EQ(Catch([&] { File::CloseDescriptor(OpenDescriptor(mode)); }).empty(), !row.mNeedsFile);

        Put("file", "old");
        BinaryPtr const binary = MakeBinary(8);
        File::ScopedStream const stream(OpenStream(mode));
        EXPECT_EQ(File::GetPosition(stream.Get()), 0);
        EXPECT_EQ(Catch(
                      [&]
                      {
                          File::Write(stream.Get(), "new", 1);
                          File::Flush(stream.Get());
                      })
                      .empty(),
            row.mWrites);
        EXPECT_EQ(Get("file"), row.mLeft);
        clearerr(stream.Get());
        File::SetPosition(stream.Get(), 0);
        EXPECT_EQ(Catch([&] { File::Read(stream.Get(), *binary, 0); }).empty(), row.mReads);
        EXPECT_EQ(ToString(*binary), row.mReads ? row.mLeft : "");
    }
    unlink(In("file").c_str());
    std::string const failure = ": ::CreateFileW failed for '" + In("file") + "'.";
    EXPECT_EQ(Catch([&] { OpenDescriptor(kOpenRead); }), DescribeCall(kName + ("OpenDescriptor" + failure), ENOENT));
    EXPECT_NE(Catch([&] { OpenDescriptor(static_cast<OpenMode>(7)); }), "");
    EXPECT_TRUE(TakeSnapshot().empty());
    EXPECT_NE(Catch([&] { File::OpenDescriptor(Wide(mFolder).c_str(), kOpenRead, kShareDefault); }), "");
}

TEST_F(FileFamily, CopiesOfAnySize)
{
    for (std::size_t const size : {0u, 1u, 6u, 7u, 8u, 16384u, 40000u})
    {
        SCOPED_TRACE(size);
        std::string content(size, 'x');
        for (std::size_t i = 0; i < size; ++i)
            content[i] = static_cast<char>(i * 31 % 251);
        Put("file", content);
        Put("to", "much longer than what comes");
        QzBase::WideString const to = WideIn("to");
        BinaryPtr const binary = MakeBinary(7);
        auto const expectCopy = [&] { EXPECT_EQ(Get("to"), content); };

        CopyFile(WideIn("file").c_str(), to.c_str(), *binary);
        expectCopy();
        CopyFile(WideIn("file").c_str(), to.c_str());
        expectCopy();
        File::ScopedDescriptor const descriptor(OpenDescriptor(kOpenRead));
        File::Copy(descriptor.Get(), to.c_str());
        expectCopy();
        File::ScopedStream const stream(OpenStream(kOpenRead));
        File::Copy(stream.Get(), to.c_str());
        expectCopy();
        File::SetPosition(descriptor.Get(), 0);
        File::ScopedDescriptor const target(File::OpenDescriptor(to.c_str(), kOpenWriteNew, kShareDefault));
        File::Copy(descriptor.Get(), target.Get(), *binary);
        expectCopy();
    }
}

TEST_F(FileFamily, StreamsReadLines)
{
    Put("file", std::string("ab\ncdefgh\ni\0j\nk", 16));
    File::ScopedStream const stream(OpenStream(kOpenRead));
    BinaryPtr const binary = MakeBinary(5);
    for (std::string const line : {"ab\n", "cdef", "gh\n", "i", "k", "", ""})
    {
        File::ReadLine(stream.Get(), *binary);
        EXPECT_EQ(ToString(*binary), line);
    }
}

TEST_F(FileFamily, PositionsOf32Bits)
{
    File::ScopedDescriptor const descriptor(OpenDescriptor(kOpenUpdateNew));
    File::ScopedStream const stream(OpenStream(kOpenUpdate));
    EXPECT_EQ(File::SetPosition(descriptor.Get(), 2147483647), 2147483647);
    EXPECT_EQ(File::MovePosition(descriptor.Get(), -7), 2147483640);
    File::SetPosition(stream.Get(), 2147483640);
    EXPECT_EQ(Catch([&] { File::MovePosition(descriptor.Get(), 8); }),
        DescribeCall(kName + std::string("MovePosition: ::lseek failed."), EOVERFLOW));
    EXPECT_EQ(Catch([&] { File::MovePosition(stream.Get(), 8); }),
        DescribeCall(kName + std::string("MovePosition: ::fseeko failed."), EOVERFLOW));
    EXPECT_EQ(Catch([&] { File::SetPosition(descriptor.Get(), -1); }),
        DescribeCall(kName + std::string("SetPosition: ::lseek failed."), EINVAL));
    EXPECT_EQ(Catch([&] { File::SetPosition(stream.Get(), -1); }),
        DescribeCall(kName + std::string("SetPosition: ::fseeko failed."), EINVAL));
    EXPECT_EQ(File::GetPosition(descriptor.Get()), 2147483640);
    EXPECT_EQ(File::GetPosition(stream.Get()), 2147483640);
    lseek(descriptor.Get(), 1, SEEK_CUR);
    lseek(descriptor.Get(), 2147483648, SEEK_SET);
    fseeko(stream.Get(), 2147483648, SEEK_SET);
    EXPECT_EQ(Catch([&] { File::GetPosition(descriptor.Get()); }),
        DescribeCall(kName + std::string("GetPosition: ::lseek failed."), EOVERFLOW));
    EXPECT_EQ(Catch([&] { File::GetPosition(stream.Get()); }),
        DescribeCall(kName + std::string("GetPosition: ::ftello failed."), EOVERFLOW));

    File::Truncate(descriptor.Get(), 5);
    EXPECT_EQ(File::GetSize(stream.Get()), 5);
    File::Truncate(stream.Get(), 9);
    EXPECT_EQ(File::GetSize(descriptor.Get()), 9);
    ftruncate(descriptor.Get(), (1LL << 32) + 6);
    EXPECT_EQ(File::GetSize(descriptor.Get()), 6);
    ftruncate(descriptor.Get(), (1LL << 32) - 1);
    EXPECT_NE(Catch([&] { File::GetSize(descriptor.Get()); }), "");
}

TEST_F(FileFamily, FailuresWithoutAnOpenFile)
{
    BinaryPtr const binary = MakeBinary(8);
    Put("file", "x");
    File::ScopedDescriptor const good(OpenDescriptor(kOpenRead));
    File::ScopedStream const full(File::OpenStream(Wide("/dev/full").c_str(), kOpenWrite, kShareDefault));
    std::FILE* const none = nullptr;
    struct
    {
        std::string mFailure;
        char const* mText;
        int mError;
    } const rows[] = {
        {Catch([&] { File::Copy(-1, good.Get(), *binary); }), "Copy: ::read failed for file #-1.", EBADF},
        {Catch([&] { File::Copy(good.Get(), -1, *binary); }), "Copy: ::write failed for file #-1.", EBADF},
        {Catch([&] { File::GetSize(-1); }), "GetSize: Invalid file handle #-1.", EBADF},
        {Catch([&] { File::GetSize(9999); }), "GetSize: Invalid file handle #9999.", EBADF},
        {Catch([&] { File::Flush(-1); }), "Flush: ::_commit failed.", EBADF},
        {Catch([&] { File::Truncate(-1, 0); }), "Truncate: ::_chsize failed.", EBADF},
        {Catch([&] { File::GetPosition(-1); }), "GetPosition: ::lseek failed.", EBADF},
        {Catch([&] { File::WriteLock(-1, true); }), "WriteLock: Invalid file handle #-1.", EBADF},
        {Catch([&] { File::ScopedReadLock lock(none); }), "ReadLock: Invalid file handle #-1.", EBADF},
        {Catch([&] { File::Unlock(-1); }), "Unlock: Invalid file handle #-1.", EBADF},
        {Catch([&] { File::Read(full.Get(), *binary, 0); }), "Read: ::fread failed.", EBADF},
        {Catch([&] { File::ReadLine(full.Get(), *binary); }), "ReadLine: ::fgets failed.", EBADF},
        {Catch(
             [&]
             {
                 File::Write(full.Get(), "x", 0);
                 File::Flush(full.Get());
             }),
            "Flush: ::fflush failed.", ENOSPC},
        {Catch([&] { File::Write(full.Get(), std::string(100000, 'x').c_str(), 0); }), "Write: Failed.", ENOSPC},
    };
    for (auto const& row : rows)
        EXPECT_EQ(row.mFailure, DescribeCall(std::string(kName) + row.mText, row.mError));
}

TEST_F(FileFamily, Locks)
{
    File::ScopedDescriptor const descriptor(OpenDescriptor(kOpenWrite));
    File::ScopedStream const stream(OpenStream(kOpenRead));
    std::string const taken = DescribeCall(
        "QzFileSystem::File::WriteLock: Failed to lock file #" + std::to_string(descriptor.Get()) + '.', EWOULDBLOCK);
    auto const tryLock = [&] { return Catch([&] { File::WriteLock(descriptor.Get(), false); }); };
    {
        File::ScopedReadLock lock(stream.Get());
        EXPECT_EQ(tryLock(), taken);
        EXPECT_EQ(Catch([&] { File::ReadLock(descriptor.Get(), false); }), "");
        EXPECT_TRUE(File::Unlock(descriptor.Get()));
        lock.Unlock();
        EXPECT_EQ(tryLock(), "");
        EXPECT_TRUE(File::Unlock(descriptor.Get()));
        lock.Lock();
        lock.Lock();
        EXPECT_EQ(tryLock(), taken);
    }
    File::ScopedWriteLock const own(descriptor.Get());
    EXPECT_NE(Catch([&] { File::ReadLock(fileno(stream.Get()), false); }), "");
}

TEST_F(FileFamily, MoveBlockLikeACopyWithOverlap)
{
    unsigned int const seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto const upTo = [&random](std::size_t limit) { return random() % (limit + 1); };
    for (int i = 0; i < 400 && !testing::Test::HasFailure(); ++i)
    {
        std::string content(1 + upTo(40), ' ');
        for (char& c : content)
            c = static_cast<char>('a' + upTo(25));
        std::size_t const position = upTo(content.size());
        std::size_t const rest = content.size() - position;
        std::size_t const count = upTo(rest);
        std::size_t const target = upTo(50);
        BinaryPtr const binary = MakeBinary(1 + upTo(8));
        SCOPED_TRACE(
            content + ' ' + std::to_string(position) + ' ' + std::to_string(count) + " -> " + std::to_string(target));

        std::string expected = content;
        if (std::size_t const moved = count == 0 ? rest : count; moved != 0)
        {
            expected.resize(std::max(expected.size(), target + moved), '\0');
            expected.replace(target, moved, content, position, moved);
        }
        {
            // The content may still be in the stream's buffer.
            File::ScopedStream const stream(OpenStream(kOpenUpdateNew));
            File::Write(stream.Get(), content.c_str(), 0);
            File::SetPosition(stream.Get(), static_cast<int>(position));
            File::MoveBlock(stream.Get(), *binary, static_cast<int>(target), static_cast<int>(count));
        }
        EXPECT_EQ(Get("file"), expected);
    }
}
