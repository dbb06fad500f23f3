// The lines of a message file and the index made from them.
#include "MessageFileFormat.h"
#include "MessageIndex.h"

#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

// A line as "[name]" (a section), "code:text" (a message) or its kind.
std::string Describe(const std::string& text) {
    const MessageLine line = ParseMessageLine(text.data(), text.data() + text.size());
    switch (line.kind) {
    case MessageLineKind::Section:
        return "[" + std::string(line.name, line.nameLength) + "]";
    case MessageLineKind::Message:
        return std::to_string(line.code) + ":" + std::string(line.text, line.textLength);
    case MessageLineKind::Blank:
        return "blank";
    case MessageLineKind::Comment:
        return "comment";
    default:
        return "other";
    }
}

TEST(MessageLine, KindsCodesAndTexts) {
    const std::pair<const char*, const char*> cases[] = {
        {" \t ", "blank"},
        {"# 1 \"no\"", "comment"},
        {"\t ; 1 \"no\"", "comment"},
        {"  [ \tFileError \t]  trailing", "[FileError]"},
        {"[Unclosed name ", "[Unclosed name]"},
        {"[]", "[]"},
        // Codes are decimal or hexadecimal as the string class reads them:
        // only "0x" selects base 16, and the number stops at other letters.
        {"0x1F \"x\"", "31:x"},
        {"0X1F \"x\"", "0:x"},
        {"0x \"x\"", "0:x"},
        {"10x5 \"x\"", "0:x"}, // "0x" anywhere: conversion starts at the third character
        {"12ab \"x\"", "12:x"},
        {"70000 \"x\"", "4464:x"},
        {"-1 \"x\"", "65535:x"},
        {"4294967295 \"x\"", "65535:x"},
        // Beyond 32 bits the number overflows, as on the original platform.
        {"4294967296 \"x\"", "other"},
        {"text \"x\"", "other"},
        {"\"x\"", "other"},
        // The text is between the first pair of quotes.
        {"  2\t\t\"Tabs before\" and after", "2:Tabs before"},
        {"3\"no blank\"", "3:no blank"},
        {"4 \"\"\"skipped quotes\"", "4:skipped quotes"},
        {"5 \"cut \"here\"", "5:cut "},
        {"6 \"no closing quote ", "6:no closing quote "},
        {"7 bare words", "7:bare words"},
        {"9", "9:"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Describe(c.first), c.second) << c.first;
}

TEST(MessageLine, LineEndsAndTheNulThatEndsTheFile) {
    const std::string text = "a\r\nb\n\rc\0d";
    const char* p = text.data();
    const char* end = text.data() + 9;
    std::string lines;
    while (p < end) {
        const char* lineEnd = EndOfLine(p, end);
        lines += std::string(p, lineEnd) + "|";
        p = NextLine(lineEnd, end);
    }
    EXPECT_EQ(lines, "a|b||c|");
}

// ---------------------------------------------------------------------------

const char kSample[] = "; comment\r\n"
                       "1 \"outside any section\"\r\n"
                       "[First]\r\n"
                       "2 \"two\"\r\n"
                       "0x1 \"one\"\r\n"
                       "2 \"second two\"\r\n"
                       "[]\r\n"
                       "3 \"in a nameless section\"\r\n"
                       "[Second]\n"
                       "7 \"seven\"\n"
                       "[First]\n"
                       "0 \"zero, in the second First\"\n";

// Lines outside a section or in a nameless one are left out of the index.
TEST(MessageIndex, TheFileFormReadsBackAndDamagedFilesAreRefused) {
    msgindex::Source source;
    source.size = sizeof kSample - 1;
    source.written = {123, 456};
    source.nameHash = msgindex::NameHash("C:\\x\\app.eng");
    const std::vector<unsigned char> good =
        msgindex::Serialize(msgindex::Build(kSample, sizeof kSample - 1, source));
    msgindex::Index index;
    ASSERT_TRUE(msgindex::Parse(good.data(), good.size(), index));
    EXPECT_EQ(index.records.size(), 5u);
    EXPECT_EQ(index.source.written.dwHighDateTime, 456u);
    EXPECT_EQ(index.source.nameHash, msgindex::NameHash("C:\\x\\app.eng"));
    auto refused = [&](std::vector<unsigned char> data) {
        return !msgindex::Parse(data.data(), data.size(), index) && index.records.empty();
    };
    EXPECT_TRUE(refused(std::vector<unsigned char>(good.begin(), good.end() - 1)));
    EXPECT_TRUE(refused(std::vector<unsigned char>(good.begin(), good.begin() + 48)));
    auto changed = [&](std::size_t at, unsigned char value) {
        std::vector<unsigned char> data = good;
        data[at] = value;
        return data;
    };
    EXPECT_TRUE(refused(changed(0, 'X')));      // magic
    EXPECT_TRUE(refused(changed(8, 2)));        // version
    EXPECT_TRUE(refused(changed(30, 0x7F)));    // header without its check sum
    EXPECT_TRUE(refused(changed(48 + 124, 3))); // counts no longer add up
    EXPECT_TRUE(refused(changed(48 + 128, 0))); // an origin without a name
    const std::size_t records = 48 + 131072;
    EXPECT_TRUE(refused(changed(records + 3, 0x40))); // a line beyond the file
    EXPECT_TRUE(refused(changed(records + 4, 9)));    // codes out of order
    std::vector<unsigned char> longName = good;
    std::memset(longName.data() + 48, 'n', 120); // a name without its end
    EXPECT_TRUE(refused(longName));
}

TEST(MessageIndex, NamesTooLongAndOriginsBeyondTheTableAreLeftOut) {
    std::string text = "[" + std::string(msgindex::kMaxNameLength, 'a') + "]\n1 \"fits\"\n";
    text += "[" + std::string(msgindex::kMaxNameLength + 1, 'b') + "]\n2 \"too long\"\n";
    for (int i = 0; i < 1030; ++i)
        text += "[S" + std::to_string(i) + "]\n" + std::to_string(i) + " \"x\"\n";
    msgindex::Source source;
    source.size = static_cast<std::uint32_t>(text.size());
    const msgindex::Index index = msgindex::Build(text.data(), text.size(), source);
    ASSERT_EQ(index.origins.size(), msgindex::kSlotCount);
    EXPECT_EQ(index.origins[0].name.size(), msgindex::kMaxNameLength);
    EXPECT_EQ(index.origins[1].name, "S0");
    EXPECT_EQ(index.origins.back().name, "S1022");
    EXPECT_EQ(index.records.size(), msgindex::kSlotCount);
    // A full table still writes and reads.
    const std::vector<unsigned char> data = msgindex::Serialize(index);
    msgindex::Index back;
    EXPECT_TRUE(msgindex::Parse(data.data(), data.size(), back));
}

TEST(MessageIndex, TheNameHashIgnoresDirectoryAndCase) {
    EXPECT_EQ(msgindex::NameHash("C:\\a\\Kelmo_Msg.ENG"), msgindex::NameHash("/b/kelmo_msg.eng"));
    EXPECT_NE(msgindex::NameHash("kelmo_msg.eng"), msgindex::NameHash("kelmo_msg.ger"));
}

} // namespace
