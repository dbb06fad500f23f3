// TAutoFile's encoding decision for every creation disposition, and its line
// operations following the decision.
#include "filestest.h"

using namespace filestest;

namespace {

TEST(AutoFile, DecidesTheEncoding) {
    const DWORD R = GENERIC_READ, W = GENERIC_WRITE;
    const std::string none = "<none>", mark = kMark + "x";
    const struct {
        std::string before; // content before the open, or none
        DWORD mode, creation;
        unsigned int bUnicode, flag; // given and expected
        std::string after;           // content after the open
        unsigned long pos;
    } cases[] = {
        {mark, R, OPEN_EXISTING, 0, 1, mark, 2},
        {"\xFE\xFFx", R, OPEN_EXISTING, 0, 1, "\xFE\xFFx", 2},
        {"ab", R, OPEN_ALWAYS, 1, 0, "ab", 0},
        {"x", W, OPEN_EXISTING, 1, 0, "x", 0},
        {"", W, OPEN_EXISTING, 1, 1, kMark, 2},
        {"", W, OPEN_EXISTING, 0, 0, "", 0},
        {"", W, OPEN_EXISTING, 2, 2, "", 0},
        {"", R, OPEN_EXISTING, 1, 0, "", 0},
        {none, W, OPEN_ALWAYS, 1, 1, kMark, 2},
        {none, R, OPEN_ALWAYS, 1, 0, "", 0},
        {"old", W, CREATE_ALWAYS, 1, 1, kMark, 2},
        {"old", W, CREATE_ALWAYS, 0, 0, "", 0},
        {none, W, CREATE_NEW, 2, 2, "", 0},
        {none, R, CREATE_NEW, 1, 1, "", 0},
        {"old", W, TRUNCATE_EXISTING, 1, 1, kMark, 2},
    };
    int i = 0;
    for (const auto& c : cases) {
        Dir dir;
        const std::string path = dir / "f.txt";
        if (c.before != none) {
            ASSERT_TRUE(Write(path, c.before));
        }
        TAutoFile file(path.c_str(), c.mode, FILE_SHARE_READ, c.creation, 0, c.bUnicode);
        EXPECT_EQ(file.IsUnicode(), c.flag) << "case " << i;
        EXPECT_EQ(file.Pos(), c.pos) << "case " << i;
        EXPECT_EQ(file.Mode(), c.mode | GENERIC_READ) << "case " << i;
        EXPECT_EQ(Read(path), c.after) << "case " << i++;
    }
}

TEST(AutoFile, LinesFollowTheDecision) {
    Dir dir;
    const std::string path = dir / "f.txt";
    for (unsigned int unicode = 0; unicode < 2; ++unicode) {
        {
            TAutoFile file(path.c_str(), GENERIC_WRITE, 0, CREATE_ALWAYS, 0, unicode);
            file.PutLine("one");
            file.PutText("two");
        }
        EXPECT_EQ(Read(path), unicode ? kMark + Utf16("one\r\ntwo") : "one\r\ntwo");
        TAutoFile file(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0, 1 - unicode);
        EXPECT_EQ(Lines(file, 80), (Strings{"one", "two"}));
    }
}

} // namespace
