// TFileString parsing and rebuilding, and the free string helpers.
#include "FileString.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

void ExpectParts(const TFileString& f, const char* drv, const char* dir, const char* name,
                 const char* ext) {
    EXPECT_EQ(Str(f.GetDrv()), drv);
    EXPECT_EQ(Str(f.GetDir()), dir);
    EXPECT_EQ(Str(f.GetName()), name);
    EXPECT_EQ(Str(f.GetExt()), ext);
}

TEST(TFileStringParse, DrivePathIsLowerCasedAndSplitAtTheLastDot) {
    TFileString f(TString("C:/Data/Sub/File.TXT"), 0);
    ExpectParts(f, "c:", "\\data\\sub\\", "file", ".txt");
    EXPECT_EQ(Str(f.GetFullName()), "c:\\data\\sub\\file.txt");
    EXPECT_EQ(Str(f.GetDrvDir()), "c:\\data\\sub\\");
    EXPECT_EQ(Str(f.GetNameExt()), "file.txt");
    EXPECT_EQ(Str(TString(f)), "c:\\data\\sub\\file.txt");
}

TEST(TFileStringParse, NetworkPathKeepsTheServerAsDrive) {
    TFileString f(TString("\\\\srv\\share\\a.b.c"), 0);
    ExpectParts(f, "\\\\srv", "\\share\\", "a.b", ".c");
}

TEST(TFileStringParse, NamesWithoutDirectoryOrExtension) {
    ExpectParts(TFileString(TString("readme"), 0), "", "", "readme", "");
    ExpectParts(TFileString(TString("x.ini"), 0), "", "", "x", ".ini");
    ExpectParts(TFileString(TString("d:x.ini"), 0), "d:", "", "x", ".ini");
    ExpectParts(TFileString(TString("\\dir\\x"), 0), "", "\\dir\\", "x", "");
}

TEST(TFileStringParse, EmptyNameSetsTheFlagWhateverBIsDirSays) {
    TFileString trailing(TString("c:\\data\\sub\\"), 0);
    ExpectParts(trailing, "c:", "\\data\\sub\\", "", "");
    TFileString dir(TString("c:\\data\\sub"), 1);
    ExpectParts(dir, "c:", "\\data\\sub", "", "");
    // Both carry the no-name flag; it is not part of equality, so show it
    // through a copy's behaviour: parts stay as parsed.
    TFileString copy(dir);
    EXPECT_EQ(copy == dir, 1u);
}

TEST(TFileStringParse, EqualityComparesPartsNotTheFullName) {
    TFileString a(TString("C:\\A\\b.txt"), 0);
    EXPECT_EQ(a == "c:/a/B.TXT", 1u);
    EXPECT_EQ(a == TString("c:\\a\\b.txd"), 0u);
    TFileString b;
    b = "c:\\a\\b.txt";
    EXPECT_EQ(a == b, 1u);
}

TEST(TFileStringSetters, SetNameExtSplitsAtTheFirstDotAndKeepsCase) {
    TFileString f(TString("c:\\dir\\old.txt"), 0);
    f.SetNameExt("A.b.C");
    ExpectParts(f, "c:", "\\dir\\", "A", ".b.C");
    EXPECT_EQ(Str(f.GetFullName()), "c:\\dir\\A.b.C");
    f.SetNameExt("..hidden.x");
    EXPECT_EQ(Str(f.GetName()), "hidden");
    EXPECT_EQ(Str(f.GetExt()), ".x");
}

TEST(TFileStringSetters, SetDrvDirNormalisesComponents) {
    TFileString f(TString("x.txt"), 0);
    f.SetDrvDir("d:\\x\\\\y\\");
    ExpectParts(f, "d:", "\\x\\y\\", "x", ".txt");
    EXPECT_EQ(Str(f.GetFullName()), "d:\\x\\y\\x.txt");
    f.SetDrvDir("e:");
    EXPECT_EQ(Str(f.GetDir()), "\\");
    f.SetDrvDir("\\\\Server\\Share\\Dir");
    ExpectParts(f, "\\\\Server", "\\Share\\Dir\\", "x", ".txt");
}

TEST(TFileStringSetters, PartSettersLowerCaseAndRebuild) {
    TFileString f(TString("c:\\a\\b.c"), 0);
    f.SetDrv("E:");
    f.SetDir("/New/Dir/");
    f.SetName("NAME");
    f.SetExt(".EXT");
    EXPECT_EQ(Str(f.GetFullName()), "e:\\new\\dir\\name.ext");
}

TEST(TFileStringDerived, LastDirAndDirString) {
    TFileString f(TString("c:\\data\\sub\\f.txt"), 0);
    EXPECT_EQ(Str(f.GetLastDir()), "sub");
    TFileString g(TString("c:\\a\\b\\"), 0);
    EXPECT_EQ(Str(g.GetDirString()), "c_a_b_");
    TFileString n(TString("\\\\srv\\share\\f"), 0);
    EXPECT_EQ(Str(n.GetDirString()), "srv_share_");
}

TEST(StringHelpers, ReplaceReverseCount) {
    TString s("a-b-c");
    StringReplace(s, "-", "+");
    EXPECT_EQ(Str(s), "a+b+c");
    StringReplaceEx(s, "+", "", 0);
    EXPECT_EQ(Str(s), "ab+c");
    TString r("abc");
    string_MakeReverse(r);
    EXPECT_EQ(Str(r), "cba");
    TString one("a");
    string_MakeReverse(one);
    EXPECT_EQ(Str(one), "a");
    EXPECT_EQ(string_CountChar(r, 'b'), 1);
    TString empty;
    EXPECT_EQ(string_CountChar(empty, 'b'), 0);
}

TEST(StringHelpers, CurrentDomainComesFromTheEnvironment) {
    TString domain("stale");
#if defined(_WIN32)
    _putenv("USERDOMAIN=KELMO-TEST");
#else
    setenv("USERDOMAIN", "KELMO-TEST", 1);
#endif
    GetCurrentDomain(domain);
    EXPECT_EQ(Str(domain), "KELMO-TEST");
#if defined(_WIN32)
    _putenv("USERDOMAIN=");
#else
    unsetenv("USERDOMAIN");
#endif
    GetCurrentDomain(domain);
    EXPECT_EQ(Str(domain), "");
}

class CutPath : public ::testing::Test {
protected:
    void SetUp() override {
        m_dc = CreateCompatibleDC(nullptr);
        ASSERT_NE(m_dc, nullptr);
    }
    void TearDown() override { DeleteDC(m_dc); }
    long Width(const char* text) {
        SIZE size = {0, 0};
        GetTextExtentPoint32A(m_dc, text, static_cast<int>(std::string(text).size()), &size);
        return size.cx;
    }
    HDC m_dc = nullptr;
};

TEST_F(CutPath, LeavesAFittingPathAndNullContextsAlone) {
    TString path("c:\\dir1\\dir2\\file.txt");
    string_CutPath(m_dc, path, Width("c:\\dir1\\dir2\\file.txt"));
    EXPECT_EQ(Str(path), "c:\\dir1\\dir2\\file.txt");
    string_CutPath(nullptr, path, 1);
    EXPECT_EQ(Str(path), "c:\\dir1\\dir2\\file.txt");
}

TEST_F(CutPath, DropsLeadingComponentsUntilItFits) {
    TString path("c:\\dir1\\dir2\\file.txt");
    string_CutPath(m_dc, path, Width("c:\\...\\dir2\\file.txt"));
    EXPECT_EQ(Str(path), "c:\\...\\dir2\\file.txt");
    TString tight("c:\\dir1\\dir2\\file.txt");
    string_CutPath(m_dc, tight, 1);
    EXPECT_EQ(Str(tight), "c:\\...\\file.txt");
}

TEST_F(CutPath, NetworkPathsKeepTheServer) {
    TString path("\\\\server\\share\\deep\\file.txt");
    string_CutPath(m_dc, path, 1);
    EXPECT_EQ(Str(path), "\\\\server\\...\\file.txt");
}

TEST_F(CutPath, MeasuresWiderTextWider) {
    EXPECT_GT(Width("WWWW"), Width("iiii"));
    EXPECT_EQ(Width(""), 0);
}

} // namespace
