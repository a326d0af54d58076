#include "filesystem/TemporaryFolder.h"

#include "filesystem/Paths.h"

#include <random>

using namespace QzFileSystem;
using QzTest::Narrow;
using QzTest::Wide;

TEST(Paths, CombineInNormalForm)
{
    struct
    {
        char const* mBase;
        char const* mPath;
        char const* mResult;
    } const rows[] = {
        {R"(C:\logs)", "server.log", R"(C:\logs\server.log)"},
        {R"(C:\logs\)", R"(a\..\b.log)", R"(C:\logs\b.log)"},
        {R"(C:\logs)", R"(..\..\..\x.log)", R"(C:\x.log)"},
        {R"(C:\logs)", "D:/x/./y.log", R"(D:\x\y.log)"},
        {R"(C:\logs\sub)", R"(\root.log)", R"(C:\root.log)"},
        {R"(\\srv\share\dir)", R"(\x.log)", R"(\\srv\share\x.log)"},
        {R"(\\srv\share\dir)", R"(..\..\x.log)", R"(\\srv\share\x.log)"},
        {R"(rel\dir)", "x.log", R"(rel\dir\x.log)"},
        {"rel", R"(\x.log)", R"(\x.log)"},
        {"", "x.log", "x.log"},
        {"a/b//c/", "", R"(a\b\c)"},
        {R"(a\..)", "", "."},
        {"C:", "", R"(C:\)"},
        {R"(\)", "", ""},
        {R"(\\)", "", R"(\\)"},
        {"//srv/share/x", "", R"(\\srv\share\x)"},
        {R"(\..\a)", "", R"(\..\a)"},
        {R"(C:\x)", "..", R"(C:\)"},
        {R"(C:\)", "..", R"(C:\)"},
        {R"(\\srv\share\..)", "", R"(\\srv\share)"},
        {R"(\\srv\..\x)", "", R"(\\x)"},
        {R"(a\.\b)", "", R"(a\b)"},
        {R"(a\..\..\b)", "", R"(..\b)"},
        {R"(..\..\b)", "", R"(..\..\b)"},
        {".", "", "."},
        {"", "", ""},
        {R"(D:\y)", "C:x", R"(D:\y\C:x)"},
        {R"(C:\a\.\b\..\c\)", "", R"(C:\a\c)"},
        {"/var/log", "../run/x", R"(\var\run\x)"},
        {"/var/log", "/etc/x", R"(\etc\x)"},
        {R"(\\srv)", R"(\x)", R"(\\srv\x)"},
    };
    for (auto const& row : rows)
        EXPECT_EQ(Narrow(CombinePaths(Wide(row.mBase).c_str(), Wide(row.mPath).c_str())), row.mResult)
            << row.mBase << " + " << row.mPath;
}

TEST(Paths, CombineInOtherStyles)
{
    constexpr PathStyle kUnknown = static_cast<PathStyle>(7);
    struct
    {
        PathStyle mStyle;
        char const* mBase;
        char const* mPath;
        char const* mResult;
    } const rows[] = {
        {WindowsPath, "a", "b/c", R"(a\b\c)"},
        {UnixPath, "/a", "/b/./c//d/", "/b/c/d"},
        {UnixPath, "/a", "../../b", "/b"},
        {UnixPath, "a/b", "../../../c", "../c"},
        {UnixPath, "/", "", "/"},
        {UnixPath, "/a/..", "", "/"},
        {UnixPath, R"(a\b)", R"(\c)", R"(a\b/\c)"},
        {UnixPath, "", "", ""},
        {kUnknown, "a/b", "c", "a/bc"},
        {kUnknown, "/a", "..", "/a.."},
    };
    for (auto const& row : rows)
        EXPECT_EQ(Narrow(CombinePaths(Wide(row.mBase).c_str(), Wide(row.mPath).c_str(), row.mStyle)), row.mResult)
            << row.mBase << " + " << row.mPath;
    EXPECT_FALSE(IsAbsolutePath(Wide("/a").c_str(), kUnknown));
}

TEST(Paths, OneTextInOneTextOut)
{
    using Operation = QzBase::ReturnWString (*)(unsigned short const*);
    struct
    {
        char const* mName;
        Operation mOperation;
        char const* mPath;
        char const* mResult;
    } const rows[] = {
        {"root", GetRootPath, "C:/a", "C:/"},
        {"root", GetRootPath, R"(\\srv\share\x\y)", R"(\\srv\share)"},
        {"root", GetRootPath, R"(\\srv)", R"(\\srv)"},
        {"root", GetRootPath, R"(\\srv\share/x)", R"(\\srv\share/x)"},
        {"directory", GetDirectoryName, "log.txt", "."},
        {"directory", GetDirectoryName, R"(a/b\c)", "a"},
        {"directory", GetDirectoryName, R"(a\b\c)", R"(a\b)"},
        {"directory", GetDirectoryName, R"(\x.log)", ""},
        {"name", GetFileName, R"(a/b\c)", R"(b\c)"},
        {"name", GetFileName, R"(a\b)", "b"},
        {"name", GetFileName, "b", "b"},
        {"parent", GetParentDirectory, R"(C:\a\b\)", R"(C:\a\)"},
        {"parent", GetParentDirectory, R"(C:\)", ""},
        {"parent", GetParentDirectory, R"(C:\a)", R"(C:\)"},
        {"parent", GetParentDirectory, "a/b", ""},
        {"parent", GetParentDirectory, "a/bc", ""},
        {"extension", GetFileExtension, R"(a.b\c)", R"(b\c)"},
        {"extension", GetFileExtension, "name.tx t", "tx"},
        {"extension", GetFileExtension, "name.tx\xC2\x85t", "tx"},
        {"extension", GetFileExtension, "name.tx\x0Bt", "tx"},
        {"extension", GetFileExtension, "name", ""},
        {"stem", GetFileStem, R"(a.b\c.d.e)", "c.d"},
        {"stem", GetFileStem, "a/.x", ""},
        {"stem", GetFileStem, R"(x.y\z)", "z"},
        {"share", SlashPathToUNC, "/srv/share", R"(\\srv\share)"},
        {"share", SlashPathToUNC, R"(\srv/share)", R"(\srv/share)"},
        {"share", SlashPathToUNC, "", ""},
    };
    for (auto const& row : rows)
        EXPECT_EQ(Narrow(row.mOperation(Wide(row.mPath).c_str())), row.mResult) << row.mName << ' ' << row.mPath;
    EXPECT_STREQ(GetFileName("a/b\\c"), "b\\c");
    EXPECT_STREQ(GetFileName("a\\b"), "b");
    EXPECT_STREQ(GetFileName("b"), "b");
}

TEST(Paths, AbsoluteAndRooted)
{
    struct
    {
        char const* mPath;
        bool mIsAbsolute;
        bool mIsAbsoluteUnix;
        bool mIsRooted;
    } const rows[] = {
        {R"(C:\)", true, false, false},
        {"z:/x", true, false, false},
        {"C:", false, false, false},
        {"C:x", false, false, false},
        {R"(1:\)", false, false, false},
        {R"(\\)", true, false, true},
        {"//", false, true, true},
        {R"(\/x)", false, false, true},
        {"", false, false, false},
    };
    for (auto const& row : rows)
    {
        SCOPED_TRACE(row.mPath);
        QzBase::WideString const path = Wide(row.mPath);
        EXPECT_EQ(IsAbsolutePath(path.c_str()), row.mIsAbsolute);
        EXPECT_EQ(IsAbsolutePath(path.c_str(), WindowsPath), row.mIsAbsolute);
        EXPECT_EQ(IsAbsolutePath(path.c_str(), UnixPath), row.mIsAbsoluteUnix);
        EXPECT_EQ(IsRootedPath(path.c_str()), row.mIsRooted);
    }
}

TEST(Paths, NormalFormHoldsForAnyText)
{
    unsigned int const seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    char const* const pieces[] = {"a", "b", ".", "..", "\\", "/", "C:", "\\\\", "...", "\xF0\x9F\x98\x80"};
    auto const make = [&]
    {
        std::string text;
        for (auto i = random() % 10; i > 0; --i)
            text += pieces[random() % std::size(pieces)];
        return text;
    };
    for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i)
    {
        PathStyle const style = random() % 2 ? WindowsPath : UnixPath;
        std::string const base = make();
        std::string const path = make();
        SCOPED_TRACE("'" + base + "' + '" + path + "' style " + std::to_string(style));
        std::string const separator = style == WindowsPath ? "\\" : "/";
        QzBase::ReturnWString const result = CombinePaths(Wide(base).c_str(), Wide(path).c_str(), style);
        EXPECT_EQ(Narrow(CombinePaths(result.c_str(), Wide("").c_str(), style)), Narrow(result)) << "not stable";

        std::string const text = Narrow(result);
        std::string const closed = separator + text + separator;
        EXPECT_TRUE(text == "." || closed.find(separator + "." + separator) == std::string::npos) << text;
        EXPECT_EQ(text.find(separator + separator, 1), std::string::npos) << text;
        EXPECT_TRUE(style != WindowsPath || text.find('/') == std::string::npos) << text;
    }
}
