// Line reading and writing: ANSI line ends, pieces and positions, UTF-16
// lines with their deliberate position arithmetic, threads reading at once.
#include "filestest.h"

#include <thread>

using namespace filestest;

namespace {

TFile Reader(const std::string& path) {
    return TFile(path.c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, 0);
}

TEST(AnsiLines, LineEndsPiecesAndPositions) {
    Dir dir;
    const std::string q(5000, 'q');
    const struct {
        std::string content;
        unsigned int maxLen;
        Strings lines;
    } cases[] = {
        {"a\r\nb\n\rc", 80, {"a", "b", "c"}},
        {"\r\r", 80, {"", ""}},
        {"abcdefghij", 4, {"abcd", "efgh", "ij"}},
        {"abcd\r\nx", 5, {"abcd", "", "x"}},              // a line end cut by the block
        {std::string("ab\0cd", 5), 80, {"ab", "", "cd"}}, // a NUL is consumed alone
        {q + "\nz", 8192, {q, "z"}},
        {q, 4096, {q.substr(0, 4096), q.substr(4096)}},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(Write(dir / "a.txt", c.content));
        TFile file = Reader(dir / "a.txt");
        EXPECT_EQ(Lines(file, c.maxLen), c.lines) << c.content.substr(0, 9);
        EXPECT_EQ(file.Pos(), c.content.size()); // nothing is buffered
    }
    {
        TAnsiFile file((dir / "w.txt").c_str(), GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
        file.PutLine("");
        file.PutAnsiLine("");
        file.PutAnsiLine("one");
        file.PutText("two");
    }
    EXPECT_EQ(Read(dir / "w.txt"), "\r\none\r\ntwo");
}

// Short lines go through a buffer of the calling thread's own.
TEST(AnsiLines, ThreadsReadTheirOwnLines) {
    Dir dir;
    const int kThreads = 4;
    std::vector<Strings> expected(kThreads), got(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        std::string content;
        for (int i = 0; i < 300; ++i) {
            expected[t].push_back(std::string(20 + i % 7, static_cast<char>('a' + t)));
            content += expected[t].back() + "\r\n";
        }
        ASSERT_TRUE(Write(dir / std::to_string(t), content));
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            TFile file = Reader(dir / std::to_string(t));
            got[t] = Lines(file, 4096);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(got, expected);
}

TEST(UnicodeLines, WriteReadAndPositions) {
    Dir dir;
    TUnicodeFile file((dir / "u.txt").c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                      CREATE_ALWAYS, 0);
    file.WriteKennung();
    file.PutLine("caf\xE9");
    file.PutText("a\rb\n");
    file.PutLine("");
    file.PutText("end");
    const std::string bytes = kMark + Utf16("caf\xE9\r\na\rb\n\r\nend");
    EXPECT_EQ(Read(dir / "u.txt"), bytes);

    file.Start();
    EXPECT_EQ(file.ReadKennung(), 0xFEFF);
    // "\r" is dropped wherever it stands; after a last line without line
    // end the position is two bytes past the end, and the next call gives 0.
    EXPECT_EQ(Lines(file, 80), (Strings{"caf\xE9", "ab", "", "end"}));
    EXPECT_EQ(file.Pos(), bytes.size() + 2);
    EXPECT_EQ(file.ReadKennung(), 0);

    // A line longer than maxLen loses the character after its piece.
    ASSERT_TRUE(Write(dir / "long.txt", Utf16("abcdefg\r\nxy\n")));
    TUnicodeFile longer((dir / "long.txt").c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
    TString line;
    ASSERT_EQ(longer.GetLine(line, 3), 1u);
    EXPECT_EQ(longer.Pos(), 8u);
    EXPECT_EQ(Lines(longer, 3), (Strings{"efg", "", "xy"}));
    EXPECT_EQ(longer.Pos(), 24u);
}

} // namespace
