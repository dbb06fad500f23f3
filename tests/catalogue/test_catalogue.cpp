// The catalogue with message files: lookups, origins from sections, the
// index on disk, files that change, and the choice of language and file.
#include "catalogue_support.h"

#include "Error.h"

#include <cstdio>

#include <string>

namespace {

using cattest::CatalogueTest;
using cattest::FileExists;
using cattest::ReadText;
using cattest::Str;
using cattest::WriteText;

const char kMessages[] = "; test messages\r\n"
                         "[CatalogueTestA]\r\n"
                         "1\t\"Plain text.\"\r\n"
                         "0x10 \"File [$1] to [$2] ([$3]).\"\r\n"
                         "2 \"Line[nl]break and[tab]tab\"\r\n"
                         "2 \"duplicate, never seen\"\r\n"
                         "\r\n"
                         "  [ CatalogueTestB ]\n"
                         "  1 \"B one\"\n"
                         "[FileError]\n"
                         "4 \"Open failed: [$1]\"\n"
                         "12 \"not the pass-through\"\n";

TEST_F(CatalogueTest, TextsComeFromTheMessageFileWithArgumentsAndMacros) {
    UseMessageFile("app.msl", kMessages);
    const unsigned short a = SearchOriginCode("CatalogueTestA");
    const unsigned short b = SearchOriginCode("CatalogueTestB");
    ASSERT_NE(a, KELMO_NO_ORIGIN);
    ASSERT_NE(b, KELMO_NO_ORIGIN);
    EXPECT_EQ(Str(GetMessage(a, 1)), "Plain text.");
    EXPECT_EQ(Str(GetMessage(a, 16, "x.txt", "y.txt", "z")), "File x.txt to y.txt (z).");
    EXPECT_EQ(Str(GetMessage(a, 16, "x.txt")), "File x.txt to  ().");
    EXPECT_EQ(Str(GetMessage(a, 2)), "Line\nbreak and\ttab");
    EXPECT_EQ(Str(GetMessage(b, 1)), "B one");
    // A module's origin and a section of the same name are one origin.
    EXPECT_EQ(Str(GetMessage(3, 4, "C:\\a.txt")), "Open failed: C:\\a.txt");
    // The pass-through message is its first argument whatever a file says.
    EXPECT_EQ(Str(GetMessage(3, 12, "as [nl] it is")), "as [nl] it is");
    EXPECT_EQ(Str(GetMessageNr(0x1234, a, 1)), "Plain text. (0x00001234)");
    EXPECT_EQ(Str(GetMessageNr(0x1234, a, 1, "", "", "", 0)), "Plain text.");
    EXPECT_EQ(Str(GetMessageNr(7, 3, 12, "pipe")), "pipe (0x00000007)");
    EXPECT_TRUE(boxes.Boxes().empty());
}

TEST_F(CatalogueTest, MissingMessagesAndUnknownOrigins) {
    UseMessageFile("app.msl", kMessages);
    const unsigned short a = SearchOriginCode("CatalogueTestA");
    char expected[80];
    std::snprintf(expected, sizeof expected, "no message for 0x%X:0x3 (\"p\",\"q\",\"r\")", a);
    EXPECT_EQ(Str(GetMessage(a, 3, "p", "q", "r")), expected);
    // An origin registered by a module but without a section.
    const unsigned short lonely = RegisterOrigin("CatalogueTestLonely", "TEST", __FILE__, __LINE__);
    EXPECT_EQ(Str(GetMessage(lonely, 1)).find("no message for"), 0u);
    EXPECT_EQ(Str(GetMessage(0xFFFF, 1)), "no message for 0xFFFF:0x1 (\"\",\"\",\"\")");
    EXPECT_EQ(SearchOriginCode("CatalogueTestMissing"), KELMO_NO_ORIGIN);
    EXPECT_EQ(Str(GetOriginString(1023)), "unknown origin code 1023");
}

TEST_F(CatalogueTest, RegisteringAnOriginTwiceGivesOneCode) {
    const unsigned short first = RegisterOrigin("CatalogueTestTwice", "ONE", __FILE__, __LINE__);
    UseMessageFile("twice.msl", "[CatalogueTestTwice]\n5 \"five\"\n");
    EXPECT_EQ(SearchOriginCode("CatalogueTestTwice"), first);
    EXPECT_EQ(RegisterOrigin("CatalogueTestTwice", "TWO", __FILE__, __LINE__), first);
    EXPECT_EQ(Str(GetMessage(first, 5)), "five");
    EXPECT_EQ(Str(GetOriginString(first)), "CatalogueTestTwice");
}

TEST_F(CatalogueTest, TheIndexIsWrittenBesideTheFileAndReused) {
    const std::string path = UseMessageFile("reuse.msl", kMessages);
    EXPECT_EQ(Str(GetMessage(3, 4, "f")), "Open failed: f");
    const std::string index = cattest::IndexOf(path);
    ASSERT_TRUE(FileExists(index));
    const std::string written = ReadText(index);
    EXPECT_EQ(written.size(), 48u + 131072u + 8u * 7u);
    EXPECT_EQ(written.substr(0, 8), "KELMONDX");

    // Reused as it is: a marker in an unused byte of the table survives.
    std::string marked = written;
    marked[48 + 131072 - 1] = 'M';
    WriteText(index, marked);
    SetMessageFileNameAbs(path.c_str());
    EXPECT_EQ(Str(GetMessage(3, 4, "g")), "Open failed: g");
    EXPECT_EQ(ReadText(index), marked);
}

TEST_F(CatalogueTest, AStaleOrDamagedIndexIsRebuilt) {
    const std::string path = UseMessageFile("stale.msl", kMessages);
    EXPECT_EQ(Str(GetMessage(3, 4, "f")), "Open failed: f");
    const std::string index = cattest::IndexOf(path);

    // The same lines written again: the file is newer than its index.
    std::string marked = ReadText(index);
    marked[48 + 131072 - 1] = 'M';
    WriteText(index, marked);
    WriteText(path, kMessages);
    SetMessageFileNameAbs(path.c_str());
    EXPECT_EQ(Str(GetMessage(3, 4, "f")), "Open failed: f");
    EXPECT_NE(ReadText(index), marked);

    // Damaged, or the index of another file: rebuilt as well.
    WriteText(index, "KELMONDX and nothing else");
    SetMessageFileNameAbs(path.c_str());
    EXPECT_EQ(Str(GetMessage(3, 4, "h")), "Open failed: h");
    EXPECT_EQ(ReadText(index).size(), 48u + 131072u + 8u * 7u);
}

TEST_F(CatalogueTest, AnIndexThatCannotBeWrittenIsKeptInMemory) {
    const std::string path = dir.file("locked.msl");
    // A directory where the index should go.
    const std::string index = cattest::IndexOf(path);
    ASSERT_TRUE(CreateDirectoryA(index.c_str(), nullptr));
    cattest::LogCapture log;
    UseMessageFile("locked.msl", kMessages);
    EXPECT_EQ(Str(GetMessage(3, 4, "m")), "Open failed: m");
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Error on open or create index file " + index + ".");
}

TEST_F(CatalogueTest, AFileEditedWhileTheProcessRunsIsReadAgain) {
    const std::string path =
        UseMessageFile("edit.msl", "[CatalogueTestEdit]\n1 \"first\"\n2 \"second\"\n");
    const unsigned short edit = SearchOriginCode("CatalogueTestEdit");
    EXPECT_EQ(Str(GetMessage(edit, 1)), "first");

    // Changed texts, read before or not, and new ones: all there at the next
    // look at the file.
    SetMessageFileCheckInterval(0);
    WriteText(path, "[CatalogueTestEdit]\n1 \"first, edited\"\n2 \"second\"\n3 \"third\"\n");
    EXPECT_EQ(Str(GetMessage(edit, 1)), "first, edited");
    EXPECT_EQ(Str(GetMessage(edit, 3)), "third");

    // However long the interval, a line that is not where the index says
    // makes the catalogue read the file again at once.
    SetMessageFileCheckInterval(3600 * 1000);
    WriteText(path, "; a new comment moves every line\n[CatalogueTestEdit]\n"
                    "1 \"first, moved\"\n2 \"second, moved\"\n4 \"fourth\"\n");
    EXPECT_EQ(Str(GetMessage(edit, 2)), "second, moved");
    EXPECT_EQ(Str(GetMessage(edit, 1)), "first, moved");
    EXPECT_EQ(Str(GetMessage(edit, 4)), "fourth");
}

TEST_F(CatalogueTest, LongLinesAreReadWhole) {
    const std::string text(100000, 'L');
    UseMessageFile("long.msl", "[CatalogueTestLong]\n1 \"" + text + "\"\n2 \"after\"\n");
    const unsigned short code = SearchOriginCode("CatalogueTestLong");
    EXPECT_EQ(Str(GetMessage(code, 1)), text);
    EXPECT_EQ(Str(GetMessage(code, 2)), "after");
}

TEST_F(CatalogueTest, ErrorsOnTheStackTakeTheirTextsFromTheFile) {
    UseMessageFile("stack.msl", kMessages);
    PushError(3, 4, "C:\\data\\x.txt", TString::NullString, TString::NullString, nullptr);
    EXPECT_EQ(Str(GetErrorString()), "Open failed: C:\\data\\x.txt");
    PopError();
}

// ---------------------------------------------------------------------------
// Choosing the language and the file

// The catalogue takes dir\app.exe for the executable.
class LanguageTest : public CatalogueTest {
protected:
    void SetUp() override {
        SetCatalogueExecutablePath(dir.file("app.exe").c_str());
        SetMessageFileNameAbs(dir.file("app").c_str());
    }
    void Lng(const std::string& content) { WriteText(dir.file("language.lng"), content); }
};

TEST_F(LanguageTest, LanguageFileChoosesTheExtension) {
    WriteText(dir.file("app.eng"), "[FileError]\n4 \"english\"\n");
    WriteText(dir.file("app.ger"), "[FileError]\n4 \"deutsch\"\n");
    Lng("ger\r\nanything else\r\n");
    EXPECT_EQ(Str(GetMessage(3, 4)), "deutsch");
    EXPECT_EQ(GetCurrentLanguage(), LANG_GERMAN);
    EXPECT_EQ(Str(GetMessageFileName()), dir.file("app.ger"));

    Lng("English");
    SetMessageFileNameAbs(dir.file("app").c_str());
    EXPECT_EQ(Str(GetMessage(3, 4)), "english");
    EXPECT_EQ(GetCurrentLanguage(), LANG_ENGLISH);
    EXPECT_TRUE(boxes.Boxes().empty());
}

TEST_F(LanguageTest, ShortOrUnknownLanguageFilesAreIgnored) {
    WriteText(dir.file("app.eng"), "[FileError]\n4 \"english\"\n");
    WriteText(dir.file("app.ger"), "[FileError]\n4 \"deutsch\"\n");
    WriteText(dir.file("app.dut"), "[FileError]\n4 \"nederlands\"\n");
    Lng("du");
    const std::string userChoice = Str(GetMessage(3, 4));
    Lng("Klingon");
    SetMessageFileNameAbs(dir.file("app").c_str());
    EXPECT_EQ(Str(GetMessage(3, 4)), userChoice);
    Lng("dut");
    SetMessageFileNameAbs(dir.file("app").c_str());
    EXPECT_EQ(Str(GetMessage(3, 4)), "nederlands");
}

TEST_F(LanguageTest, AMissingLanguageFileIsCopiedWhenTheOperatorAgrees) {
    WriteText(dir.file("app.eng"), "[FileError]\n4 \"english\"\n");
    Lng("dut");
    EXPECT_EQ(Str(GetMessage(3, 4)), "english");
    EXPECT_EQ(GetCurrentLanguage(), LANG_ENGLISH);
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    const std::string dut = dir.file("app.dut");
    const std::string eng = dir.file("app.eng");
    EXPECT_EQ(boxes.Boxes()[0].caption, "Errorsystem");
    EXPECT_EQ(boxes.Boxes()[0].text, "Messagefile " + dut + " not found, using " + eng +
                                         ".\nPress OK to copy " + eng + " to " + dut +
                                         " to suppress this message next time.");
    EXPECT_EQ(boxes.Boxes()[0].type & MB_TYPEMASK, MB_OKCANCEL);
    EXPECT_EQ(ReadText(dut), ReadText(eng));

    // Next time the copy is there: no box.
    boxes.Boxes().clear();
    SetMessageFileNameAbs(dir.file("app").c_str());
    EXPECT_EQ(Str(GetMessage(3, 4)), "english");
    EXPECT_TRUE(boxes.Boxes().empty());
}

TEST_F(LanguageTest, CancelCopiesNothingAndAFailedCopySaysSo) {
    WriteText(dir.file("app.ger"), "[FileError]\n4 \"deutsch\"\n");
    Lng("dan");
    cattest::BoxRecorder::Answer() = IDCANCEL;
    EXPECT_EQ(Str(GetMessage(3, 4)), "deutsch");
    EXPECT_EQ(GetCurrentLanguage(), LANG_GERMAN);
    EXPECT_FALSE(FileExists(dir.file("app.dan")));
    ASSERT_EQ(boxes.Boxes().size(), 1u);

    // A directory stands where the copy should go.
    boxes.Boxes().clear();
    cattest::BoxRecorder::Answer() = IDOK;
    ASSERT_TRUE(CreateDirectoryA(dir.file("app.dan").c_str(), nullptr));
    SetMessageFileNameAbs(dir.file("app").c_str());
    EXPECT_EQ(Str(GetMessage(3, 4)), "deutsch");
    ASSERT_EQ(boxes.Boxes().size(), 2u);
    EXPECT_EQ(boxes.Boxes()[1].text, "Could not copy the message file.");
}

TEST_F(LanguageTest, NoMessageFileAtAllIsReportedOnceInTheUsersLanguage) {
    Lng("eng");
    EXPECT_EQ(Str(GetMessage(3, 4, "x")), "no message for 0x3:0x4 (\"x\",\"\",\"\")");
    EXPECT_EQ(Str(GetMessage(3, 5, "x")), "no message for 0x3:0x5 (\"x\",\"\",\"\")");
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(boxes.Boxes()[0].caption, "Initialising Errorsystem");
    EXPECT_EQ(boxes.Boxes()[0].text, "Message file " + dir.file("app.eng") + " not found!");
    EXPECT_EQ(Str(GetMessageFileName()), "");

    boxes.Boxes().clear();
    Lng("ger");
    SetMessageFileNameAbs(dir.file("app").c_str());
    EXPECT_EQ(Str(GetMessage(3, 4)).find("no message for"), 0u);
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_EQ(boxes.Boxes()[0].caption, "Initialisierung Fehlersystem");
    EXPECT_EQ(boxes.Boxes()[0].text, "Message Datei " + dir.file("app.ger") + " nicht gefunden!");
}

TEST_F(LanguageTest, RelativeNamesAreInTheMessageDirectory) {
    ASSERT_TRUE(CreateDirectoryA(dir.file("MESSAGE").c_str(), nullptr));
    WriteText(dir.file("MESSAGE") + "/product.eng", "[FileError]\n4 \"from MESSAGE\"\n");
    Lng("eng");
    SetMessageFileName("product");
    EXPECT_EQ(Str(GetMessage(3, 4)), "from MESSAGE");
    SetMessageFileName("product.eng");
    EXPECT_EQ(Str(GetMessage(3, 4)), "from MESSAGE");
}

TEST_F(LanguageTest, TheStartUpChoiceTakesTheExecutablesOwnFileFirst) {
    Lng("eng");
    // No app.eng or app.ger: the library's file.
    RestoreStartupMessageFile();
    const std::string library = Str(GetMessageFileName());
    EXPECT_NE(library.find("kelmo_msg.eng"), std::string::npos) << library;

    // app.ger alone is enough to choose the executable's files; the English
    // one is then missing and the German one offered.
    WriteText(dir.file("app.ger"), "[FileError]\n4 \"deutsch\"\n");
    cattest::BoxRecorder::Answer() = IDCANCEL;
    RestoreStartupMessageFile();
    EXPECT_EQ(Str(GetMessage(3, 4)), "deutsch");
    EXPECT_EQ(boxes.Boxes().size(), 1u);
}

TEST_F(CatalogueTest, HandlersMayAskTheCatalogueForTexts) {
    // A box handler that asks for texts while the file is being chosen.
    static std::string seen;
    seen.clear();
    TMessageBoxHandler previous = SetMessageBoxHandler([](const char*, const char*, unsigned int) {
        seen = Str(GetMessage(3, 12, "inside")) + "|" + Str(GetMessage(3, 4, "y"));
        return IDOK;
    });
    SetMessageFileNameAbs(dir.file("absent.msl").c_str());
    EXPECT_EQ(Str(GetMessage(3, 4, "x")).find("no message for"), 0u);
    EXPECT_EQ(seen, "inside|no message for 0x3:0x4 (\"y\",\"\",\"\")");
    SetMessageBoxHandler(previous);

    // An OEM text provider that asks for a message itself.
    UseMessageFile("oem.msl", "[FileError]\n4 \"[$oem:Name] cannot open [$1]\"\n"
                              "5 \"closing\"\n");
    SetOemTextProvider([](const char*, TLanguage, TString& text) -> unsigned int {
        text = GetMessage(3, 5);
        return 1;
    });
    EXPECT_EQ(Str(GetMessage(3, 4, "f")), "closing cannot open f");
}

} // namespace
