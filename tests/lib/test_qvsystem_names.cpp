#include "qvsystem.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(QvSystemPaths, BaseAndExtensionPointIntoThePath)
{
    const struct {
        const char *path, *base, *ext;
    } cases[] = {
        {"dir/sub\\name.txt", "name.txt", ".txt"}, {"c:name", "name", ""}, {"dir/", "", ""},
        {"a/b.tar.gz", "b.tar.gz", ".gz"},         {"a.b/c", "c", ""},     {".profile", ".profile", ".profile"}};
    for (const auto &c : cases) {
        EXPECT_EQ(SFileBaseA(c.path), c.path + strlen(c.path) - strlen(c.base)) << c.path;
        EXPECT_EQ(SFileExtA(c.path), c.path + strlen(c.path) - strlen(c.ext)) << c.path;
    }
    const wchar_t *wide = L"c:d\\x:y.tar.gz";
    EXPECT_TRUE(SFileBase(wide) == wide + 4 && SFileExt(wide) == wide + 11);
    EXPECT_TRUE(!SFileBaseA(nullptr) && !SFileExt(nullptr));
}
