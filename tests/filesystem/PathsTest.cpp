#include "filesystem/TemporaryFolder.h"

#include "filesystem/Paths.h"

using namespace QzFileSystem;
using namespace QzTest;

TEST(Paths, CombineInNormalForm)
{
    using Row = std::array<char const*, 3>; // base, path, result
    std::pair<PathStyle, std::vector<Row>> const styles[] = {
        {WindowsPath,
            {{R"(C:\logs)", "server.log", R"(C:\logs\server.log)"}, {R"(C:\logs)", R"(..\..\..\x.log)", R"(C:\x.log)"},
                {R"(C:\logs)", "D:/x/./y.log", R"(D:\x\y.log)"}, {R"(C:\logs\sub)", R"(\root.log)", R"(C:\root.log)"},
                {R"(\\srv\share\dir)", R"(\x.log)", R"(\\srv\share\x.log)"},
                {R"(\\srv\share\dir)", R"(..\..\x.log)", R"(\\srv\share\x.log)"},
                {R"(rel\dir)", "x.log", R"(rel\dir\x.log)"}, {"rel", R"(\x.log)", R"(\x.log)"},
                {"a/b//c/", "", R"(a\b\c)"}, {R"(a\..)", "", "."}, {"C:", "", R"(C:\)"},
                {R"(\\srv\share\..)", "", R"(\\srv\share)"}, {R"(a\..\..\b)", "", R"(..\b)"},
                {"/var/log", "../run/x", R"(\var\run\x)"}, {"C:/b", "//x/y", R"(C:\x\y)"},
                {"C:/b", R"(\\x)", R"(\\x)"}}},
        {UnixPath, {{"/a", "/b/./c//d/", "/b/c/d"}, {"a/b", "../../../c", "../c"}}}};
    for (auto const& [style, rows] : styles)
        for (auto const& [base, path, result] : rows)
            EXPECT_EQ(Narrow(CombinePaths(Wide(base), Wide(path), style)), result) << base << " + " << path;
    EXPECT_EQ(Narrow(CombinePaths(Wide("a"), Wide("b/c"))), R"(a\b\c)");
}

TEST(Paths, OneTextInOneTextOut)
{
    using Operation = QzBase::ReturnWString (*)(unsigned short const*);
    std::tuple<Operation, char const*, char const*> const rows[] = {{GetRootPath, "C:/a", "C:/"},
        {GetRootPath, R"(\\srv\share/x)", R"(\\srv\share/x)"}, {GetDirectoryName, "log.txt", "."},
        {GetDirectoryName, R"(a/b\c)", "a"}, {GetDirectoryName, R"(\x.log)", ""},
        {GetParentDirectory, R"(C:\a\b\)", R"(C:\a\)"}, {GetFileExtension, R"(a.b\c)", R"(b\c)"},
        {GetFileExtension, "name.tx\xC2\x85t", "tx"}, {GetFileStem, R"(a.b\c.d.e)", "c.d"},
        {SlashPathToUNC, "/srv/share", R"(\\srv\share)"}};
    for (auto const& [operation, path, result] : rows)
        EXPECT_EQ(Narrow(operation(Wide(path))), result) << path;
    EXPECT_STREQ(GetFileName("a/b\\c"), "b\\c");
}
