#include "filesystem/TemporaryFolder.h"

#include "filesystem/Directories.h"
#include "filesystem/FileQueries.h"

#include <set>

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;

namespace
{
    class Files : public TemporaryFolder
    {
    protected:
        /// The paths that match, in order, each with a blank behind it.
        static std::string List(WideText const& pattern)
        {
            std::unique_ptr<QzDataType::StringCollection> const found(FindFiles(pattern));
            std::set<std::string> names;
            for (unsigned int i = 0; i < found->GetCount(); ++i)
                names.insert(Narrow(found->GetItem(i)) + ' ');
            std::string list;
            for (std::string const& name : names)
                list += name;
            return list;
        }

        static std::string Move(std::string const& from, std::string const& to)
        {
            return Catch([&] { MoveFile(Wide(from), Wide(to)); });
        }
    };
}

TEST_F(Files, KindsOfPaths)
{
    Put("file", "12345");
    Put("C:", "");
    MakeFolder("folder");
    std::filesystem::create_symlink("file", "link");
    std::filesystem::create_symlink("nowhere", "dangling");
    std::pair<std::string, char> const rows[] = {{"file", 'f'}, {"folder\\..\\file", 'f'}, {"link", 'f'},
        {"/dev/null", 'f'}, {"folder", 'd'}, {"dangling", '-'}, {"missing/x", '-'}, {"file/x", '-'}, {"C:\\", '-'},
        {"C:", '-'}, {"", '-'}, {std::string(5000, 'x'), '-'}};
    for (auto const& [path, kind] : rows)
    {
        WideText const wide = Wide(path);
        EXPECT_EQ(IsFile(wide) ? 'f' : IsDirectory(wide) ? 'd' : '-', kind) << path;
        EXPECT_EQ(Exists(wide), kind != '-') << path;
    }
    unsigned short const broken[] = {'f', 'i', 'l', 'e', 0xD800, 0};
    EXPECT_FALSE(Exists(broken));
}

TEST_F(Files, AnyNameOfTheSystemGoesBackToItself)
{
    for (std::string const name : {"plain", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "broken\xFF\xC3", "back\\slash",
             "..\\..\\v", "private\xEF\x81\x9C", "\xED\xA0\x80", "C:", "D:\\x", "%1%%"})
    {
        Put(name, name);
        std::unique_ptr<QzDataType::StringCollection> const found(FindFiles(WideIn("*")));
        ASSERT_EQ(found->GetCount(), 1u);
        EXPECT_TRUE(IsFile(found->GetItem(0)) && GetFileSize64(found->GetItem(0)) == name.size()) << name;
        EXPECT_TRUE(DeleteFile(found->GetItem(0), nullptr) && TakeSnapshot().empty()) << name;
    }
}

TEST_F(Files, SizeTimeAndAttributes)
{
    WideText const file = u"file"_w;
    Put("file", "12345");
    Put("other", "");
    EXPECT_EQ(GetFileSize(file), 5);
    truncate("file", (1LL << 32) + 7);
    EXPECT_EQ(GetFileSize(file), 7);
    EXPECT_EQ(GetFileSize64(file), (1ULL << 32) + 7);
    timespec const times[2] = {{-2, 0}, {-2, 999'999'999}};
    utimensat(AT_FDCWD, "file", times, 0);
    QzDataType::DateTime time(0.0);
    GetLastModifiedTime(file, time);
    EXPECT_STREQ(time.ToString().c_str(), "1969-12-31 23:59:58.999");
    chmod("file", 0444);
    EXPECT_TRUE(!IsWriteable(file) && IsWriteable(u"other"_w));
    QzBase::Message err;
    EXPECT_EQ(CopyFileAttributes(file, u"gone"_w, nullptr), 1);
    EXPECT_EQ(CopyFileAttributes(file, u"gone"_w, &err), 0);
    EXPECT_EQ(CopyFileAttributes(file, u"other"_w, &err), 1);
    EXPECT_FALSE(IsWriteable(u"other"_w));
    std::uint64_t freeBytes = 1;
    std::uint64_t totalBytes = 1;
    GetDiskFreeSpace(file, freeBytes, totalBytes);
    EXPECT_TRUE(totalBytes >= freeBytes && totalBytes > 1);
    GetDiskFreeSpace(nullptr, freeBytes, totalBytes);
    EXPECT_EQ(freeBytes + totalBytes, 0u);
}

TEST_F(Files, FindFilesMatchesTheLastComponent)
{
    MakeFolder("d");
    for (char const* name : {"d/a.log", "d/ab.log", "d/a.log.bak00", "d/.hidden", "d/[x]", "d/x"})
        Put(name, "");
    std::pair<std::string, char const*> const rows[] = {{"*.log", "d\\a.log d\\ab.log "}, {"a?.log", "d\\ab.log "},
        {"a*0?", "d\\a.log.bak00 "}, {"*b*g", "d\\ab.log "}, {"[x]", "d\\[x] "}, {"x", "d\\x "}, {"x*", "d\\x "},
        {"**d*n", "d\\.hidden "}, {"?", "d\\x "}, {"*.txt", ""}, {"", ""},
        {"*", "d\\.hidden d\\[x] d\\a.log d\\a.log.bak00 d\\ab.log d\\x "}};
    for (auto const& [pattern, names] : rows)
        for (char const* const directory : {"d/", "d\\"})
            EXPECT_EQ(List(Wide(directory + pattern)), names) << pattern;
    for (auto const& [pattern, name] : {std::pair("?", "d "), {"/dev/nul?", "\\dev\\null "}, {"/de?", "\\dev "}})
        EXPECT_EQ(List(Wide(pattern)), name);
}

TEST_F(Files, DirectoriesAndWhatDependsOnTheCurrentOne)
{
    std::string const here = std::filesystem::canonical(mFolder);
    std::string const normal = Narrow(CombinePaths(Wide(here), u"one\\two"_w));
    EXPECT_EQ(Narrow(GetAbsolutePath(u"one"_w, UnixPath)), here + "/one");
    EXPECT_EQ(Narrow(GetAbsolutePath(u"x/../one/two"_w)), normal);
    EXPECT_EQ(Narrow(GetAbsolutePath(u"C:/y"_w)), "C:/y");
    EXPECT_EQ(Narrow(GetAbsolutePath(u"\\y"_w)), "\\y");

    Put("file", "");
    for (std::string const path : {"one\\two", "./a/b/c", normal.c_str()})
        EXPECT_EQ(Catch([&] { CreateDirectory(Wide(path), true); }),
            path == normal ? DescribeFailure("Failed to create directory '" + path + "'.", EEXIST) : "");
    EXPECT_EQ(Catch([] { CreateDirectory(u"file/x/y"_w, true); }),
        DescribeFailure("Failed to create directory 'file'.", EEXIST));
    for (char const* const path : {"C:\\a\\b", "", "\\"})
        EXPECT_NE(Catch([&] { CreateDirectory(Wide(path), true); }), "") << path;
    EXPECT_TRUE(IsDirectory(u"a/b/c"_w));
}

TEST_F(Files, DeleteFileReportsBothSteps)
{
    MakeFolder("tmp");
    MakeFolder("folder");
    Put("a", "1");
    Put("b", "1");
    // Name, directory for temporary files, whether the file goes, which it does also when the first step fails.
    std::tuple<std::string, std::string, bool> const rows[] = {
        {"a", "tmp", true}, {"a", "tmp", false}, {"folder", "tmp", false}, {"b", "nowhere", true}};
    for (auto const& [name, temporary, goes] : rows)
    {
        SetTemporary(In(temporary));
        QzBase::Message err;
        EXPECT_EQ(DeleteFile(Wide(name), &err), goes) << name;
        std::string const text = QzBase::FormatMessage(err, 0).c_str();
        std::string const moving = "Failed to move file '" + name + "' to '" + In(temporary) + '/';
        EXPECT_EQ(text.find("Failed to delete file '" + name + "'.") == 0, !goes) << text;
        EXPECT_EQ(text.find(moving) != text.npos, !goes || temporary == "nowhere") << text;
    }
    EXPECT_FALSE(DeleteFile(u"a"_w, nullptr));
    EXPECT_EQ(TakeSnapshot().size(), 2u);
}

TEST_F(Files, TemporaryFiles)
{
    SetTemporary(mFolder);
    WideText const first = CreateTemporaryFile(u"log"_w);
    EXPECT_EQ(Narrow(first).find(In("log")), 0u);
    EXPECT_FALSE(first == CreateTemporaryFile(u"log"_w).c_str());
    EXPECT_EQ(GetFileSize(first), 0);
    for (auto const& [length, expected] : {std::pair(258u, 259u), {259u, 0u}})
    {
        SetTemporary('/' + std::string(length - 1, 'x'));
        EXPECT_EQ(GetTemporaryDirectory().size(), expected);
    }
    EXPECT_EQ(CreateTemporaryFile(u"log"_w).size(), 0u);
}

TEST_F(Files, MoveFileReplacesFilesOnly)
{
    Put("a", "new");
    Put("b", "old");
    EXPECT_EQ(Move("a", "b"), "");
    MakeFolder("folder");
    MakeFolder("empty");
    EXPECT_NE(Move("b", "folder"), "");
    EXPECT_NE(Move("empty", "folder"), "");
    // Two names of one file: the old one goes. One name spelt in two ways stays.
    link("b", "c");
    EXPECT_EQ(Move("b", "./b"), "");
    EXPECT_EQ(TakeSnapshot().size(), 4u);
    EXPECT_EQ(Move("b", "c"), "");
    EXPECT_EQ(Move("c", "folder/../c"), "");
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"c", "new"}, {"empty", "folder"}, {"folder", "folder"}}));
}

TEST_F(Files, RemoveDirectoryTreeStaysInside)
{
    MakeFolder("other");
    MakeFolder("tree/a/b");
    for (char const* name : {"outside", "other/file", "tree/a/file", "tree/..\\..\\outside"})
        Put(name, "1");
    std::filesystem::create_symlink("../other", "tree/link");
    std::filesystem::create_symlink("tree", "entry");
    for (char const* const path : {"entry", "", "C:\\"})
        EXPECT_FALSE(RemoveDirectoryTree(Wide(path), nullptr)) << path;
    QzBase::Message err;
    EXPECT_FALSE(RemoveDirectoryTree(u"gone/x"_w, &err));
    EXPECT_EQ(Describe(err), "1/305419896 Failed to delete directory 'gone/x'.\n0/2 Unable to find file\n" +
                                 std::string(strerror(ENOENT)) + '\n');
    EXPECT_TRUE(IsFile(u"tree/a/file"_w));
    EXPECT_TRUE(RemoveDirectoryTree(u"tree"_w, nullptr));
    std::filesystem::remove("entry");
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"other", "folder"}, {"other/file", "1"}, {"outside", "1"}}));
}
