// TMemReadFile: the whole file in memory, with the reader's own position
// conventions and line rules.
#include "MemReadFile.h"
#include "memtest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace memtest;

namespace {

using Lines = std::vector<std::string>;

std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

// UTF-16 little-endian bytes of 8-bit text (each byte one unit).
std::string Utf16(const std::string& text) {
    std::string bytes;
    for (char c : text)
        bytes += std::string(1, c) + '\0';
    return bytes;
}

// A file with the given bytes, opened into a TMemReadFile.
struct MemFile {
    explicit MemFile(const std::string& content) : path(dir.file("text.bin")) {
        WriteBytes(path, content);
        Open();
    }
    void Open() {
        file.Open(path.c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                  FILE_ATTRIBUTE_NORMAL);
    }
    Lines ReadLines(bool unicode = false) {
        Lines lines;
        TString line;
        while ((unicode ? file.GetUnicodeLine(line) : file.GetAnsiLine(line)) &&
               lines.size() < 10000)
            lines.push_back(Str(line));
        return lines;
    }
    TMemReadFile* operator->() { return &file; }

    TempDir dir;
    std::string path;
    TMemReadFile file;
};

} // namespace

TEST(MemReadFile, LineRulesInBytesAndInUtf16Units) {
    const struct {
        std::string content;
        Lines lines;
        unsigned long end; // the position in units after the last line
    } cases[] = {
        {"ab\r\ncd", {"ab", "cd"}, 6},
        // The character before a lone LF is skipped; a one-character line is
        // all skipped character and comes out empty, then its LF's empty line.
        {"ab\ncd", {"a", "", "cd"}, 5},
        {"a\nbc\n", {"", "", "b", ""}, 5},
        {"\n\r\n", {"", ""}, 3},
        {"x\ry", {"x", "y"}, 3},
        {"\r\r", {"", ""}, 2},
        {"", {}, 0},
        {"abc", {"abc"}, 3},
        // A NUL ends the text for the line readers: they stop there for good.
        {std::string("ab\0cd", 5), {"ab"}, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        MemFile ansi(c.content);
        EXPECT_EQ(ansi.ReadLines(), c.lines);
        EXPECT_EQ(ansi->Pos(), c.end);
        TString line("x");
        EXPECT_EQ(ansi->GetAnsiLine(line), 0u);
        EXPECT_EQ(Str(line), "");
        MemFile unicode(Utf16(c.content));
        EXPECT_EQ(unicode.ReadLines(true), c.lines);
        EXPECT_EQ(unicode->Pos(), 2 * c.end);
    }
    // A byte-order mark is content: callers seek past it. A unit that starts
    // below the size counts, also a last odd byte.
    MemFile marked(std::string("\xFF\xFE", 2) + Utf16("x\xE9y\r\n") + "\x01");
    marked->Seek(2, FILE_BEGIN);
    EXPECT_EQ(marked.ReadLines(true), (Lines{"x\xE9y", "\x01"}));
    // SetEndOfFile keeps the unit at the position.
    MemFile cut(Utf16("abc"));
    cut->Seek(2, FILE_BEGIN);
    cut->SetEndOfFile();
    cut->Start();
    EXPECT_EQ(cut.ReadLines(true), (Lines{"ab"}));
}

TEST(MemReadFile, TheEndIsTheLastByteForEndeSeekAndSetEndOfFile) {
    MemFile file("0123456789");
    char c = 0;
    file->Ende();
    EXPECT_EQ(file->Pos(), 9u);
    const struct {
        long distance;
        DWORD method;
        unsigned long pos;
    } seeks[] = {{0, FILE_END, 9}, {-3, FILE_END, 6}, {2, FILE_CURRENT, 8}, {9, FILE_BEGIN, 9}};
    for (const auto& s : seeks) {
        file->Seek(s.distance, s.method);
        EXPECT_EQ(file->Pos(), s.pos) << s.distance << "," << s.method;
    }
    EXPECT_EQ(file->Read(&c, 1), 1u);
    EXPECT_EQ(c, '9');

    // Outside 0 ... size - 1 a seek raises code 7 naming the file, and stays.
    file->Seek(4, FILE_BEGIN);
    const std::pair<long, DWORD> outside[] = {
        {10, FILE_BEGIN}, {-1, FILE_BEGIN}, {1, FILE_END}, {6, FILE_CURRENT}, {-5, FILE_CURRENT}};
    for (const auto& seek : outside) {
        const Raised raised = RaisedBy([&] { file->Seek(seek.first, seek.second); });
        EXPECT_EQ(raised.origin, kFileOrigin);
        EXPECT_EQ(raised.code, 7);
        EXPECT_EQ(raised.argument, file.path);
        EXPECT_EQ(file->Pos(), 4u);
    }

    // SetEndOfFile keeps the byte at the position.
    file->SetEndOfFile();
    file->Start();
    char buffer[16] = {};
    EXPECT_EQ(file->Read(buffer, 2), 2u);
    EXPECT_EQ(file->Pos(), 2u);
    EXPECT_EQ(file->Read(buffer + 2, sizeof buffer), 3u);
    EXPECT_EQ(std::string(buffer, 5), "01234");
    EXPECT_EQ(file->Read(buffer, sizeof buffer), 0u);
    file->Ende();
    EXPECT_EQ(file->Pos(), 4u);
    EXPECT_EQ(CodeRaisedBy([&] { file->Seek(5, FILE_BEGIN); }), 7);

    // Past the end, it cannot bring back bytes that are not there.
    MemFile small("abc");
    EXPECT_EQ(small->Read(buffer, sizeof buffer), 3u);
    small->SetEndOfFile();
    small->Start();
    EXPECT_EQ(small->Read(buffer, sizeof buffer), 3u);
}

TEST(MemReadFile, GetLineIsNotSupported) {
    MemFile file("line\r\n");
    TString line;
    const Raised raised = RaisedBy([&] { file->GetLine(line, 100); });
    EXPECT_EQ(raised.origin, kFileOrigin);
    EXPECT_EQ(raised.code, 12);
    EXPECT_EQ(raised.text, "GetLine not supported");
    EXPECT_EQ(file->Pos(), 0u);
}

TEST(MemReadFile, OpenReadsTheWholeFileAndClosesItsHandle) {
    std::string content;
    for (int i = 0; i < 2000; ++i)
        content += "line " + std::to_string(i) + "\r\n";
    MemFile file(content);
    EXPECT_EQ(file->IsOpen(), 0u);
    EXPECT_EQ(Str(file->Name()), file.path);
    EXPECT_EQ(file->Mode(), static_cast<unsigned long>(GENERIC_READ));
    // The file can be replaced while its copy is read.
    ASSERT_TRUE(WriteBytes(file.path, "other"));
    const Lines lines = file.ReadLines();
    ASSERT_EQ(lines.size(), 2000u);
    EXPECT_EQ(lines[1999], "line 1999");

    // Opening again takes the new content; Close drops it.
    file.Open();
    EXPECT_EQ(file.ReadLines(), (Lines{"other"}));
    file->Close();
    char c = 0;
    EXPECT_EQ(file->Read(&c, 1), 0u);
    TString line;
    EXPECT_EQ(file->GetAnsiLine(line), 0u);

    // A missing file raises the size error.
    TMemReadFile missing;
    const Raised raised = RaisedBy([&] {
        missing.Open(file.dir.file("missing.txt").c_str(), GENERIC_READ, FILE_SHARE_READ,
                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
    });
    EXPECT_EQ(raised.origin, kFileOrigin);
    EXPECT_EQ(raised.code, 8);
    EXPECT_EQ(missing.Pos(), 0u);
}

TEST(MemReadFile, AnEmptyFileHasNoPositionToSeekTo) {
    MemFile file("");
    EXPECT_EQ(CodeRaisedBy([&] { file->Seek(0, FILE_BEGIN); }), 7);
    file->Ende();
    EXPECT_EQ(file->Pos(), 0xFFFFFFFFul); // size - 1, as the reader computes it
    char c = 0;
    EXPECT_EQ(file->Read(&c, 1), 0u);
    TString line;
    EXPECT_EQ(file->GetAnsiLine(line), 0u);
    EXPECT_EQ(file->GetUnicodeLine(line), 0u);
}
