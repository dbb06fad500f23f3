// The library's own message files: every message the library raises has a
// text in English and in German, and both files hold the same messages.
#include "catalogue_support.h"

#include "Error.h"
#include "MessageFileFormat.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using cattest::CatalogueTest;
using cattest::Str;

// Every message the library raises: per origin, the number of text
// arguments its raiser passes for each code from 0 on.
const struct {
    const char* origin;
    std::vector<int> arguments;
} kRaised[] = {
    // The file classes; 12 is the pass-through message.
    {"FileError", {1, 1, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 1, 2, 1, 1}},
    // The growable memory-mapped file.
    {"DynamicError", {0, 0, 0, 0}},
    // The named pipes: the texts of the failures and of their details (0 to
    // 12 and 16), the composed texts (13, 14, 15) and the texts for a wait
    // without a pipe error and an unknown code (17, 18).
    {"NamedPipeError", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 2, 1, 0, 1, 1}},
};

const char* const kArguments[] = {"<ARG1>", "<ARG2>", "<ARG3>"};

// The (section, code) pairs of a message file, read line by line.
std::set<std::pair<std::string, unsigned short>> MessagesOf(const std::string& path) {
    const std::string text = cattest::ReadBytes(path);
    std::set<std::pair<std::string, unsigned short>> messages;
    std::string section;
    const char* end = text.data() + text.size();
    for (const char* p = text.data(); p < end;) {
        const char* lineEnd = EndOfLine(p, end);
        const MessageLine line = ParseMessageLine(p, lineEnd);
        if (line.kind == MessageLineKind::Section)
            section.assign(line.name, line.nameLength);
        else if (line.kind == MessageLineKind::Message)
            EXPECT_TRUE(messages.insert({section, line.code}).second)
                << path << ": " << section << " " << line.code << " twice";
        else
            EXPECT_NE(line.kind, MessageLineKind::Other) << path << ": " << std::string(p, lineEnd);
        p = NextLine(lineEnd, end);
    }
    return messages;
}

class LibraryMessages : public CatalogueTest {
protected:
    // The library's files, chosen as at start-up for an executable that has
    // none of its own, with the language fixed to English.
    void SetUp() override {
        cattest::WriteText(dir.file("language.lng"), "eng");
        SetCatalogueExecutablePath(dir.file("app.exe").c_str());
        RestoreStartupMessageFile();
        const std::string english = Str(GetMessageFileName());
        ASSERT_NE(english.find("kelmo_msg.eng"), std::string::npos) << english;
        m_directory = english.substr(0, english.size() - std::string("kelmo_msg.eng").size());
    }
    std::string File(const char* extension) const { return m_directory + "kelmo_msg." + extension; }
    std::string m_directory;
};

TEST_F(LibraryMessages, EveryRaisedMessageHasATextInBothLanguagesAndNoOtherIsThere) {
    std::set<std::pair<std::string, unsigned short>> raised;
    for (const char* language : {"eng", "ger"}) {
        SetMessageFileNameAbs(File(language).c_str());
        for (const auto& entry : kRaised) {
            const unsigned short origin = SearchOriginCode(entry.origin);
            ASSERT_NE(origin, KELMO_NO_ORIGIN) << entry.origin;
            for (unsigned short code = 0; code < entry.arguments.size(); ++code) {
                raised.insert({entry.origin, code});
                const std::string text =
                    Str(GetMessage(origin, code, kArguments[0], kArguments[1], kArguments[2]));
                SCOPED_TRACE(std::string(language) + " " + entry.origin + " " +
                             std::to_string(code) + ": " + text);
                EXPECT_EQ(text.find("no message for"), std::string::npos);
                EXPECT_EQ(text.find("[$"), std::string::npos);
                for (int i = 0; i < 3; ++i)
                    EXPECT_EQ(text.find(kArguments[i]) != std::string::npos,
                              i < entry.arguments[code])
                        << "argument " << i + 1;
            }
        }
    }
    EXPECT_TRUE(boxes.empty());
    const auto english = MessagesOf(File("eng"));
    EXPECT_EQ(MessagesOf(File("ger")), english);
    EXPECT_EQ(english, raised);
}

TEST_F(LibraryMessages, TheErrorStackShowsTheLibrarysTexts) {
    SetMessageFileNameAbs(File("eng").c_str());
    PushError(3, 13, "C:\\in.txt", "D:\\out.txt", TString::NullString, nullptr);
    EXPECT_EQ(Str(GetErrorString()), "The file C:\\in.txt could not be moved to D:\\out.txt.");
    SetMessageFileNameAbs(File("ger").c_str());
    EXPECT_EQ(Str(GetErrorString()),
              "Die Datei C:\\in.txt konnte nicht nach D:\\out.txt verschoben werden.");
    EXPECT_EQ(GetCurrentLanguage(), LANG_GERMAN);
    PopError();
}

} // namespace
