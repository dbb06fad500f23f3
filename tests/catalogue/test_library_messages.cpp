// The library's own message files: every message the library raises has a
// text in English and in German, and both files hold the same messages.
#include "catalogue_support.h"

#include "Error.h"
#include "MessageFileFormat.h"

#include <map>
#include <set>
#include <string>
#include <utility>

namespace {

using cattest::CatalogueTest;
using cattest::Str;

struct Raised {
    const char* origin;
    unsigned short code;
    int arguments; // how many text arguments the raiser passes
};

// Every message the library raises, with the number of its arguments.
const Raised kRaised[] = {
    // The file classes (origin 3); 12 is the pass-through message.
    {"FileError", 0, 1},
    {"FileError", 1, 1},
    {"FileError", 2, 0},
    {"FileError", 3, 0},
    {"FileError", 4, 1},
    {"FileError", 5, 1},
    {"FileError", 6, 1},
    {"FileError", 7, 1},
    {"FileError", 8, 1},
    {"FileError", 9, 1},
    {"FileError", 10, 1},
    {"FileError", 11, 1},
    {"FileError", 12, 1},
    {"FileError", 13, 2},
    {"FileError", 14, 1},
    {"FileError", 15, 2},
    {"FileError", 16, 1},
    {"FileError", 17, 1},
    // The growable memory-mapped file (origin 4).
    {"DynamicError", 0, 0},
    {"DynamicError", 1, 0},
    {"DynamicError", 2, 0},
    {"DynamicError", 3, 0},
    // The named pipes: the texts of the failures and of their details (0 to
    // 12 and 16), the composed texts (13, 14, 15) and the texts for a wait
    // without a pipe error and an unknown code (17, 18).
    {"NamedPipeError", 0, 0},
    {"NamedPipeError", 1, 0},
    {"NamedPipeError", 2, 0},
    {"NamedPipeError", 3, 0},
    {"NamedPipeError", 4, 0},
    {"NamedPipeError", 5, 0},
    {"NamedPipeError", 6, 0},
    {"NamedPipeError", 7, 0},
    {"NamedPipeError", 8, 0},
    {"NamedPipeError", 9, 0},
    {"NamedPipeError", 10, 0},
    {"NamedPipeError", 11, 0},
    {"NamedPipeError", 12, 0},
    {"NamedPipeError", 13, 3},
    {"NamedPipeError", 14, 2},
    {"NamedPipeError", 15, 1},
    {"NamedPipeError", 16, 0},
    {"NamedPipeError", 17, 1},
    {"NamedPipeError", 18, 1},
};

const char* const kArguments[] = {"<ARG1>", "<ARG2>", "<ARG3>"};

// The (section, code) pairs of a message file, read line by line.
std::set<std::pair<std::string, unsigned short>> MessagesOf(const std::string& path) {
    const std::string text = cattest::ReadText(path);
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

TEST_F(LibraryMessages, EveryRaisedMessageHasATextInBothLanguages) {
    for (const char* language : {"eng", "ger"}) {
        SetMessageFileNameAbs(File(language).c_str());
        for (const Raised& raised : kRaised) {
            const unsigned short origin = SearchOriginCode(raised.origin);
            ASSERT_NE(origin, KELMO_NO_ORIGIN) << raised.origin;
            const std::string text =
                Str(GetMessage(origin, raised.code, kArguments[0], kArguments[1], kArguments[2]));
            SCOPED_TRACE(std::string(language) + " " + raised.origin + " " +
                         std::to_string(raised.code) + ": " + text);
            EXPECT_EQ(text.find("no message for"), std::string::npos);
            EXPECT_EQ(text.find("[$"), std::string::npos);
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(text.find(kArguments[i]) != std::string::npos, i < raised.arguments)
                    << "argument " << i + 1;
        }
    }
    EXPECT_TRUE(boxes.Boxes().empty());
}

TEST_F(LibraryMessages, BothFilesHoldTheSameMessagesAndNoOthers) {
    const auto english = MessagesOf(File("eng"));
    const auto german = MessagesOf(File("ger"));
    EXPECT_EQ(english, german);
    std::set<std::pair<std::string, unsigned short>> raised;
    for (const Raised& r : kRaised)
        raised.insert({r.origin, r.code});
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
