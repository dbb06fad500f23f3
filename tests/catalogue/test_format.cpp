// The lines of a message file and the index made from them.
#include "MessageFileFormat.h"
#include "MessageIndex.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

MessageLine Parse(const std::string& text) {
    static std::string keep;
    keep = text;
    return ParseMessageLine(keep.data(), keep.data() + keep.size());
}

std::string Text(const MessageLine& line) {
    return std::string(line.text, line.textLength);
}

TEST(MessageLine, CommentsBlankLinesAndSections) {
    EXPECT_EQ(Parse("").kind, MessageLineKind::Blank);
    EXPECT_EQ(Parse(" \t ").kind, MessageLineKind::Blank);
    EXPECT_EQ(Parse("# 1 \"no\"").kind, MessageLineKind::Comment);
    EXPECT_EQ(Parse("\t ; 1 \"no\"").kind, MessageLineKind::Comment);

    const MessageLine section = Parse("  [ \tFileError \t]  trailing");
    ASSERT_EQ(section.kind, MessageLineKind::Section);
    EXPECT_EQ(std::string(section.name, section.nameLength), "FileError");
    const MessageLine open = Parse("[Unclosed name ");
    EXPECT_EQ(std::string(open.name, open.nameLength), "Unclosed name");
    EXPECT_EQ(Parse("[]").nameLength, 0u);
}

TEST(MessageLine, CodesAreDecimalOrHexadecimalAsTheStringClassReadsThem) {
    EXPECT_EQ(Parse("12 \"x\"").code, 12);
    EXPECT_EQ(Parse("0x1F \"x\"").code, 0x1F);
    EXPECT_EQ(Parse("0X1F \"x\"").code, 0);                      // only "0x" selects base 16
    EXPECT_EQ(Parse("0x \"x\"").kind, MessageLineKind::Message); // "0x" alone is 0
    EXPECT_EQ(Parse("0x \"x\"").code, 0);
    EXPECT_EQ(Parse("12ab \"x\"").code, 12); // the number stops at the letters
    EXPECT_EQ(Parse("70000 \"x\"").code, 70000 & 0xFFFF);
    EXPECT_EQ(Parse("-1 \"x\"").code, 0xFFFF);
    EXPECT_EQ(Parse("4294967295 \"x\"").code, 0xFFFF);
    // Beyond 32 bits the number overflows, as on the original platform.
    EXPECT_EQ(Parse("4294967296 \"x\"").kind, MessageLineKind::Other);
    EXPECT_EQ(Parse("-4294967296 \"x\"").kind, MessageLineKind::Other);
    EXPECT_EQ(Parse("text \"x\"").kind, MessageLineKind::Other);
    EXPECT_EQ(Parse("\"x\"").kind, MessageLineKind::Other);
}

TEST(MessageLine, TheTextIsBetweenTheFirstPairOfQuotes) {
    EXPECT_EQ(Text(Parse("1 \"Hello\"")), "Hello");
    EXPECT_EQ(Text(Parse("  2\t\t\"Tabs before\" and after")), "Tabs before");
    EXPECT_EQ(Text(Parse("3\"no blank\"")), "no blank");
    EXPECT_EQ(Text(Parse("4 \"\"\"skipped quotes\"")), "skipped quotes");
    EXPECT_EQ(Text(Parse("5 \"cut \"here\"")), "cut ");
    EXPECT_EQ(Text(Parse("6 \"no closing quote ")), "no closing quote ");
    EXPECT_EQ(Text(Parse("7 bare words")), "bare words");
    EXPECT_EQ(Text(Parse("8 \"\"")), "");
    EXPECT_EQ(Text(Parse("9")), "");
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

msgindex::Index BuildSample() {
    msgindex::Source source;
    source.size = sizeof kSample - 1;
    source.written = {123, 456};
    source.nameHash = msgindex::NameHash("C:\\x\\app.eng");
    return msgindex::Build(kSample, sizeof kSample - 1, source);
}

TEST(MessageIndex, GroupsEachOriginsLinesSortedByCode) {
    const msgindex::Index index = BuildSample();
    ASSERT_EQ(index.origins.size(), 2u);
    EXPECT_EQ(index.origins[0].name, "First");
    EXPECT_EQ(index.origins[1].name, "Second");
    ASSERT_EQ(index.records.size(), 5u);
    EXPECT_EQ(index.origins[0].first, 0u);
    EXPECT_EQ(index.origins[0].count, 4u);
    const std::uint16_t codes[] = {0, 1, 2, 2, 7};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(index.records[i].code, codes[i]) << i;
    // Each record points at its whole line.
    for (const msgindex::Record& r : index.records) {
        const std::string line(kSample + r.offset, r.length);
        EXPECT_EQ(ParseMessageLine(line.data(), line.data() + line.size()).code, r.code) << line;
        EXPECT_TRUE(r.offset == 0 || IsLineEnd(kSample[r.offset - 1]));
    }
    // Of two lines with one code, the first in the file answers.
    const auto two = msgindex::FindCode(index, 0, 2);
    ASSERT_EQ(two.second - two.first, 2u);
    EXPECT_LT(index.records[two.first].offset, index.records[two.first + 1].offset);
    const auto none = msgindex::FindCode(index, 1, 2);
    EXPECT_EQ(none.first, none.second);
}

TEST(MessageIndex, FileFormHasTheFixedSizesAndReadsBack) {
    const msgindex::Index index = BuildSample();
    const std::vector<unsigned char> data = msgindex::Serialize(index);
    ASSERT_EQ(data.size(), 48u + 131072u + 8u * index.records.size());
    EXPECT_EQ(std::memcmp(data.data(), "KELMONDX", 8), 0);
    // The first slot of the table: the name, then first record and count.
    EXPECT_STREQ(reinterpret_cast<const char*>(data.data() + 48), "First");
    EXPECT_EQ(data[48 + 124], 4);

    msgindex::Index back;
    ASSERT_TRUE(msgindex::Parse(data.data(), data.size(), back));
    EXPECT_EQ(back.source.size, index.source.size);
    EXPECT_EQ(back.source.written.dwLowDateTime, 123u);
    EXPECT_EQ(back.source.written.dwHighDateTime, 456u);
    EXPECT_EQ(back.source.nameHash, index.source.nameHash);
    ASSERT_EQ(back.origins.size(), index.origins.size());
    ASSERT_EQ(back.records.size(), index.records.size());
    for (std::size_t i = 0; i < back.records.size(); ++i) {
        EXPECT_EQ(back.records[i].offset, index.records[i].offset);
        EXPECT_EQ(back.records[i].code, index.records[i].code);
        EXPECT_EQ(back.records[i].length, index.records[i].length);
    }
}

TEST(MessageIndex, DamagedFilesAreRefused) {
    const std::vector<unsigned char> good = msgindex::Serialize(BuildSample());
    msgindex::Index index;
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

TEST(MessageIndex, LongLinesAreMarked) {
    const std::string text = "[L]\n1 \"" + std::string(70000, 'x') + "\"\n2 \"short\"\n";
    const msgindex::Index index = msgindex::Build(text.data(), text.size(), msgindex::Source());
    ASSERT_EQ(index.records.size(), 2u);
    EXPECT_EQ(index.records[0].length, msgindex::kLongLine);
    EXPECT_EQ(index.records[1].length, 9u);
}

TEST(MessageIndex, TheNameHashIgnoresDirectoryAndCase) {
    EXPECT_EQ(msgindex::NameHash("C:\\a\\Kelmo_Msg.ENG"), msgindex::NameHash("/b/kelmo_msg.eng"));
    EXPECT_NE(msgindex::NameHash("kelmo_msg.eng"), msgindex::NameHash("kelmo_msg.ger"));
}

} // namespace
