#include "filesystem/FailureText.h"

#include "filesystem/stdio/CopyFile.h"
#include "filesystem/stdio/FileDescriptors.h"
#include "filesystem/stdio/FileGuards.h"
#include "filesystem/stdio/FileMoveBlock.h"
#include "filesystem/stdio/FileStreams.h"

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;

namespace
{
    std::FILE* OpenStream(OpenMode mode, unsigned short const* path = u"file"_w)
    {
        return File::OpenStream(path, mode, kShareDefault);
    }

    int OpenDescriptor(OpenMode mode)
    {
        return File::OpenDescriptor(u"file"_w, mode, kShareDefault);
    }

    using FileFamily = TemporaryFolder;
}

TEST_F(FileFamily, OpenModes)
{
    // Mode, whether it needs a file, whether it writes, what it leaves of "old".
    std::tuple<OpenMode, bool, bool, std::string> const rows[] = {{kOpenRead, true, false, "old"},
        {kOpenWriteNew, false, true, "n"}, {kOpenWrite, false, true, "nld"}, {kOpenUpdate, true, true, "nld"},
        {kOpenUpdateNew, false, true, "n"}, {kOpenUpdateAlways, false, true, "nld"},
        {kOpenWriteNewForUpdate, false, true, "n"}};
    for (auto const& [mode, needsFile, writes, left] : rows)
    {
        SCOPED_TRACE(mode);
        unlink("file");
        EXPECT_EQ(Catch([m = mode] { File::CloseDescriptor(OpenDescriptor(m)); }),
            needsFile ? DescribeCall("File::OpenDescriptor: ::CreateFileW failed for 'file'.", ENOENT) : "");
        Put("file", "old");
        File::ScopedStream const stream(OpenStream(mode));
        EXPECT_EQ(fcntl(fileno(stream.Get()), F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(Catch([&] { File::Write(stream.Get(), "new", 1); }).empty(), writes);
        File::Flush(stream.Get());
        EXPECT_EQ(Get("file"), left);
    }
}

TEST_F(FileFamily, CopiesWhatNeedsSeveralPieces)
{
    std::string const content(20, 'x');
    Put("file", content + "\nz");
    Put("to", "much longer than what comes" + content);
    CopyFile(u"file"_w, u"to"_w, *MakeBinary(7));
    EXPECT_EQ(Get("to"), content + "\nz");
    File::Copy(File::ScopedDescriptor(OpenDescriptor(kOpenRead)).Get(), u"other"_w);
    EXPECT_EQ(Get("other"), content + "\nz");
    File::ScopedStream const stream(OpenStream(kOpenRead));
    BinaryPtr const binary = MakeBinary(15);
    for (std::string const line : {"xxxxxxxxxxxxxx", "xxxxxx\n", "z", ""})
        EXPECT_EQ((File::ReadLine(stream.Get(), *binary), ToString(*binary)), line);
    binary->Shorten(99);
    EXPECT_EQ(binary->GetSize(), 0u);
    binary->Reset();
    EXPECT_EQ(binary->GetSize(), 15u);
}

TEST_F(FileFamily, LocksExclude)
{
    File::ScopedDescriptor const descriptor(OpenDescriptor(kOpenWrite));
    File::ScopedStream const stream(OpenStream(kOpenRead));
    File::ScopedReadLock lock(stream.Get());
    File::ReadLock(descriptor.Get(), false);
    EXPECT_NE(Catch([&] { File::WriteLock(descriptor.Get(), false); }), "");
    lock.Unlock();
    File::WriteLock(descriptor.Get(), false);
}

TEST_F(FileFamily, MoveBlockLikeACopyWithOverlap)
{
    // Position, target, count, what becomes of "abcdefgh".
    std::tuple<int, int, int, std::string> const rows[] = {
        {2, 4, 3, "abcdcdeh"}, {4, 1, 3, "aefgefgh"}, {0, 3, 0, "abcabcdefgh"}};
    for (auto const& [position, target, count, result] : rows)
    {
        File::ScopedStream const stream(OpenStream(kOpenUpdateNew));
        File::Write(stream.Get(), "abcdefgh", 0);
        File::SetPosition(stream.Get(), position);
        File::MoveBlock(stream.Get(), *MakeBinary(2), target, count);
        File::Flush(stream.Get());
        EXPECT_EQ(Get("file"), result);
    }
}
