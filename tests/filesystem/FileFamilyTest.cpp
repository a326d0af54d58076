#include "filesystem/TemporaryFolder.h"

#include "filesystem/CopyFile.h"
#include "filesystem/File.h"
#include "filesystem/FileGuards.h"

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;

namespace
{
    std::FILE* OpenStream(OpenMode mode, unsigned short const* path = u"file"_w)
    {
        return File::OpenStream(path, mode, kShareDefault);
    }

    int OpenDescriptor(OpenMode mode, unsigned short const* path = u"file"_w)
    {
        return File::OpenDescriptor(path, mode, kShareDefault);
    }

    using FileFamily = TemporaryFolder;
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
        unlink("file");
        EXPECT_EQ(Catch([m = mode] { File::CloseDescriptor(OpenDescriptor(m)); }),
            needsFile ? DescribeCall("File::OpenDescriptor: ::CreateFileW failed for 'file'.", ENOENT) : "");
        Put("file", "old");
        BinaryPtr const binary = MakeBinary(8);
        File::ScopedStream const stream(OpenStream(mode));
        EXPECT_EQ(fcntl(fileno(stream.Get()), F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(File::GetPosition(stream.Get()), 0);
        EXPECT_EQ(Catch([&] { File::Write(stream.Get(), "new", 1); }).empty(), writes);
        File::Flush(stream.Get());
        EXPECT_EQ(Get("file"), left);
        clearerr(stream.Get());
        File::SetPosition(stream.Get(), 0);
        EXPECT_EQ(Catch([&] { File::Read(stream.Get(), *binary, 0); }).empty(), reads);
        EXPECT_EQ(ToString(*binary), reads ? left : "");
    }
    EXPECT_NE(Catch([] { OpenDescriptor(static_cast<OpenMode>(7), u"new"_w); }), "");
    EXPECT_NE(Catch([] { OpenDescriptor(kOpenRead, u"."_w); }), "");
    EXPECT_EQ(TakeSnapshot().size(), 1u);
}

TEST_F(FileFamily, CopiesOfAnySize)
{
    std::string content;
    for (std::size_t const size : {0u, 6u, 7u, 8u, 16384u, 40000u})
    {
        while (content.size() < size)
            content += static_cast<char>(content.size() * 31 % 251);
        Put("file", content);
        Put("to", "much longer than what comes");
        WideText const to = u"to"_w;
        File::ScopedDescriptor const from(OpenDescriptor(kOpenRead));
        Action const ways[] = {[&] { CopyFile(u"file"_w, to, *MakeBinary(7)); }, [&] { CopyFile(u"file"_w, to); },
            [&] { File::Copy(from.Get(), to); },
            [&] { File::Copy(File::ScopedStream(OpenStream(kOpenRead)).Get(), to); }};
        for (Action const& way : ways)
            EXPECT_EQ((way(), Get("to")), content) << size << ' ' << &way - ways;
    }
}

TEST_F(FileFamily, StreamsReadLines)
{
    Put("file", std::string("ab\ncdefgh\ni\0j\nk", 15));
    File::ScopedStream const stream(OpenStream(kOpenRead));
    BinaryPtr const binary = MakeBinary(5);
    for (std::string const line : {"ab\n", "cdef", "gh\n", "i", "k", "", ""})
        EXPECT_EQ((File::ReadLine(stream.Get(), *binary), ToString(*binary)), line);
}

TEST_F(FileFamily, Failures)
{
    File::ScopedDescriptor const opened(OpenDescriptor(kOpenUpdateNew));
    File::ScopedStream const openedStream(OpenStream(kOpenUpdate));
    File::ScopedStream const openedFull(OpenStream(kOpenWrite, u"/dev/full"_w));
    int const file = opened.Get();
    std::FILE* const stream = openedStream.Get();
    std::FILE* const full = openedFull.Get();
    BinaryPtr const binary = MakeBinary(8);
    std::tuple<Action, char const*, int> const rows[] = {
        {[] { File::GetSize(9999); }, "GetSize: Invalid file handle #9999.", EBADF},
        {[] { File::WriteLock(-1, true); }, "WriteLock: Invalid file handle #-1.", EBADF},
        {[] { File::ScopedReadLock lock(static_cast<std::FILE*>(nullptr)); }, "ReadLock: Invalid file handle #-1.",
            EBADF},
        {[&] { File::Read(full, *binary, 0); }, "Read: ::fread failed.", EBADF},
        {[&] { File::ReadLine(full, *binary); }, "ReadLine: ::fgets failed.", EBADF},
        {[&] { File::Flush((File::Write(full, "x", 0), full)); }, "Flush: ::fflush failed.", ENOSPC},
        // Positions are 32 bits wide.
        {[&] { File::SetPosition(file, -1); }, "SetPosition: ::lseek failed.", EINVAL},
        {[&] { File::MovePosition((lseek(file, 2147483640, SEEK_SET), file), 8); }, "MovePosition: ::lseek failed.",
            EOVERFLOW},
        {[&] { File::MovePosition((fseek(stream, 2147483640, SEEK_SET), stream), 8); },
            "MovePosition: ::fseeko failed.", EOVERFLOW},
        {[&] { File::GetPosition((lseek(file, 8, SEEK_CUR), file)); }, "GetPosition: ::lseek failed.", EOVERFLOW},
        {[&] { File::GetPosition((fseek(stream, 8, SEEK_CUR), stream)); }, "GetPosition: ::ftello failed.", EOVERFLOW}};
    for (auto const& [action, text, error] : rows)
        EXPECT_EQ(Catch(action), DescribeCall(std::string("File::") + text, error));
    EXPECT_EQ(File::SetPosition(file, 2147483647), 2147483647);
    EXPECT_EQ(File::MovePosition(file, -7), 2147483640);
    for (auto const& [size, shown] : {std::pair(5LL, 5), {(1LL << 32) + 6, 6}})
        EXPECT_TRUE(ftruncate(file, size) == 0 && File::GetSize(file) == shown && File::GetSize(stream) == shown);
    EXPECT_NE(Catch([&] { File::GetSize(ftruncate(file, 0xFFFFFFFF) == 0 ? file : -1); }), "");
    File::Flush(File::ScopedStream(OpenStream(kOpenWrite, u"/dev/null"_w)).Get());
    File::Truncate(stream, 9);
    EXPECT_EQ(File::GetSize(file), 9);
}

TEST_F(FileFamily, Locks)
{
    File::ScopedDescriptor const descriptor(OpenDescriptor(kOpenWrite));
    File::ScopedStream const stream(OpenStream(kOpenRead));
    auto const tryLock = [&] { return Catch([&] { File::WriteLock(descriptor.Get(), false); }); };
    File::ScopedReadLock lock(stream.Get());
    EXPECT_EQ(tryLock(),
        DescribeCall("File::WriteLock: Failed to lock file #" + std::to_string(descriptor.Get()) + '.', EWOULDBLOCK));
    File::ReadLock(descriptor.Get(), false);
    lock.Unlock();
    EXPECT_EQ(tryLock(), "");
    EXPECT_NE(Catch([&] { File::ReadLock(fileno(stream.Get()), false); }), "");
    EXPECT_TRUE(File::Unlock(descriptor.Get()));
    File::ScopedWriteLock const own(stream.Get());
    EXPECT_NE(tryLock(), "");
}

TEST_F(FileFamily, MoveBlockLikeACopyWithOverlap)
{
    // Position, target, count, what becomes of "abcdefgh".
    std::tuple<int, int, int, std::string> const rows[] = {{2, 4, 3, "abcdcdeh"}, {4, 1, 3, "aefgefgh"},
        {0, 3, 0, "abcabcdefgh"}, {3, 0, 0, "defghfgh"}, {2, 2, 3, "abcdefgh"}, {8, 0, 0, "abcdefgh"},
        {1, 2, 6, "abbcdefg"}, {2, 1, 6, "acdefghh"}, {1, 10, 2, std::string("abcdefgh\0\0bc", 12)}};
    for (auto const& [position, target, count, result] : rows)
    {
        for (std::size_t const pieceSize : {1u, 2u, 3u, 6u, 20u})
        {
            File::ScopedStream const stream(OpenStream(kOpenUpdateNew));
            File::Write(stream.Get(), "abcdefgh", 0);
            File::SetPosition(stream.Get(), position);
            File::MoveBlock(stream.Get(), *MakeBinary(pieceSize), target, count);
            File::Flush(stream.Get());
            EXPECT_EQ(Get("file"), result) << position << ' ' << target << ' ' << pieceSize;
        }
    }
    File::ScopedStream const large(OpenStream(kOpenUpdate));
    EXPECT_EQ(truncate("file", (std::int64_t{1} << 32) + 4), 0);
    EXPECT_NE(Catch([&] { File::MoveBlock(large.Get(), *MakeBinary(4), 8, 0); }), "");
}
