// TFileString parsing and rebuilding, and the free string helpers.
#include "FileString.h"
#include "scopedenv.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Parts = std::vector<std::string>;

std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

// Drive, directory, name and extension.
Parts PartsOf(const TFileString& f) {
    return {Str(f.GetDrv()), Str(f.GetDir()), Str(f.GetName()), Str(f.GetExt())};
}

// A path is lower-cased, its extension split at the last dot; a network
// server stands as the drive; with bIsDir, or a trailing backslash, the
// whole path is the directory.
TEST(TFileStringParse, SplitsIntoParts) {
    const struct {
        const char* path;
        unsigned int bIsDir;
        Parts parts;
    } cases[] = {
        {"C:/Data/Sub/File.TXT", 0, {"c:", "\\data\\sub\\", "file", ".txt"}},
        {"\\\\srv\\share\\a.b.c", 0, {"\\\\srv", "\\share\\", "a.b", ".c"}},
        {"readme", 0, {"", "", "readme", ""}},
        {"x.ini", 0, {"", "", "x", ".ini"}},
        {"d:x.ini", 0, {"d:", "", "x", ".ini"}},
        {"\\dir\\x", 0, {"", "\\dir\\", "x", ""}},
        {"c:\\data\\sub\\", 0, {"c:", "\\data\\sub\\", "", ""}},
        {"c:\\data\\sub", 1, {"c:", "\\data\\sub", "", ""}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(PartsOf(TFileString(TString(c.path), c.bIsDir)), c.parts) << c.path;
    TFileString f(TString("C:/Data/Sub/File.TXT"), 0);
    EXPECT_EQ(Str(f.GetFullName()), "c:\\data\\sub\\file.txt");
    EXPECT_EQ(Str(f.GetDrvDir()), "c:\\data\\sub\\");
    EXPECT_EQ(Str(f.GetNameExt()), "file.txt");
    EXPECT_EQ(Str(TString(f)), "c:\\data\\sub\\file.txt");
    EXPECT_EQ(Str(f.GetLastDir()), "sub");
    EXPECT_EQ(Str(TFileString(TString("c:\\a\\b\\"), 0).GetDirString()), "c_a_b_");
    EXPECT_EQ(Str(TFileString(TString("\\\\srv\\share\\f"), 0).GetDirString()), "srv_share_");
}

TEST(TFileStringParse, EqualityComparesPartsNotTheFullName) {
    TFileString a(TString("C:\\A\\b.txt"), 0);
    EXPECT_EQ(a == "c:/a/B.TXT", 1u);
    EXPECT_EQ(a == TString("c:\\a\\b.txd"), 0u);
    TFileString b;
    b = "c:\\a\\b.txt";
    EXPECT_EQ(a == b, 1u);
    TFileString dir(TString("c:\\data\\sub"), 1);
    EXPECT_EQ(TFileString(dir) == dir, 1u);
}

// SetNameExt splits at the first dot and keeps the case; SetDrvDir
// normalises the separators; the part setters lower-case.
TEST(TFileStringSetters, RebuildTheFullName) {
    TFileString f(TString("c:\\dir\\old.txt"), 0);
    f.SetNameExt("A.b.C");
    EXPECT_EQ(PartsOf(f), (Parts{"c:", "\\dir\\", "A", ".b.C"}));
    EXPECT_EQ(Str(f.GetFullName()), "c:\\dir\\A.b.C");
    f.SetNameExt("..hidden.x");
    EXPECT_EQ(Str(f.GetName()), "hidden");
    EXPECT_EQ(Str(f.GetExt()), ".x");

    TFileString g(TString("x.txt"), 0);
    g.SetDrvDir("d:\\x\\\\y\\");
    EXPECT_EQ(PartsOf(g), (Parts{"d:", "\\x\\y\\", "x", ".txt"}));
    EXPECT_EQ(Str(g.GetFullName()), "d:\\x\\y\\x.txt");
    g.SetDrvDir("e:");
    EXPECT_EQ(Str(g.GetDir()), "\\");
    g.SetDrvDir("\\\\Server\\Share\\Dir");
    EXPECT_EQ(PartsOf(g), (Parts{"\\\\Server", "\\Share\\Dir\\", "x", ".txt"}));

    TFileString h(TString("c:\\a\\b.c"), 0);
    h.SetDrv("E:");
    h.SetDir("/New/Dir/");
    h.SetName("NAME");
    h.SetExt(".EXT");
    EXPECT_EQ(Str(h.GetFullName()), "e:\\new\\dir\\name.ext");
}

TEST(StringHelpers, ReplaceReverseCountAndDomain) {
    TString s("a-b-c");
    StringReplace(s, "-", "+");
    EXPECT_EQ(Str(s), "a+b+c");
    StringReplaceEx(s, "+", "", 0);
    EXPECT_EQ(Str(s), "ab+c");
    TString r("abc"), one("a"), empty;
    string_MakeReverse(r);
    EXPECT_EQ(Str(r), "cba");
    string_MakeReverse(one);
    EXPECT_EQ(Str(one), "a");
    EXPECT_EQ(string_CountChar(r, 'b'), 1);
    EXPECT_EQ(string_CountChar(empty, 'b'), 0);

    TString domain("stale");
    {
        testsupport::ScopedEnv set("USERDOMAIN", "KELMO-TEST");
        GetCurrentDomain(domain);
        EXPECT_EQ(Str(domain), "KELMO-TEST");
        set.Set(nullptr);
        GetCurrentDomain(domain);
        EXPECT_EQ(Str(domain), "");
    }
}

// string_CutPath replaces leading directories by "..." until the path fits
// the width on the device context; a network path keeps its server.
TEST(CutPath, DropsLeadingComponentsUntilItFits) {
    HDC dc = CreateCompatibleDC(nullptr);
    ASSERT_NE(dc, nullptr);
    auto width = [dc](const std::string& text) {
        SIZE size = {0, 0};
        GetTextExtentPoint32A(dc, text.c_str(), static_cast<int>(text.size()), &size);
        return size.cx;
    };
    EXPECT_GT(width("WWWW"), width("iiii"));
    EXPECT_EQ(width(""), 0);
    const char* const path = "c:\\dir1\\dir2\\file.txt";
    const struct {
        HDC dc;
        const char* path;
        long width;
        const char* cut;
    } cases[] = {
        {dc, path, width(path), path},
        {nullptr, path, 1, path},
        {dc, path, width("c:\\...\\dir2\\file.txt"), "c:\\...\\dir2\\file.txt"},
        {dc, path, 1, "c:\\...\\file.txt"},
        {dc, "\\\\server\\share\\deep\\file.txt", 1, "\\\\server\\...\\file.txt"},
    };
    for (const auto& c : cases) {
        TString text(c.path);
        string_CutPath(c.dc, text, c.width);
        EXPECT_EQ(Str(text), c.cut) << c.path << " in " << c.width;
    }
    DeleteDC(dc);
}

} // namespace
