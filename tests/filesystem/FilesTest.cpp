#include "filesystem/TemporaryFolder.h"

#include "filesystem/Directories.h"
#include "filesystem/FileQueries.h"
#include "filesystem/Initializer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <memory>
#include <thread>

using namespace QzFileSystem;
using QzTest::Catch;
using QzTest::DescribeCall;
using QzTest::DescribeFailure;
using QzTest::Narrow;
using QzTest::Wide;

namespace
{
    class Files : public QzTest::TemporaryFolder
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

        /// A path below the folder in normal form.
        std::string Normal(std::string const& name) const
        {
            return Narrow(CombinePaths(WideIn(name).c_str(), Wide("").c_str()));
        }

        /// Gives TMPDIR a value for as long as this lives.
        struct TemporaryDirectory
        {
            explicit TemporaryDirectory(std::string const& path)
            {
                char const* const old = getenv("TMPDIR");
                mWasSet = old != nullptr;
                mOld = old ? old : "";
                setenv("TMPDIR", path.c_str(), 1);
            }

            ~TemporaryDirectory()
            {
                if (mWasSet)
                    setenv("TMPDIR", mOld.c_str(), 1);
                else
                    unsetenv("TMPDIR");
            }

            bool mWasSet;
            std::string mOld;
        };
    };
}

TEST_F(Files, KindsOfPaths)
{
    Put("file", "12345");
    mkdir(In("folder").c_str(), 0777);
    symlink("file", In("link").c_str());
    symlink("nowhere", In("dangling").c_str());
    QzBase::WideString brokenText = WideIn("file");
    brokenText.push_back(0xD800);
    struct
    {
        QzBase::WideString mPath;
        bool mIsFile;
        bool mIsDirectory;
    } const rows[] = {
        {WideIn("file"), true, false},
        {Wide(Normal("file")), true, false},
        {WideIn("folder"), false, true},
        {WideIn("link"), true, false},
        {WideIn("dangling"), false, false},
        {WideIn("missing/x"), false, false},
        {WideIn("file/x"), false, false},
        {Wide("C:\\"), false, false},
        {Wide("C:"), false, false},
        {Wide(""), false, false},
        {Wide("/dev/null"), true, false},
        {WideIn(std::string(5000, 'x')), false, false},
        {brokenText, false, false},
    };
    for (auto const& row : rows)
    {
        SCOPED_TRACE(Narrow(row.mPath.c_str()));
        EXPECT_EQ(IsFile(row.mPath.c_str()), row.mIsFile);
        EXPECT_EQ(IsDirectory(row.mPath.c_str()), row.mIsDirectory);
        EXPECT_EQ(Exists(row.mPath.c_str()), row.mIsFile || row.mIsDirectory);
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
    timespec const times[2] = {{-2, 0}, {-2, 999'999'999}};
    utimensat(AT_FDCWD, In("file").c_str(), times, 0);
    EXPECT_EQ(GetFileSize(WideIn("file").c_str()), 5);
    truncate(In("file").c_str(), (1LL << 32) + 7);
    EXPECT_EQ(GetFileSize(WideIn("file").c_str()), 7);
    EXPECT_EQ(GetFileSize64(WideIn("file").c_str()), (1ULL << 32) + 7);
    utimensat(AT_FDCWD, In("file").c_str(), times, 0);
    QzDataType::DateTime time(0.0);
    GetLastModifiedTime(WideIn("file").c_str(), time);
    EXPECT_STREQ(time.ToString().c_str(), "1969-12-31 23:59:58.999");

    chmod(In("file").c_str(), 0444);
    EXPECT_FALSE(IsWriteable(WideIn("file").c_str()));
    Put("other", "");
    QzBase::Message err;
    EXPECT_EQ(CopyFileAttributes(WideIn("file").c_str(), WideIn("other").c_str(), &err), 1);
    EXPECT_FALSE(IsWriteable(WideIn("other").c_str()));
    EXPECT_EQ(CopyFileAttributes(WideIn("file").c_str(), WideIn("gone").c_str(), nullptr), 1);
    EXPECT_EQ(CopyFileAttributes(WideIn("file").c_str(), WideIn("gone").c_str(), &err), 0);
    EXPECT_EQ(QzTest::Describe(err), DescribeFailure("Failed to set attributes of file '" + In("gone") + "'.", ENOENT));

    std::uint64_t freeBytes = 1;
    std::uint64_t totalBytes = 1;
    GetDiskFreeSpace(WideIn("file").c_str(), freeBytes, totalBytes);
    EXPECT_GE(totalBytes, freeBytes);
    EXPECT_GT(totalBytes, 0u);
    GetDiskFreeSpace(nullptr, freeBytes, totalBytes);
    EXPECT_EQ(freeBytes + totalBytes, 0u);
}

TEST_F(Files, FailuresByPath)
{
    std::string const gone = In("gone/x");
    QzBase::WideString const path = Wide(gone);
    QzDataType::DateTime time(0.0);
    std::uint64_t number = 0;
    struct
    {
        std::string mFailure;
        std::string mExpected;
    } const rows[] = {
        {Catch([&] { GetFileSize(path.c_str()); }),
            DescribeFailure("Failed to get size of file '" + gone + "'.", ENOENT)},
        {Catch([&] { GetLastModifiedTime(path.c_str(), time); }),
            DescribeFailure("Failed to get attributes of file '" + gone + "'.", ENOENT)},
        {Catch([&] { CopyFileAttributes(path.c_str(), path.c_str(), nullptr); }),
            DescribeFailure("Failed to get attributes of file '" + gone + "'.", ENOENT)},
        {Catch([&] { CreateDirectory(path.c_str(), false); }),
            DescribeFailure("Failed to create directory '" + gone + "'.", ENOENT)},
        {Catch([&] { CreateDirectory(Wide(mFolder).c_str(), true); }),
            DescribeFailure("Failed to create directory '" + mFolder + "'.", EEXIST)},
        {Catch([&] { MoveFile(path.c_str(), WideIn("y").c_str()); }),
            DescribeFailure("Failed to move file '" + gone + "' to '" + In("y") + "'.", ENOENT)},
        {Catch([&] { MoveFile(Wide("C:\\x").c_str(), WideIn("y").c_str()); }),
            DescribeFailure("Failed to move file 'C:\\x' to '" + In("y") + "'.", ENOENT)},
        {Catch([&] { GetDiskFreeSpace(path.c_str(), number, number); }),
            "1/-2147090906 Failed to get disk free space for path " + Normal("gone/x") + ".\n2/2 " + strerror(ENOENT) +
                '\n'},
        {Catch([&] { delete FindFiles(path.c_str()); }), DescribeCall("Unable to find file", ENOENT)},
        {Catch([&] { SetCurrentWorkingDirectory(path.c_str()); }),
            DescribeCall(
                "QzFileSystem::SetCurrentWorkingDirectory: ::SetCurrentDirectoryW failed for '" + gone + "'.", ENOENT)},
        {Catch([&] { CreateTemporaryFile(Wide("100%%/").c_str()); }),
            DescribeCall("QzFileSystem::CreateTemporaryFile: ::GetTempFileNameW failed for '100%%/'.", ENOENT)},
    };
    for (auto const& row : rows)
        EXPECT_EQ(row.mFailure, row.mExpected);

    QzBase::Message err;
    EXPECT_FALSE(RemoveDirectory(path.c_str(), &err));
    EXPECT_EQ(QzTest::Describe(err), DescribeFailure("Failed to delete directory '" + gone + "'.", ENOENT));
    QzBase::Message treeErr;
    EXPECT_FALSE(RemoveDirectoryTree(path.c_str(), &treeErr));
    EXPECT_EQ(QzTest::Describe(treeErr),
        "1/305419896 Failed to delete directory '" + gone + "'.\n" + DescribeCall("Unable to find file", ENOENT));
}

TEST_F(Files, FindFilesMatchesTheLastComponent)
{
    for (char const* name : {"a.log", "ab.log", "a.log.bak00", ".hidden", "[x]", "x"})
        Put(name, "");
    struct
    {
        char const* mPattern;
        std::vector<std::string> mNames;
    } const rows[] = {
        {"*.log", {"a.log", "ab.log"}},
        {"a?.log", {"ab.log"}},
        {"a*0?", {"a.log.bak00"}},
        {"*b*g", {"ab.log"}},
        {"[x]", {"[x]"}},
        {"x", {"x"}},
        {"**d*n", {".hidden"}},
        {"?", {"x"}},
        {"*.txt", {}},
        {"", {}},
        {"*", {".hidden", "[x]", "a.log", "a.log.bak00", "ab.log", "x"}},
    };
    for (auto const& row : rows)
    {
        std::vector<std::string> expected;
        for (std::string const& name : row.mNames)
            expected.push_back(Normal(name));
        EXPECT_EQ(List(WideIn(row.mPattern)), expected) << row.mPattern;
        EXPECT_EQ(List(Wide(Normal("") + '\\' + row.mPattern)), expected) << row.mPattern;
    }
    EXPECT_EQ(List(Wide("/dev/nul?")), std::vector<std::string>{"\\dev\\null"});
    EXPECT_EQ(List(Wide("/de?")), std::vector<std::string>{"\\dev"});
}

TEST_F(Files, CurrentDirectoryAndWhatDependsOnIt)
{
    // The current directory belongs to the whole process: change it in one of our own.
    int const status = QzTest::RunInChild(
        [&]
        {
            SetCurrentWorkingDirectory(Wide(mFolder).c_str());
            std::string const here = std::filesystem::canonical(mFolder);
            bool good = Narrow(GetCurrentWorkingDirectory()) == here;
            good = good && Narrow(GetAbsolutePath(Wide("x/../y").c_str())) == Normal("y");
            good = good && Narrow(GetAbsolutePath(Wide("y").c_str(), UnixPath)) == here + "/y";
            good = good && Narrow(GetAbsolutePath(Wide("\\y").c_str())) == "\\y";
            good = good && Narrow(GetAbsolutePath(Wide("C:/y").c_str())) == "C:/y";
            CreateDirectory(Wide("one\\two/three").c_str(), true);
            good = good && std::filesystem::is_directory(In("one/two/three"));
            good = good && List(Wide("on?")) == std::vector<std::string>{"one"};
            rmdir(In("one/two/three").c_str());
            SetCurrentWorkingDirectory(WideIn("one/two").c_str());
            rmdir(In("one/two").c_str());
            return good && Catch([] { GetCurrentWorkingDirectory(); }) ==
                               DescribeCall(
                                   "QzFileSystem::GetCurrentWorkingDirectory: ::GetCurrentDirectoryW failed.", ENOENT)
                       ? 0
                       : 1;
        });
    EXPECT_EQ(status, 0);
}

TEST_F(Files, CreateDirectoryMakesAncestors)
{
    CreateDirectory(Wide(Normal("a/b/c")).c_str(), true);
    EXPECT_TRUE(IsDirectory(WideIn("a/b/c").c_str()));
    Put("file", "");
    EXPECT_EQ(Catch([&] { CreateDirectory(WideIn("file/x/y").c_str(), true); }),
        DescribeFailure("Failed to create directory '" + Normal("file") + "'.", EEXIST));
    EXPECT_NE(Catch([&] { CreateDirectory(Wide("C:\\a\\b").c_str(), true); }), "");
    EXPECT_NE(Catch([&] { CreateDirectory(Wide("").c_str(), true); }), "");

    // Whoever makes the same tree meanwhile must not keep the ancestors from being made.
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [this, i]
            {
                for (int round = 0; round < 20; ++round)
                {
                    std::string const tree = "tree" + std::to_string(round) + "/x/y/z/" + std::to_string(i);
                    EXPECT_EQ(Catch([&] { CreateDirectory(WideIn(tree).c_str(), true); }), "");
                }
            });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(Files, TemporaryDirectoryAndFiles)
{
    TemporaryDirectory const temporary(mFolder);
    EXPECT_EQ(Narrow(GetTemporaryDirectory()), mFolder + '/');
    std::string const first = Narrow(CreateTemporaryFile(Wide("log").c_str()));
    std::string const second = Narrow(CreateTemporaryFile(Wide("log").c_str()));
    EXPECT_EQ(first.find(In("log")), 0u);
    EXPECT_NE(first, second);
    EXPECT_EQ(GetFileSize(Wide(first).c_str()), 0);

    TemporaryDirectory const longest('/' + std::string(257, 'x'));
    EXPECT_EQ(GetTemporaryDirectory().size(), 259u);
    TemporaryDirectory const tooLong('/' + std::string(258, 'x'));
    EXPECT_EQ(GetTemporaryDirectory().size(), 0u);
    EXPECT_EQ(CreateTemporaryFile(Wide("log").c_str()).size(), 0u);
}

TEST_F(Files, DeleteFileReportsBothSteps)
{
    mkdir(In("tmp").c_str(), 0777);
    mkdir(In("folder").c_str(), 0777);
    Put("a", "1");
    TemporaryDirectory const temporary(In("tmp"));
    EXPECT_TRUE(DeleteFile(WideIn("a").c_str(), nullptr));
    EXPECT_FALSE(DeleteFile(WideIn("a").c_str(), nullptr));
    for (std::string const name : {"a", "folder"})
    {
        QzBase::Message err;
        EXPECT_FALSE(DeleteFile(WideIn(name).c_str(), &err));
        std::string const text = QzTest::Describe(err);
        EXPECT_EQ(text.find("1/305419896 Failed to delete file '" + In(name) + "'."), 0u) << text;
        EXPECT_NE(QzBase::FormatMessage(err, 0).c_str(), nullptr);
        EXPECT_NE(std::string(QzBase::FormatMessage(err, 0).c_str())
                      .find("Failed to move file '" + In(name) + "' to '" + In("tmp/")),
            std::string::npos);
    }
    EXPECT_EQ(TakeSnapshot().size(), 2u);

    // The step through the temporary directory may fail; the file goes all the same.
    Put("b", "1");
    TemporaryDirectory const missing(In("nowhere"));
    QzBase::Message err;
    EXPECT_TRUE(DeleteFile(WideIn("b").c_str(), &err));
    EXPECT_NE(QzTest::Describe(err).find("Failed to move file"), std::string::npos);
    EXPECT_EQ(TakeSnapshot().count("b"), 0u);
}

TEST_F(Files, MoveFileReplacesFilesOnly)
{
    auto const move = [this](char const* from, char const* to)
    { return Catch([&] { MoveFile(WideIn(from).c_str(), WideIn(to).c_str()); }); };
    Put("a", "new");
    Put("b", "old");
    EXPECT_EQ(move("a", "b"), "");
    EXPECT_EQ(TakeSnapshot(), (std::map<std::string, std::string>{{"b", "new"}}));

    mkdir(In("folder").c_str(), 0777);
    mkdir(In("empty").c_str(), 0777);
    EXPECT_NE(move("b", "folder"), "");
    EXPECT_NE(move("empty", "folder"), "");
    EXPECT_EQ(TakeSnapshot().size(), 3u);

    // Two names of one file: the old one goes. One name spelt in two ways stays.
    link(In("b").c_str(), In("c").c_str());
    EXPECT_EQ(move("b", "./b"), "");
    EXPECT_EQ(TakeSnapshot().size(), 4u);
    EXPECT_EQ(move("b", "c"), "");
    EXPECT_EQ(move("c", "folder/../c"), "");
    EXPECT_EQ(
        TakeSnapshot(), (std::map<std::string, std::string>{{"c", "new"}, {"empty", "folder"}, {"folder", "folder"}}));
}

TEST_F(Files, RemoveDirectoryTreeStaysInside)
{
    Put("outside", "1");
    mkdir(In("other").c_str(), 0777);
    Put("other/file", "1");
    std::filesystem::create_directories(In("tree/a/b"));
    Put("tree/a/file", "1");
    Put("tree/..\\..\\outside", "1");
    symlink("../other", In("tree/link").c_str());
    symlink("tree", In("entry").c_str());
    for (QzBase::WideString const& path : {WideIn("entry"), Wide(""), Wide("C:\\")})
        EXPECT_FALSE(RemoveDirectoryTree(path.c_str(), nullptr));
    EXPECT_TRUE(IsFile(WideIn("tree/a/file").c_str()));
    EXPECT_TRUE(RemoveDirectoryTree(WideIn("tree").c_str(), nullptr));
    unlink(In("entry").c_str());
    EXPECT_EQ(TakeSnapshot(),
        (std::map<std::string, std::string>{{"other", "folder"}, {"other/file", "1"}, {"outside", "1"}}));
}

TEST(FileInitializer, CountsFromAnyThread)
{
    Initializer const outer;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            []
            {
                for (int round = 0; round < 200; ++round)
                {
                    Initializer const own;
                    Initializer const copy(own);
                }
            });
    for (std::thread& thread : threads)
        thread.join();
}
