#include "filesystem/TemporaryFolder.h"

#include "filesystem/Paths.h"

#include <random>

using namespace QzFileSystem;
using namespace QzTest;

TEST(Paths, CombineInNormalForm)
{
    // Base, path, result.
    char const* const rows[][3] = {{R"(C:\logs)", "server.log", R"(C:\logs\server.log)"},
        {R"(C:\logs\)", R"(a\..\b.log)", R"(C:\logs\b.log)"}, {R"(C:\logs)", R"(..\..\..\x.log)", R"(C:\x.log)"},
        {R"(C:\logs)", "D:/x/./y.log", R"(D:\x\y.log)"}, {R"(C:\logs\sub)", R"(\root.log)", R"(C:\root.log)"},
        {R"(\\srv\share\dir)", R"(\x.log)", R"(\\srv\share\x.log)"},
        {R"(\\srv\share\dir)", R"(..\..\x.log)", R"(\\srv\share\x.log)"}, {R"(\\srv)", R"(\x)", R"(\\srv\x)"},
        {R"(rel\dir)", "x.log", R"(rel\dir\x.log)"}, {"rel", R"(\x.log)", R"(\x.log)"}, {"", "x.log", "x.log"},
        {"a/b//c/", "", R"(a\b\c)"}, {R"(a\..)", "", "."}, {"C:", "", R"(C:\)"}, {R"(\)", "", ""},
        {R"(\\)", "", R"(\\)"}, {"//srv/share/x", "", R"(\\srv\share\x)"}, {R"(\..\a)", "", R"(\..\a)"},
        {R"(C:\x)", "..", R"(C:\)"}, {R"(C:\)", "..", R"(C:\)"}, {R"(\\srv\share\..)", "", R"(\\srv\share)"},
        {R"(\\srv\..\x)", "", R"(\\x)"}, {R"(a\.\b)", "", R"(a\b)"}, {R"(a\..\..\b)", "", R"(..\b)"},
        {R"(..\..\b)", "", R"(..\..\b)"}, {".", "", "."}, {"", "", ""}, {R"(D:\y)", "C:x", R"(D:\y\C:x)"},
        {R"(C:\a\.\b\..\c\)", "", R"(C:\a\c)"}, {"/var/log", "../run/x", R"(\var\run\x)"},
        {"/var/log", "/etc/x", R"(\etc\x)"}, {"b", R"(1:\x)", R"(b\1:\x)"}, {"C:/b", "//x/y", R"(C:\x\y)"},
        {"C:/b", "z:/x", R"(z:\x)"}, {"C:/b", R"(\\x)", R"(\\x)"}};
    for (auto const& [base, path, result] : rows)
        EXPECT_EQ(Narrow(CombinePaths(Wide(base).c_str(), Wide(path).c_str())), result) << base << " + " << path;
}

TEST(Paths, CombineInOtherStyles)
{
    constexpr PathStyle kUnknown = static_cast<PathStyle>(7);
    std::tuple<PathStyle, char const*, char const*, char const*> const rows[] = {{WindowsPath, "a", "b/c", R"(a\b\c)"},
        {UnixPath, "/a", "/b/./c//d/", "/b/c/d"}, {UnixPath, "/a", "../../b", "/b"},
        {UnixPath, "a/b", "../../../c", "../c"}, {UnixPath, "/", "", "/"}, {UnixPath, "/a/..", "", "/"},
        {UnixPath, R"(a\b)", R"(\c)", R"(a\b/\c)"}, {UnixPath, "", "", ""}, {kUnknown, "a/b", "c", "a/bc"},
        {kUnknown, "/a", "..", "/a.."}};
    for (auto const& [style, base, path, result] : rows)
        EXPECT_EQ(Narrow(CombinePaths(Wide(base).c_str(), Wide(path).c_str(), style)), result) << base << " + " << path;
    EXPECT_FALSE(IsAbsolutePath(Wide("/a").c_str(), kUnknown));
}

TEST(Paths, OneTextInOneTextOut)
{
    using Operation = QzBase::ReturnWString (*)(unsigned short const*);
    std::tuple<Operation, char const*, char const*> const rows[] = {{GetRootPath, "C:/a", "C:/"},
        {GetRootPath, R"(\\srv\share\x\y)", R"(\\srv\share)"}, {GetRootPath, R"(\\srv)", R"(\\srv)"},
        {GetRootPath, R"(\\srv\share/x)", R"(\\srv\share/x)"}, {GetDirectoryName, "log.txt", "."},
        {GetDirectoryName, R"(a/b\c)", "a"}, {GetDirectoryName, R"(a\b\c)", R"(a\b)"},
        {GetDirectoryName, R"(\x.log)", ""}, {GetFileName, R"(a/b\c)", R"(b\c)"}, {GetFileName, R"(a\b)", "b"},
        {GetFileName, "b", "b"}, {GetParentDirectory, R"(C:\a\b\)", R"(C:\a\)"}, {GetParentDirectory, R"(C:\)", ""},
        {GetParentDirectory, R"(C:\a)", R"(C:\)"}, {GetParentDirectory, "a/b", ""}, {GetParentDirectory, "a/bc", ""},
        {GetFileExtension, R"(a.b\c)", R"(b\c)"}, {GetFileExtension, "name.tx t", "tx"},
        {GetFileExtension, "name.tx\xC2\x85t", "tx"}, {GetFileExtension, "name.tx\x0Bt", "tx"},
        {GetFileExtension, "name", ""}, {GetFileStem, R"(a.b\c.d.e)", "c.d"}, {GetFileStem, "a/.x", ""},
        {GetFileStem, R"(x.y\z)", "z"}, {SlashPathToUNC, "/srv/share", R"(\\srv\share)"},
        {SlashPathToUNC, R"(\srv/share)", R"(\srv/share)"}, {SlashPathToUNC, "", ""}};
    for (auto const& [operation, path, result] : rows)
        EXPECT_EQ(Narrow(operation(Wide(path).c_str())), result) << path;
    EXPECT_STREQ(GetFileName("a/b\\c"), "b\\c");
    EXPECT_STREQ(GetFileName("a\\b"), "b");
    EXPECT_STREQ(GetFileName("b"), "b");
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
    for (int i = 0; i < 10000 && !testing::Test::HasFailure(); ++i)
    {
        PathStyle const style = random() % 2 ? WindowsPath : UnixPath;
        std::string const base = make();
        std::string const path = make();
        SCOPED_TRACE("'" + base + "' + '" + path + "' style " + std::to_string(style));
        QzBase::ReturnWString const result = CombinePaths(Wide(base).c_str(), Wide(path).c_str(), style);
        std::string const text = Narrow(result);
        // Behind the two "/" of a path that is not absolute ".." stays; as a share it is absolute, and loses it.
        std::string const again = Narrow(CombinePaths(result.c_str(), Wide("").c_str(), style));
        EXPECT_TRUE(again == text || text.find("\\\\..") == 0) << "not stable: " << again;
        std::string const separator = style == WindowsPath ? "\\" : "/";
        std::string const closed = separator + text + separator;
        EXPECT_TRUE(text == "." || closed.find(separator + "." + separator) == std::string::npos) << text;
        EXPECT_EQ(text.find(separator + separator, 1), std::string::npos) << text;
        EXPECT_TRUE(style != WindowsPath || text.find('/') == std::string::npos) << text;
    }
}
