// The catalogue: the origin registry, lookups in message files, origins from
// sections, the index on disk, files that change, and the choice of language
// and file.
#include "catalogue_support.h"

#include "Error.h"
#include "logcapture.h"

#include <cstdio>
#include <string>

namespace {

using cattest::CatalogueTest;
using cattest::FileExists;
using cattest::ReadBytes;
using cattest::Str;
using cattest::WriteText;

const char kMessages[] = "; test messages\r\n"
                         "7 \"outside any section: left out\"\r\n"
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
                         "12 \"not the pass-through\"\n"
                         "[CatalogueTestA]\n"
                         "5 \"A again\"\n";

TEST_F(CatalogueTest, OriginsAreRegisteredOnceByCaseSensitiveNameAfterTheBuiltInOnes) {
    const char* builtIn[] = {"SystemExeptions", "SYSTEM", "BaseExceptions", "FileError",
                             "DynamicError"};
    for (unsigned short code = 0; code < 5; ++code) {
        EXPECT_EQ(SearchOriginCode(builtIn[code]), code);
        EXPECT_EQ(Str(GetOriginString(code)), builtIn[code]);
    }
    EXPECT_EQ(RegisterOrigin("FileError", "TEST", __FILE__, __LINE__), 3);

    const unsigned short first = RegisterOrigin("CatalogueTestTwice", "ONE", __FILE__, __LINE__);
    EXPECT_GE(first, 5);
    EXPECT_NE(first, KELMO_NO_ORIGIN);
    const unsigned short upper = RegisterOrigin("CATALOGUETESTTWICE", "ONE", __FILE__, __LINE__);
    EXPECT_NE(upper, first);
    EXPECT_NE(upper, KELMO_NO_ORIGIN);
    // A section of the same name in a message file is the same origin.
    UseMessageFile("twice.msl", "[CatalogueTestTwice]\n5 \"five\"\n");
    EXPECT_EQ(SearchOriginCode("CatalogueTestTwice"), first);
    EXPECT_EQ(RegisterOrigin("CatalogueTestTwice", "TWO", "other.cpp", 1), first);
    EXPECT_EQ(Str(GetMessage(first, 5)), "five");
    EXPECT_EQ(Str(GetOriginString(first)), "CatalogueTestTwice");

    EXPECT_EQ(SearchOriginCode("catalogueTestTwice"), KELMO_NO_ORIGIN);
    EXPECT_EQ(SearchOriginCode("CatalogueTestMissing"), KELMO_NO_ORIGIN);
    EXPECT_EQ(RegisterOrigin(nullptr, "TEST", __FILE__, __LINE__), KELMO_NO_ORIGIN);
    EXPECT_EQ(Str(GetOriginString(1023)), "unknown origin code 1023");
    EXPECT_EQ(Str(GetOriginString(60000)), "unknown origin code 60000");
    EXPECT_EQ(Str(GetOriginString(0xFFFF)), "unknown origin code 65535");
}

// The registry holds 1024 origins; in a child process, so that the full
// registry does not outlive the test.
TEST_CHILD(FillOriginRegistry) {
    (void)args;
    unsigned short lastAccepted = KELMO_NO_ORIGIN;
    std::string name;
    for (int i = 0;; ++i) {
        name = "Origin" + std::to_string(i);
        const unsigned short code = RegisterOrigin(name.c_str(), "TEST", __FILE__, __LINE__);
        if (code == KELMO_NO_ORIGIN)
            break;
        if (code != SearchOriginCode(name.c_str()))
            return 10;
        lastAccepted = code;
    }
    if (lastAccepted != 1023 || SearchOriginCode(name.c_str()) != KELMO_NO_ORIGIN)
        return 11;
    // Names registered before still answer with their codes.
    if (RegisterOrigin("Origin0", "TEST", __FILE__, __LINE__) != SearchOriginCode("Origin0") ||
        RegisterOrigin("FileError", "TEST", __FILE__, __LINE__) != 3)
        return 12;
    return Str(GetOriginString(1024)) == "unknown origin code 1024" ? 0 : 13;
}

TEST(OriginRegistry, HoldsAtMost1024Origins) {
    EXPECT_EQ(testsupport::RunChild("FillOriginRegistry"), 0);
}

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
    EXPECT_EQ(Str(GetMessage(a, 5)), "A again"); // a section opened again
    // A module's origin and a section of the same name are one origin.
    EXPECT_EQ(Str(GetMessage(3, 4, "C:\\a.txt")), "Open failed: C:\\a.txt");
    // The pass-through message is its first argument whatever a file says.
    EXPECT_EQ(Str(GetMessage(3, 12, "as [nl] it is, 100% %s", "ignored")),
              "as [nl] it is, 100% %s");
    EXPECT_EQ(Str(GetMessage(3, 12)), "");
    EXPECT_EQ(Str(GetMessageNr(0x1234, a, 1)), "Plain text. (0x00001234)");
    EXPECT_EQ(Str(GetMessageNr(0x1234, a, 1, "", "", "", 0)), "Plain text.");
    EXPECT_EQ(Str(GetMessageNr(7, 3, 12, "pipe")), "pipe (0x00000007)");
    EXPECT_TRUE(boxes.empty());

    // Missing messages: in a known section, in an origin without a section,
    // and for no origin at all.
    char expected[80];
    std::snprintf(expected, sizeof expected, "no message for 0x%X:0x3 (\"p\",\"q\",\"r\")", a);
    EXPECT_EQ(Str(GetMessage(a, 3, "p", "q", "r")), expected);
    const unsigned short lonely = RegisterOrigin("CatalogueTestLonely", "TEST", __FILE__, __LINE__);
    std::snprintf(expected, sizeof expected, "no message for 0x%X:0xBEEF (\"%%s%%n\",\"\",\"\")",
                  lonely);
    EXPECT_EQ(Str(GetMessage(lonely, 0xBEEF, "%s%n")), expected);
    EXPECT_EQ(Str(GetMessage(0x3FF, 0xBEEF, "a", "b", "c")),
              "no message for 0x3FF:0xBEEF (\"a\",\"b\",\"c\")");
    EXPECT_EQ(Str(GetMessage(0xFFFF, 1)), "no message for 0xFFFF:0x1 (\"\",\"\",\"\")");
    // The not-found text goes through the macros like any other text.
    EXPECT_EQ(Str(GetMessage(0x3FF, 0xBEEF, "a[nl]b")),
              "no message for 0x3FF:0xBEEF (\"a\nb\",\"\",\"\")");
}

TEST(GetMessage, OriginOneIsTheSystemTextWithoutLineEnd) {
    const std::string text = Str(GetMessage(1, ERROR_ACCESS_DENIED));
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(std::string("\r\n").find(text.back()), std::string::npos); // no line end
    EXPECT_EQ(text.find("no message for"), std::string::npos);
#if !defined(_WIN32)
    EXPECT_EQ(text, "Access is denied.");
    EXPECT_EQ(Str(GetMessage(1, 0xFFFE, "x")), "no message for 0x1:0xFFFE (\"x\",\"\",\"\")");
#endif
}

TEST_F(CatalogueTest, TheIndexIsWrittenBesideTheFileReusedAndRebuiltWhenStaleOrDamaged) {
    const std::string path = UseMessageFile("reuse.msl", kMessages);
    EXPECT_EQ(Str(GetMessage(3, 4, "f")), "Open failed: f");
    const std::string index = cattest::IndexOf(path);
    const std::size_t indexSize = 48u + 131072u + 8u * 8u;
    std::string marked = ReadBytes(index);
    ASSERT_EQ(marked.size(), indexSize);
    EXPECT_EQ(marked.substr(0, 8), "KELMONDX");

    // Reused as it is: a marker in an unused byte of the table survives.
    marked[48 + 131072 - 1] = 'M';
    WriteText(index, marked);
    SetMessageFileNameAbs(path.c_str());
    EXPECT_EQ(Str(GetMessage(3, 4, "g")), "Open failed: g");
    EXPECT_EQ(ReadBytes(index), marked);

    // The same lines written again: the file is newer than its index.
    WriteText(path, kMessages);
    SetMessageFileNameAbs(path.c_str());
    EXPECT_EQ(Str(GetMessage(3, 4, "f")), "Open failed: f");
    EXPECT_NE(ReadBytes(index), marked);

    // Damaged, or the index of another file: rebuilt as well.
    WriteText(index, "KELMONDX and nothing else");
    SetMessageFileNameAbs(path.c_str());
    EXPECT_EQ(Str(GetMessage(3, 4, "h")), "Open failed: h");
    EXPECT_EQ(ReadBytes(index).size(), indexSize);
}

TEST_F(CatalogueTest, AnIndexThatCannotBeWrittenIsKeptInMemory) {
    // A directory where the index should go.
    const std::string index = cattest::IndexOf(dir.file("locked.msl"));
    ASSERT_TRUE(CreateDirectoryA(index.c_str(), nullptr));
    testsupport::LogCapture log;
    UseMessageFile("locked.msl", kMessages);
    EXPECT_EQ(Str(GetMessage(3, 4, "m")), "Open failed: m");
    const auto lines = log.Take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "Error on open or create index file " + index + ".");
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

    // Long lines are read whole.
    SetMessageFileCheckInterval(0);
    const std::string text(100000, 'L');
    WriteText(path, "[CatalogueTestEdit]\n1 \"" + text + "\"\n2 \"after\"\n");
    EXPECT_EQ(Str(GetMessage(edit, 1)), text);
    EXPECT_EQ(Str(GetMessage(edit, 2)), "after");
}

// ---------------------------------------------------------------------------
// Choosing the language and the file

// The catalogue takes dir\app.exe for the executable.
class LanguageTest : public CatalogueTest {
protected:
    void SetUp() override {
        SetCatalogueExecutablePath(dir.file("app.exe").c_str());
        Choose();
    }
    // Chooses the file again, as for a new name.
    void Choose() { SetMessageFileNameAbs(dir.file("app").c_str()); }
    void Lng(const std::string& content) { WriteText(dir.file("language.lng"), content); }
    void Messages(const char* extension, const std::string& text) {
        WriteText(dir.file("app.") + extension, "[FileError]\n4 \"" + text + "\"\n");
    }
};

TEST_F(LanguageTest, TheLanguageFileChoosesTheExtension) {
    Messages("eng", "english");
    Messages("ger", "deutsch");
    Messages("dut", "nederlands");
    const struct {
        const char* lng;
        const char* text;
        TLanguage language;
        const char* extension;
    } cases[] = {{"ger\r\nanything else\r\n", "deutsch", LANG_GERMAN, "ger"},
                 {"English", "english", LANG_ENGLISH, "eng"},
                 {"dut", "nederlands", LANG_DUTCH, "dut"}};
    for (const auto& c : cases) {
        Lng(c.lng);
        Choose();
        EXPECT_EQ(Str(GetMessage(3, 4)), c.text) << c.lng;
        EXPECT_EQ(GetCurrentLanguage(), c.language) << c.lng;
        EXPECT_EQ(Str(GetMessageFileName()), dir.file("app.") + c.extension);
    }
    // Short or unknown names are ignored: the user's language applies.
    Lng("du");
    Choose();
    const std::string userChoice = Str(GetMessage(3, 4));
    Lng("Klingon");
    Choose();
    EXPECT_EQ(Str(GetMessage(3, 4)), userChoice);
    EXPECT_TRUE(boxes.empty());
}

TEST_F(LanguageTest, AMissingLanguageFileIsCopiedWhenTheOperatorAgrees) {
    // English missing too: the German file stands in; Cancel copies nothing.
    Messages("ger", "deutsch");
    Lng("dan");
    cattest::BoxRecorder::answer = IDCANCEL;
    Choose();
    EXPECT_EQ(Str(GetMessage(3, 4)), "deutsch");
    EXPECT_EQ(GetCurrentLanguage(), LANG_GERMAN);
    EXPECT_FALSE(FileExists(dir.file("app.dan")));
    ASSERT_EQ(boxes.size(), 1u);
    // A directory stands where the copy should go.
    cattest::BoxRecorder::answer = IDOK;
    ASSERT_TRUE(CreateDirectoryA(dir.file("app.dan").c_str(), nullptr));
    Choose();
    EXPECT_EQ(Str(GetMessage(3, 4)), "deutsch");
    ASSERT_EQ(boxes.size(), 3u);
    EXPECT_EQ(boxes[2].text, "Could not copy the message file.");

    boxes.clear();
    Messages("eng", "english");
    Lng("dut");
    Choose();
    EXPECT_EQ(Str(GetMessage(3, 4)), "english");
    EXPECT_EQ(GetCurrentLanguage(), LANG_ENGLISH);
    ASSERT_EQ(boxes.size(), 1u);
    const std::string dut = dir.file("app.dut");
    const std::string eng = dir.file("app.eng");
    EXPECT_EQ(boxes[0].caption, "Errorsystem");
    EXPECT_EQ(boxes[0].text, "Messagefile " + dut + " not found, using " + eng +
                                 ".\nPress OK to copy " + eng + " to " + dut +
                                 " to suppress this message next time.");
    EXPECT_EQ(boxes[0].type & MB_TYPEMASK, static_cast<unsigned int>(MB_OKCANCEL));
    EXPECT_EQ(ReadBytes(dut), ReadBytes(eng));
    // Next time the copy is there: no box.
    boxes.clear();
    Choose();
    EXPECT_EQ(Str(GetMessage(3, 4)), "english");
    EXPECT_TRUE(boxes.empty());
}

TEST_F(LanguageTest, NoMessageFileAtAllIsReportedOnceInTheUsersLanguage) {
    Lng("eng");
    Choose();
    EXPECT_EQ(Str(GetMessage(3, 4, "x")), "no message for 0x3:0x4 (\"x\",\"\",\"\")");
    EXPECT_EQ(Str(GetMessage(3, 5, "x")), "no message for 0x3:0x5 (\"x\",\"\",\"\")");
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].caption, "Initialising Errorsystem");
    EXPECT_EQ(boxes[0].text, "Message file " + dir.file("app.eng") + " not found!");
    EXPECT_EQ(Str(GetMessageFileName()), "");

    boxes.clear();
    Lng("ger");
    Choose();
    EXPECT_EQ(Str(GetMessage(3, 4)).find("no message for"), 0u);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].caption, "Initialisierung Fehlersystem");
    EXPECT_EQ(boxes[0].text, "Message Datei " + dir.file("app.ger") + " nicht gefunden!");
}

TEST_F(LanguageTest, RelativeNamesAreInTheMessageDirectory) {
    ASSERT_TRUE(CreateDirectoryA(dir.file("MESSAGE").c_str(), nullptr));
    WriteText(dir.file("MESSAGE") + "/product.eng", "[FileError]\n4 \"from MESSAGE\"\n");
    Lng("eng");
    for (const char* name : {"product", "product.eng"}) {
        SetMessageFileName(name);
        EXPECT_EQ(Str(GetMessage(3, 4)), "from MESSAGE") << name;
    }
}

// (Without app.eng or app.ger the library's own file is chosen: see LibraryMessages.)
TEST_F(LanguageTest, TheStartUpChoiceTakesTheExecutablesOwnFileFirst) {
    // app.ger alone is enough to choose the executable's files; the English
    // one is then missing and the German one offered.
    Lng("eng");
    Messages("ger", "deutsch");
    cattest::BoxRecorder::answer = IDCANCEL;
    RestoreStartupMessageFile();
    EXPECT_EQ(Str(GetMessage(3, 4)), "deutsch");
    EXPECT_EQ(boxes.size(), 1u);
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
