// TMemReadFile: the whole file in memory, with the reader's own position
// conventions and line rules.
#include "DYNAMIC.h"
#include "MemReadFile.h"
#include "memtest.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace memtest;

namespace {

std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

// A file with the given bytes, opened into a TMemReadFile.
class MemFile {
public:
    explicit MemFile(const std::string& content) : m_path(m_dir / "text.bin") {
        Write(m_path, content);
        m_file.Open(m_path.c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                    FILE_ATTRIBUTE_NORMAL);
    }
    TMemReadFile& operator*() { return m_file; }
    TMemReadFile* operator->() { return &m_file; }
    const std::string& path() const { return m_path; }

    std::vector<std::string> AnsiLines() {
        std::vector<std::string> lines;
        TString line;
        while (m_file.GetAnsiLine(line) && lines.size() < 10000)
            lines.push_back(Str(line));
        return lines;
    }

    std::vector<std::string> UnicodeLines() {
        std::vector<std::string> lines;
        TString line;
        while (m_file.GetUnicodeLine(line) && lines.size() < 10000)
            lines.push_back(Str(line));
        return lines;
    }

private:
    Dir m_dir;
    std::string m_path;
    TMemReadFile m_file;
};

using Lines = std::vector<std::string>;

// UTF-16 little-endian bytes of 8-bit text (each byte one unit).
std::string Utf16(const std::string& text) {
    std::string bytes;
    for (char c : text) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

} // namespace

TEST(MemReadFileLines, CrLfLinesComeOutWhole) {
    MemFile file("ab\r\ncd");
    EXPECT_EQ(file.AnsiLines(), (Lines{"ab", "cd"}));
    TString line("x");
    EXPECT_EQ(file->GetAnsiLine(line), 0u);
    EXPECT_EQ(Str(line), "");
}

TEST(MemReadFileLines, TheCharacterBeforeALoneLfIsSkipped) {
    EXPECT_EQ(MemFile("ab\ncd").AnsiLines(), (Lines{"a", "", "cd"}));
    // A one-character line is all skipped character: it comes out empty,
    // followed by the empty line of its LF.
    EXPECT_EQ(MemFile("a\nbc\n").AnsiLines(), (Lines{"", "", "b", ""}));
    EXPECT_EQ(MemFile("\n\r\n").AnsiLines(), (Lines{"", ""}));
}

TEST(MemReadFileLines, LoneCrsNulsAndTheEnd) {
    EXPECT_EQ(MemFile("x\ry").AnsiLines(), (Lines{"x", "y"}));
    EXPECT_EQ(MemFile("\r\r").AnsiLines(), (Lines{"", ""}));
    EXPECT_EQ(MemFile("").AnsiLines(), Lines{});
    // A NUL ends the text for the line readers: they stop there for good.
    MemFile nul(std::string("ab\0cd", 5));
    EXPECT_EQ(nul.AnsiLines(), (Lines{"ab"}));
    EXPECT_EQ(nul->Pos(), 2u);
    TString line;
    EXPECT_EQ(nul->GetAnsiLine(line), 0u);
    // A last line without line end ends at the end.
    MemFile last("abc");
    EXPECT_EQ(last.AnsiLines(), (Lines{"abc"}));
    EXPECT_EQ(last->Pos(), 3u);
}

TEST(MemReadFileLines, Utf16LinesFollowTheSameRulesInUnits) {
    MemFile crlf(Utf16("ab\r\ncd"));
    TString line;
    ASSERT_EQ(crlf->GetUnicodeLine(line), 1u);
    EXPECT_EQ(Str(line), "ab");
    EXPECT_EQ(crlf->Pos(), 8u); // two units of text, two of line end
    ASSERT_EQ(crlf->GetUnicodeLine(line), 1u);
    EXPECT_EQ(Str(line), "cd");
    EXPECT_EQ(crlf->GetUnicodeLine(line), 0u);

    EXPECT_EQ(MemFile(Utf16("ab\ncd")).UnicodeLines(), (Lines{"a", "", "cd"}));
    EXPECT_EQ(MemFile(Utf16("\r\n\n")).UnicodeLines(), (Lines{"", ""}));
    // A byte-order mark is content: callers seek past it.
    MemFile marked(std::string("\xFF\xFE", 2) + Utf16("x\xE9y\r\n") + "\x01");
    marked->Seek(2, FILE_BEGIN);
    EXPECT_EQ(marked.UnicodeLines(), (Lines{"x\xE9y"})); // a last odd byte is no unit
}

TEST(MemReadFilePositions, EndeAndSeekFromTheEndCountFromTheLastByte) {
    MemFile file("0123456789");
    file->Ende();
    EXPECT_EQ(file->Pos(), 9u);
    file->Seek(0, FILE_END);
    EXPECT_EQ(file->Pos(), 9u);
    file->Seek(-3, FILE_END);
    EXPECT_EQ(file->Pos(), 6u);
    file->Seek(2, FILE_CURRENT);
    EXPECT_EQ(file->Pos(), 8u);
    file->Start();
    EXPECT_EQ(file->Pos(), 0u);
    file->Seek(9, FILE_BEGIN);
    char c = 0;
    EXPECT_EQ(file->Read(&c, 1), 1u);
    EXPECT_EQ(c, '9');
}

TEST(MemReadFilePositions, SeeksOutsideTheContentRaiseCode7AndStay) {
    MemFile file("0123456789");
    file->Seek(4, FILE_BEGIN);
    for (auto seek : {std::make_pair(10L, FILE_BEGIN), std::make_pair(-1L, FILE_BEGIN),
                      std::make_pair(1L, FILE_END), std::make_pair(6L, FILE_CURRENT),
                      std::make_pair(-5L, FILE_CURRENT)}) {
        Raised raised = RaisedBy([&] { file->Seek(seek.first, seek.second); });
        EXPECT_EQ(raised.origin, kFileOrigin);
        EXPECT_EQ(raised.code, 7);
        EXPECT_EQ(file->Pos(), 4u);
    }
    // The error names the file.
    try {
        file->Seek(10, FILE_BEGIN);
    } catch (const TException&) {
        EXPECT_EQ(Str(GetErrorInfo().GetParam1()), file.path());
        DecrementPendingCount();
        PopError();
    }
}

TEST(MemReadFilePositions, SetEndOfFileKeepsTheByteAtThePosition) {
    MemFile file("hello world");
    file->Seek(4, FILE_BEGIN);
    file->SetEndOfFile();
    file->Start();
    char buffer[16] = {};
    EXPECT_EQ(file->Read(buffer, sizeof buffer), 5u);
    EXPECT_EQ(std::string(buffer, 5), "hello");
    EXPECT_EQ(file->Read(buffer, sizeof buffer), 0u);
    file->Ende();
    EXPECT_EQ(file->Pos(), 4u);
    EXPECT_EQ(RaisedBy([&] { file->Seek(5, FILE_BEGIN); }).code, 7);

    // Past the end, it cannot bring back bytes that are not there.
    MemFile small("abc");
    char all[8] = {};
    EXPECT_EQ(small->Read(all, sizeof all), 3u);
    small->SetEndOfFile();
    small->Start();
    EXPECT_EQ(small->Read(all, sizeof all), 3u);
}

TEST(MemReadFileReads, ReadCopiesFromThePositionAndStopsAtTheEnd) {
    MemFile file("abcdef");
    char buffer[8] = {};
    EXPECT_EQ(file->Read(buffer, 2), 2u);
    EXPECT_EQ(std::string(buffer, 2), "ab");
    EXPECT_EQ(file->Pos(), 2u);
    EXPECT_EQ(file->Read(buffer, 8), 4u);
    EXPECT_EQ(std::string(buffer, 4), "cdef");
    EXPECT_EQ(file->Read(buffer, 8), 0u);
}

TEST(MemReadFileReads, GetLineIsNotSupported) {
    MemFile file("line\r\n");
    TString line;
    unsigned int result = 1;
    Raised raised = RaisedBy([&] {
        try {
            result = file->GetLine(line, 100);
        } catch (const TException&) {
            EXPECT_EQ(Str(GetErrorString()), "GetLine not supported");
            throw;
        }
    });
    EXPECT_EQ(raised.origin, kFileOrigin);
    EXPECT_EQ(raised.code, 12);
    EXPECT_EQ(file->Pos(), 0u);
}

TEST(MemReadFileOpen, ReadsTheWholeFileAndClosesItsHandle) {
    std::string content;
    for (int i = 0; i < 2000; ++i)
        content += "line " + std::to_string(i) + "\r\n";
    MemFile file(content);
    EXPECT_EQ(file->IsOpen(), 0u);
    EXPECT_EQ(Str(file->Name()), file.path());
    EXPECT_EQ(file->Mode(), static_cast<unsigned long>(GENERIC_READ));
    // The file can be replaced while its copy is read.
    ASSERT_TRUE(Write(file.path(), "other"));
    Lines lines = file.AnsiLines();
    ASSERT_EQ(lines.size(), 2000u);
    EXPECT_EQ(lines[1999], "line 1999");

    // Opening again takes the new content; Close drops it.
    file->Open(file.path().c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
               FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(file.AnsiLines(), (Lines{"other"}));
    file->Close();
    char c = 0;
    EXPECT_EQ(file->Read(&c, 1), 0u);
    TString line;
    EXPECT_EQ(file->GetAnsiLine(line), 0u);
}

TEST(MemReadFileOpen, AMissingFileRaisesTheSizeError) {
    Dir dir;
    TMemReadFile file;
    Raised raised = RaisedBy([&] {
        file.Open((dir / "missing.txt").c_str(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                  FILE_ATTRIBUTE_NORMAL);
    });
    EXPECT_EQ(raised.origin, kFileOrigin);
    EXPECT_EQ(raised.code, 8);
    EXPECT_EQ(file.Pos(), 0u);
}

TEST(MemReadFileOpen, AnEmptyFileHasNoPositionToSeekTo) {
    MemFile file("");
    EXPECT_EQ(RaisedBy([&] { file->Seek(0, FILE_BEGIN); }).code, 7);
    file->Ende();
    EXPECT_EQ(file->Pos(), 0xFFFFFFFFul); // size - 1, as the reader computes it
    char c = 0;
    EXPECT_EQ(file->Read(&c, 1), 0u);
    TString line;
    EXPECT_EQ(file->GetAnsiLine(line), 0u);
    EXPECT_EQ(file->GetUnicodeLine(line), 0u);
}

TEST(DynamicMappingOfATFile, UsesTheFilesHandleAndMode) {
    Dir dir;
    TFile file((dir / "tfile.bin").c_str(), GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS,
               FILE_ATTRIBUTE_NORMAL);
    TDynamicMemoryMappedFile mapped;
    auto* base = static_cast<char*>(mapped.Create(file, 1 << 20, 65536, 65536));
    ASSERT_NE(base, nullptr);
    mapped.CopyIn(const_cast<char*>("mapped"), 70000, 6);
    mapped.Close(70006);
    EXPECT_EQ(file.Size(), 70006u);
    file.Seek(70000, FILE_BEGIN);
    char text[6] = {};
    EXPECT_EQ(file.Read(text, 6), 6u);
    EXPECT_EQ(std::string(text, 6), "mapped");
}
