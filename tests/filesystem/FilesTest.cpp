#include "filesystem/FailureText.h"

#include "filesystem/Directories.h"
#include "filesystem/DirectoryWalk.h"
#include "filesystem/FileChanges.h"
#include "filesystem/FileQueries.h"

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;
using namespace std::string_literals;

namespace
{
    using Files = TemporaryFolder;

    std::string Move(std::string const& from, std::string const& to)
    {
        return Catch([&] { MoveFile(Wide(from), Wide(to)); });
    }
}

TEST_F(Files, KindsOfPaths)
{
    Put("file", "");
    Put("C:", "");
    MakeFolder("folder");
    std::filesystem::create_symlink("file", "link");
    std::filesystem::create_symlink("nowhere", "dangling");
    std::pair<std::string, char> const rows[] = {{"folder\\..\\file", 'f'}, {"link", 'f'}, {"folder", 'd'},
        {"dangling", '-'}, {"file/x", '-'}, {"C:", '-'}, {std::string(5000, 'x'), '-'}};
    for (auto const& [path, kind] : rows)
    {
        WideText const wide = Wide(path);
        EXPECT_EQ(IsFile(wide) ? 'f' : IsDirectory(wide) ? 'd' : '-', kind) << path;
        EXPECT_EQ(Exists(wide), kind != '-') << path;
    }
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

TEST_F(Files, SizeAndTime)
{
    WideText const file = u"file"_w;
    Put("file", "");
    truncate("file", (1LL << 32) + 7);
    EXPECT_EQ(GetFileSize(file), 7);
    EXPECT_EQ(GetFileSize64(file), (1ULL << 32) + 7);
    timespec const times[2] = {{-2, 0}, {-2, 999'999'999}};
    utimensat(AT_FDCWD, "file", times, 0);
    QzDataType::DateTime time(0.0);
    GetLastModifiedTime(file, time);
    EXPECT_STREQ(time.ToString().c_str(), "1969-12-31 23:59:58.999");
}

TEST_F(Files, FindFilesMatchesTheLastComponent)
{
    MakeFolder("d");
    for (char const* name : {"d/ab.log", "d/[x]", "d/x"})
        Put(name, "");
    for (auto const& [pattern, name] :
        {std::pair("*b*g", "d\\ab.log"), {"a?.log", "d\\ab.log"}, {"[x]", "d\\[x]"}, {"**x", "d\\x"}, {"x*", "d\\x"}})
    {
        std::unique_ptr<QzDataType::StringCollection> const found(FindFiles(Wide("d/"s + pattern)));
        ASSERT_EQ(found->GetCount(), 1u) << pattern;
        EXPECT_EQ(Narrow(found->GetItem(0)), name);
    }
}

TEST_F(Files, DirectoriesAndWhatDependsOnTheCurrentOne)
{
    std::string const here = std::filesystem::canonical(mFolder);
    std::string const normal = Narrow(CombinePaths(Wide(here), u"one\\two"_w));
    EXPECT_EQ(Narrow(GetAbsolutePath(u"one"_w, UnixPath)), here + "/one");
    EXPECT_EQ(Narrow(GetAbsolutePath(u"C:/y"_w)), "C:/y");
    Put("file", "");
    for (std::string const path : {"one\\two", "./a/b/c", normal.c_str()})
        EXPECT_EQ(Catch([&] { CreateDirectory(Wide(path), true); }),
            path == normal ? DescribeFailure("Failed to create directory '" + path + "'.", EEXIST) : "");
    EXPECT_EQ(Catch([] { CreateDirectory(u"file/x/y"_w, true); }),
        DescribeFailure("Failed to create directory 'file'.", EEXIST));
    EXPECT_NE(Catch([] { CreateDirectory(u""_w, true); }), "");
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
        {"a", "tmp", true}, {"folder", "tmp", false}, {"b", "nowhere", true}};
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
    for (char const* const path : {"entry", ""})
        EXPECT_FALSE(RemoveDirectoryTree(Wide(path), nullptr)) << path;
    EXPECT_TRUE(RemoveDirectoryTree(u"tree"_w, nullptr));
    std::filesystem::remove("entry");
    EXPECT_EQ(TakeSnapshot(), (Snapshot{{"other", "folder"}, {"other/file", "1"}, {"outside", "1"}}));
}
