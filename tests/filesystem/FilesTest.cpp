#include "filesystem/TemporaryFolder.h"

#include "filesystem/Directories.h"
#include "filesystem/FileQueries.h"

#include <algorithm>

using namespace QzFileSystem;
using namespace QzTest;

namespace
{
    class Files : public TemporaryFolder
    {
    protected:
        static std::vector<std::string> List(QzBase::WideString const& pattern)
        {
            std::unique_ptr<QzDataType::StringCollection> const found(FindFiles(pattern.c_str()));
            std::vector<std::string> names;
            for (unsigned int i = 0; i < found->GetCount(); ++i)
                names.push_back(Narrow(found->GetItem(i)));
            std::sort(names.begin(), names.end());
            return names;
        }

        QzDataType::DateTime mTime{0.0};

        /// A path below the folder in normal form.
        std::string Normal(std::string const& name) const
        {
            return Narrow(CombinePaths(WideIn(name).c_str(), Wide("").c_str()));
        }
    };
}

TEST_F(Files, KindsOfPaths)
{
    Put("file", "12345");
    MakeFolder("folder");
    std::filesystem::create_symlink("file", In("link"));
    std::filesystem::create_symlink("nowhere", In("dangling"));
    QzBase::WideString brokenText = WideIn("file");
    brokenText.push_back(0xD800);
    // Path, whether it is a file, whether it is a directory.
    std::tuple<QzBase::WideString, bool, bool> const rows[] = {{WideIn("file"), true, false},
        {Wide(Normal("file")), true, false}, {WideIn("folder"), false, true}, {WideIn("link"), true, false},
        {WideIn("dangling"), false, false}, {WideIn("missing/x"), false, false}, {WideIn("file/x"), false, false},
        {Wide("C:\\"), false, false}, {Wide("C:"), false, false}, {Wide(""), false, false},
        {Wide("/dev/null"), true, false}, {WideIn(std::string(5000, 'x')), false, false}, {brokenText, false, false}};
    for (auto const& [path, isFile, isDirectory] : rows)
    {
        EXPECT_EQ(IsFile(path.c_str()), isFile) << Narrow(path.c_str());
        EXPECT_EQ(IsDirectory(path.c_str()), isDirectory) << Narrow(path.c_str());
        EXPECT_EQ(Exists(path.c_str()), isFile || isDirectory) << Narrow(path.c_str());
    }
}

TEST_F(Files, AnyNameOfTheSystemGoesBackToItself)
{
    for (std::string const name : {"plain", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "broken\xFF\xC3", "back\\slash",
             "..\\..\\v", "private\xEF\x81\x9C", "\xED\xA0\x80", "C:", "D:\\x", "%1%%"})
    {
        SCOPED_TRACE(name);
        Put(name, name);
        auto const found = std::unique_ptr<QzDataType::StringCollection>(FindFiles(WideIn("*").c_str()));
        ASSERT_EQ(found->GetCount(), 1u);
        EXPECT_TRUE(IsFile(found->GetItem(0)));
        EXPECT_EQ(GetFileSize64(found->GetItem(0)), name.size());
        EXPECT_TRUE(DeleteFile(found->GetItem(0), nullptr));
        EXPECT_EQ(access(In(name).c_str(), F_OK), -1);
    }
}

TEST_F(Files, SizeTimeAndAttributes)
{
    Put("file", "12345");
    QzBase::WideString const path = WideIn("file");
    EXPECT_EQ(GetFileSize(path.c_str()), 5);
    truncate(In("file").c_str(), (1LL << 32) + 7);
    EXPECT_EQ(GetFileSize(path.c_str()), 7);
    EXPECT_EQ(GetFileSize64(path.c_str()), (1ULL << 32) + 7);
    timespec const times[2] = {{-2, 0}, {-2, 999'999'999}};
    utimensat(AT_FDCWD, In("file").c_str(), times, 0);
    GetLastModifiedTime(path.c_str(), mTime);
    EXPECT_STREQ(mTime.ToString().c_str(), "1969-12-31 23:59:58.999");

    chmod(In("file").c_str(), 0444);
    EXPECT_FALSE(IsWriteable(path.c_str()));
    Put("other", "");
    EXPECT_TRUE(IsWriteable(WideIn("other").c_str()));
    QzBase::Message err;
    EXPECT_EQ(CopyFileAttributes(path.c_str(), WideIn("other").c_str(), &err), 1);
    EXPECT_FALSE(IsWriteable(WideIn("other").c_str()));
    EXPECT_EQ(CopyFileAttributes(path.c_str(), WideIn("gone").c_str(), nullptr), 1);
    EXPECT_EQ(CopyFileAttributes(path.c_str(), WideIn("gone").c_str(), &err), 0);
    EXPECT_EQ(Describe(err), DescribeFailure("Failed to set attributes of file '" + In("gone") + "'.", ENOENT));

    std::uint64_t freeBytes = 1;
    std::uint64_t totalBytes = 1;
    GetDiskFreeSpace(path.c_str(), freeBytes, totalBytes);
    EXPECT_TRUE(totalBytes >= freeBytes && totalBytes > 1);
    GetDiskFreeSpace(nullptr, freeBytes, totalBytes);
    EXPECT_EQ(freeBytes + totalBytes, 0u);
}

TEST_F(Files, FailuresByPath)
{
    std::string const gone = In("gone/x");
    QzBase::WideString const path = Wide(gone);
    QzBase::WideString const other = WideIn("y");
    std::uint64_t number = 0;
    auto const describe = [](std::string const& text, int error = ENOENT) { return DescribeFailure(text, error); };
    std::string const notFound = "0/2 Unable to find file\n" + std::string(strerror(ENOENT)) + '\n';
    std::pair<Action, std::string> const rows[] = {
        {[&] { GetFileSize(path.c_str()); }, describe("Failed to get size of file '" + gone + "'.")},
        {[&] { GetLastModifiedTime(path.c_str(), mTime); },
            describe("Failed to get attributes of file '" + gone + "'.")},
        {[&] { CopyFileAttributes(path.c_str(), path.c_str(), nullptr); },
            describe("Failed to get attributes of file '" + gone + "'.")},
        {[&] { CreateDirectory(path.c_str(), false); }, describe("Failed to create directory '" + gone + "'.")},
        {[&] { CreateDirectory(Wide(mFolder).c_str(), true); },
            describe("Failed to create directory '" + mFolder + "'.", EEXIST)},
        {[&] { MoveFile(path.c_str(), other.c_str()); },
            describe("Failed to move file '" + gone + "' to '" + In("y") + "'.")},
        {[&] { MoveFile(Wide("C:\\x").c_str(), other.c_str()); },
            describe("Failed to move file 'C:\\x' to '" + In("y") + "'.")},
        {[&] { GetDiskFreeSpace(path.c_str(), number, number); },
            "1/-2147090906 Failed to get disk free space for path " + Normal("gone/x") + ".\n2/2 " + strerror(ENOENT) +
                '\n'},
        {[&] { delete FindFiles(path.c_str()); }, notFound},
        {[&] { SetCurrentWorkingDirectory(path.c_str()); },
            DescribeCall("SetCurrentWorkingDirectory: ::SetCurrentDirectoryW failed for '" + gone + "'.", ENOENT)},
        {[&] { CreateTemporaryFile(Wide("100%%/").c_str()); },
            DescribeCall("CreateTemporaryFile: ::GetTempFileNameW failed for '100%%/'.", ENOENT)}};
    for (auto const& [action, failure] : rows)
        EXPECT_EQ(Catch(action), failure);

    QzBase::Message err;
    EXPECT_FALSE(RemoveDirectory(path.c_str(), &err));
    EXPECT_EQ(Describe(err), describe("Failed to delete directory '" + gone + "'."));
    QzBase::Message treeErr;
    EXPECT_FALSE(RemoveDirectoryTree(path.c_str(), &treeErr));
    EXPECT_EQ(Describe(treeErr), "1/305419896 Failed to delete directory '" + gone + "'.\n" + notFound);
}

TEST_F(Files, FindFilesMatchesTheLastComponent)
{
    for (char const* name : {"a.log", "ab.log", "a.log.bak00", ".hidden", "[x]", "x"})
        Put(name, "");
    std::pair<char const*, std::vector<std::string>> const rows[] = {{"*.log", {"a.log", "ab.log"}},
        {"a?.log", {"ab.log"}}, {"a*0?", {"a.log.bak00"}}, {"*b*g", {"ab.log"}}, {"[x]", {"[x]"}}, {"x", {"x"}},
        {"**d*n", {".hidden"}}, {"?", {"x"}}, {"*.txt", {}}, {"", {}},
        {"*", {".hidden", "[x]", "a.log", "a.log.bak00", "ab.log", "x"}}};
    for (auto const& [pattern, names] : rows)
    {
        std::vector<std::string> expected;
        for (std::string const& name : names)
            expected.push_back(Normal(name));
        EXPECT_EQ(List(WideIn(pattern)), expected) << pattern;
        EXPECT_EQ(List(Wide(Normal("") + '\\' + pattern)), expected) << pattern;
    }
    EXPECT_EQ(List(Wide("/dev/nul?")), std::vector<std::string>{"\\dev\\null"});
    EXPECT_EQ(List(Wide("/de?")), std::vector<std::string>{"\\dev"});
}

TEST_F(Files, CurrentDirectoryAndWhatDependsOnIt)
{
    // The current directory belongs to the whole process: change it in one of our own.
    auto const check = [this]
    {
        SetCurrentWorkingDirectory(Wide(mFolder).c_str());
        std::string const here = std::filesystem::canonical(mFolder);
        EXPECT_EQ(Narrow(GetCurrentWorkingDirectory()), here);
        EXPECT_EQ(Narrow(GetAbsolutePath(Wide("x/../y").c_str())), Normal("y"));
        EXPECT_EQ(Narrow(GetAbsolutePath(Wide("y").c_str(), UnixPath)), here + "/y");
        EXPECT_EQ(Narrow(GetAbsolutePath(Wide("\\y").c_str())), "\\y");
        EXPECT_EQ(Narrow(GetAbsolutePath(Wide("C:/y").c_str())), "C:/y");
        CreateDirectory(Wide("one\\two").c_str(), true);
        EXPECT_EQ(List(Wide("on?")), std::vector<std::string>{"one"});
        SetCurrentWorkingDirectory(WideIn("one/two").c_str());
        std::filesystem::remove_all(In("one"));
        EXPECT_EQ(Catch([] { GetCurrentWorkingDirectory(); }),
            DescribeCall("GetCurrentWorkingDirectory: ::GetCurrentDirectoryW failed.", ENOENT));
        return HasFailure() ? 1 : 0;
    };
    EXPECT_EQ(RunInChild(check), 0);
}

TEST_F(Files, CreateDirectoryMakesAncestors)
{
    CreateDirectory(Wide(Normal("a/b/c")).c_str(), true);
    EXPECT_TRUE(IsDirectory(WideIn("a/b/c").c_str()));
    Put("file", "");
    EXPECT_EQ(Catch([&] { CreateDirectory(WideIn("file/x/y").c_str(), true); }),
        DescribeFailure("Failed to create directory '" + Normal("file") + "'.", EEXIST));
    for (char const* const path : {"C:\\a\\b", "", "\\"})
        EXPECT_NE(Catch([&] { CreateDirectory(Wide(path).c_str(), true); }), "") << path;
}

TEST_F(Files, TemporaryDirectoryAndFiles)
{
    SetTemporary(mFolder);
    std::string const first = Narrow(CreateTemporaryFile(Wide("log").c_str()));
    EXPECT_EQ(first.find(In("log")), 0u);
    EXPECT_NE(first, Narrow(CreateTemporaryFile(Wide("log").c_str())));
    EXPECT_EQ(GetFileSize(Wide(first).c_str()), 0);
    for (auto const& [length, expected] : {std::pair(258u, 259u), {259u, 0u}})
    {
        SetTemporary('/' + std::string(length - 1, 'x'));
        EXPECT_EQ(GetTemporaryDirectory().size(), expected);
    }
    EXPECT_EQ(CreateTemporaryFile(Wide("log").c_str()).size(), 0u);
}

TEST_F(Files, DeleteFileReportsBothSteps)
{
    MakeFolder("tmp");
    MakeFolder("folder");
    Put("a", "1");
    SetTemporary(In("tmp"));
    EXPECT_TRUE(DeleteFile(WideIn("a").c_str(), nullptr));
    EXPECT_FALSE(DeleteFile(WideIn("a").c_str(), nullptr));
    for (std::string const name : {"a", "folder"})
    {
        QzBase::Message err;
        EXPECT_FALSE(DeleteFile(WideIn(name).c_str(), &err));
        std::string const text = QzBase::FormatMessage(err, 0).c_str();
        EXPECT_EQ(text.find("Failed to delete file '" + In(name) + "'."), 0u) << text;
        EXPECT_NE(text.find("Failed to move file '" + In(name) + "' to '" + In("tmp/")), std::string::npos) << text;
    }
    EXPECT_EQ(TakeSnapshot().size(), 2u);

    // The step through the temporary directory may fail; the file goes all the same.
    Put("b", "1");
    SetTemporary(In("nowhere"));
    QzBase::Message err;
    EXPECT_TRUE(DeleteFile(WideIn("b").c_str(), &err));
    EXPECT_NE(Describe(err).find("Failed to move file"), std::string::npos);
    EXPECT_EQ(TakeSnapshot().size(), 2u);
}

TEST_F(Files, MoveFileReplacesFilesOnly)
{
    auto const move = [this](char const* from, char const* to)
    { return Catch([&] { MoveFile(WideIn(from).c_str(), WideIn(to).c_str()); }); };
    Put("a", "new");
    Put("b", "old");
    EXPECT_EQ(move("a", "b"), "");
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"b", "new"}}));

    MakeFolder("folder");
    MakeFolder("empty");
    EXPECT_NE(move("b", "folder"), "");
    EXPECT_NE(move("empty", "folder"), "");
    EXPECT_EQ(TakeSnapshot().size(), 3u);

    // Two names of one file: the old one goes. One name spelt in two ways stays.
    link(In("b").c_str(), In("c").c_str());
    EXPECT_EQ(move("b", "./b"), "");
    EXPECT_EQ(TakeSnapshot().size(), 4u);
    EXPECT_EQ(move("b", "c"), "");
    EXPECT_EQ(move("c", "folder/../c"), "");
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"c", "new"}, {"empty", "folder"}, {"folder", "folder"}}));
}

TEST_F(Files, MoveFileBetweenFileSystems)
{
    Put("file", std::string(300000, 'x'));
    chmod(In("file").c_str(), 0640);
    GetLastModifiedTime(WideIn("file").c_str(), mTime);
    std::string name = "/dev/shm/qzlog-files-XXXXXX";
    int const other = mkstemp(name.data());
    struct stat status;
    struct stat folderStatus;
    stat(mFolder.c_str(), &folderStatus);
    if (fstat(other, &status) != 0 || close(other) != 0 || status.st_dev == folderStatus.st_dev)
    {
        unlink(name.c_str());
        GTEST_SKIP() << "needs a second file system at /dev/shm";
    }
    EXPECT_EQ(Catch([&] { MoveFile(WideIn("file").c_str(), Wide(name).c_str()); }), "");
    QzDataType::DateTime time(0.0);
    GetLastModifiedTime(Wide(name).c_str(), time);
    stat(name.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_STREQ(time.ToString().c_str(), mTime.ToString().c_str());
    EXPECT_EQ(Catch([&] { MoveFile(Wide(name).c_str(), WideIn("back").c_str()); }), "");
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"back", std::string(300000, 'x')}}));
}

TEST_F(Files, RemoveDirectoryTreeStaysInside)
{
    MakeFolder("other");
    MakeFolder("tree/a/b");
    for (char const* name : {"outside", "other/file", "tree/a/file", "tree/..\\..\\outside"})
        Put(name, "1");
    std::filesystem::create_symlink("../other", In("tree/link"));
    std::filesystem::create_symlink("tree", In("entry"));
    // In a directory of our own, lest a fault here removes what the empty path could be taken for.
    auto const inChild = [this]
    {
        SetCurrentWorkingDirectory(Wide(mFolder).c_str());
        for (QzBase::WideString const& path : {WideIn("entry"), Wide(""), Wide("C:\\")})
            EXPECT_FALSE(RemoveDirectoryTree(path.c_str(), nullptr));
        return HasFailure() ? 1 : 0;
    };
    EXPECT_EQ(RunInChild(inChild), 0);
    EXPECT_TRUE(IsFile(WideIn("tree/a/file").c_str()));
    EXPECT_TRUE(RemoveDirectoryTree(WideIn("tree").c_str(), nullptr));
    std::filesystem::remove(In("entry"));
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"other", "folder"}, {"other/file", "1"}, {"outside", "1"}}));
}
