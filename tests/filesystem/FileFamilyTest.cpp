#include "filesystem/TemporaryFolder.h"

#include "filesystem/CopyFile.h"
#include "filesystem/File.h"
#include "filesystem/FileGuards.h"

#include <random>

using namespace QzFileSystem;
using namespace QzTest;

namespace
{
    class FileFamily : public TemporaryFolder
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
    // Mode, whether it needs a file, whether it reads, whether it writes, what it leaves of "old".
    std::tuple<OpenMode, bool, bool, bool, std::string> const rows[] = {{kOpenRead, true, true, false, "old"},
        {kOpenWriteNew, false, false, true, "n"}, {kOpenWrite, false, false, true, "nld"},
        {kOpenUpdate, true, true, true, "nld"}, {kOpenUpdateNew, false, true, true, "n"},
        {kOpenUpdateAlways, false, true, true, "nld"}, {kOpenWriteNewForUpdate, false, false, true, "n"}};
    for (auto const& [mode, needsFile, reads, writes, left] : rows)
    {
        SCOPED_TRACE(mode);
        unlink(In("file").c_str());
        EXPECT_EQ(Catch([&, m = mode] { File::CloseDescriptor(OpenDescriptor(m)); }).empty(), !needsFile);

        Put("file", "old");
        BinaryPtr const binary = MakeBinary(8);
        File::ScopedStream const stream(OpenStream(mode));
        EXPECT_EQ(File::GetPosition(stream.Get()), 0);
        EXPECT_EQ(Catch([&] { File::Write(stream.Get(), "new", 1); }).empty(), writes);
        File::Flush(stream.Get());
        EXPECT_EQ(Get("file"), left);
        clearerr(stream.Get());
        File::SetPosition(stream.Get(), 0);
        EXPECT_EQ(Catch([&] { File::Read(stream.Get(), *binary, 0); }).empty(), reads);
        EXPECT_EQ(ToString(*binary), reads ? left : "");
    }
    unlink(In("file").c_str());
    EXPECT_EQ(Catch([&] { OpenDescriptor(kOpenRead); }),
        DescribeCall("File::OpenDescriptor: ::CreateFileW failed for '" + In("file") + "'.", ENOENT));
    EXPECT_NE(Catch([&] { OpenDescriptor(static_cast<OpenMode>(7)); }), "");
    EXPECT_TRUE(TakeSnapshot().empty());
    EXPECT_NE(Catch([&] { File::OpenDescriptor(Wide(mFolder).c_str(), kOpenRead, kShareDefault); }), "");
}

TEST_F(FileFamily, CopiesOfAnySize)
{
    for (std::size_t const size : {0u, 1u, 6u, 7u, 8u, 16384u, 40000u})
    {
        std::string content(size, 'x');
        for (std::size_t i = 0; i < size; ++i)
            content[i] = static_cast<char>(i * 31 % 251);
        Put("file", content);
        Put("to", "much longer than what comes");
        QzBase::WideString const from = WideIn("file");
        QzBase::WideString const to = WideIn("to");
        BinaryPtr const binary = MakeBinary(7);
        File::ScopedDescriptor const descriptor(OpenDescriptor(kOpenRead));
        File::ScopedDescriptor const target(File::OpenDescriptor(to.c_str(), kOpenWriteNew, kShareDefault));
        Action const ways[] = {[&] { File::Copy(descriptor.Get(), target.Get(), *binary); },
            [&] { CopyFile(from.c_str(), to.c_str(), *binary); }, [&] { CopyFile(from.c_str(), to.c_str()); },
            [&] { File::Copy(File::ScopedDescriptor(OpenDescriptor(kOpenRead)).Get(), to.c_str()); },
            [&] { File::Copy(File::ScopedStream(OpenStream(kOpenRead)).Get(), to.c_str()); }};
        for (Action const& way : ways)
        {
            way();
            EXPECT_EQ(Get("to"), content) << size << ' ' << &way - ways;
        }
    }
}

TEST_F(FileFamily, StreamsReadLines)
{
    Put("file", std::string("ab\ncdefgh\ni\0j\nk", 15));
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
    File::ScopedDescriptor const opened(OpenDescriptor(kOpenUpdateNew));
    File::ScopedStream const openedStream(OpenStream(kOpenUpdate));
    int const file = opened.Get();
    std::FILE* const stream = openedStream.Get();
    EXPECT_EQ(File::SetPosition(file, 2147483647), 2147483647);
    EXPECT_EQ(File::MovePosition(file, -7), 2147483640);
    File::SetPosition(stream, 2147483640);
    std::tuple<Action, char const*, int> const rows[] = {
        {[&] { File::MovePosition(file, 8); }, "MovePosition: ::lseek failed.", EOVERFLOW},
        {[&] { File::MovePosition(stream, 8); }, "MovePosition: ::fseeko failed.", EOVERFLOW},
        {[&] { File::SetPosition(file, -1); }, "SetPosition: ::lseek failed.", EINVAL},
        {[&] { File::SetPosition(stream, -1); }, "SetPosition: ::fseeko failed.", EINVAL},
        {[&] { File::GetPosition((lseek(file, 8, SEEK_CUR), file)); }, "GetPosition: ::lseek failed.", EOVERFLOW},
        {[&] { File::GetPosition((fseek(stream, 8, SEEK_CUR), stream)); }, "GetPosition: ::ftello failed.", EOVERFLOW}};
    for (auto const& [action, text, error] : rows)
        EXPECT_EQ(Catch(action), DescribeCall(std::string("File::") + text, error));
    for (auto const& [size, shown] : {std::pair(5LL, 5), {(1LL << 32) + 6, 6}})
    {
        ftruncate(file, size);
        EXPECT_TRUE(File::GetSize(file) == shown && File::GetSize(stream) == shown);
    }
    File::Truncate(stream, 9);
    EXPECT_EQ(File::GetSize(file), 9);
}

TEST_F(FileFamily, FailuresWithoutAnOpenFile)
{
    BinaryPtr const binary = MakeBinary(8);
    Put("file", "x");
    File::ScopedDescriptor const good(OpenDescriptor(kOpenRead));
    File::ScopedStream const full(File::OpenStream(Wide("/dev/full").c_str(), kOpenWrite, kShareDefault));
    std::FILE* const none = nullptr;
    std::string const large(100000, 'x');
    std::tuple<Action, char const*, int> const rows[] = {
        {[&] { File::Copy(-1, good.Get(), *binary); }, "Copy: ::read failed for file #-1.", EBADF},
        {[&] { File::Copy(good.Get(), -1, *binary); }, "Copy: ::write failed for file #-1.", EBADF},
        {[] { File::GetSize(-1); }, "GetSize: Invalid file handle #-1.", EBADF},
        {[] { File::GetSize(9999); }, "GetSize: Invalid file handle #9999.", EBADF},
        {[] { File::Flush(-1); }, "Flush: ::_commit failed.", EBADF},
        {[] { File::Truncate(-1, 0); }, "Truncate: ::_chsize failed.", EBADF},
        {[] { File::GetPosition(-1); }, "GetPosition: ::lseek failed.", EBADF},
        {[] { File::WriteLock(-1, true); }, "WriteLock: Invalid file handle #-1.", EBADF},
        {[&] { File::ScopedReadLock lock(none); }, "ReadLock: Invalid file handle #-1.", EBADF},
        {[] { File::Unlock(-1); }, "Unlock: Invalid file handle #-1.", EBADF},
        {[&] { File::Read(full.Get(), *binary, 0); }, "Read: ::fread failed.", EBADF},
        {[&] { File::ReadLine(full.Get(), *binary); }, "ReadLine: ::fgets failed.", EBADF},
        {[&] { File::Flush((File::Write(full.Get(), "x", 0), full.Get())); }, "Flush: ::fflush failed.", ENOSPC},
        {[&] { File::Write(full.Get(), large.c_str(), 0); }, "Write: Failed.", ENOSPC}};
    for (auto const& [action, text, error] : rows)
        EXPECT_EQ(Catch(action), DescribeCall(std::string("File::") + text, error));
}

TEST_F(FileFamily, Locks)
{
    File::ScopedDescriptor const descriptor(OpenDescriptor(kOpenWrite));
    File::ScopedStream const stream(OpenStream(kOpenRead));
    std::string const taken =
        DescribeCall("File::WriteLock: Failed to lock file #" + std::to_string(descriptor.Get()) + '.', EWOULDBLOCK);
    auto const tryLock = [&] { return Catch([&] { File::WriteLock(descriptor.Get(), false); }); };
    File::ScopedReadLock lock(stream.Get());
    EXPECT_EQ(tryLock(), taken);
    EXPECT_EQ(Catch([&] { File::ReadLock(descriptor.Get(), false); }), "");
    lock.Unlock();
    EXPECT_EQ(tryLock(), "");
    EXPECT_TRUE(File::Unlock(descriptor.Get()));
    lock.Lock();
    lock.Lock();
    EXPECT_EQ(tryLock(), taken);
    lock.Unlock();
    File::ScopedWriteLock const own(descriptor.Get());
    EXPECT_NE(Catch([&] { File::ReadLock(fileno(stream.Get()), false); }), "");
}

TEST_F(FileFamily, MoveBlockLikeACopyWithOverlap)
{
    unsigned int const seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto const upTo = [&random](std::size_t limit) { return random() % (limit + 1); };
    for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i)
    {
        std::string content(1 + upTo(40), ' ');
        for (char& c : content)
            c = static_cast<char>('a' + upTo(25));
        std::size_t const position = upTo(content.size());
        std::size_t const rest = content.size() - position;
        std::size_t const count = upTo(rest);
        std::size_t const target = upTo(50);
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
            File::MoveBlock(stream.Get(), *MakeBinary(1 + upTo(8)), static_cast<int>(target), static_cast<int>(count));
        }
        EXPECT_EQ(Get("file"), expected);
    }
}
