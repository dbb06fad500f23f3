// How the file classes report failures (the system's error, then the file
// error with the names involved, then the throw), and how copies share one
// handle.
#include "filestest.h"

#include <functional>

using namespace filestest;

namespace {

// Reaches the handle, to close it behind the object's back.
struct Exposed : TFile {
    using TFile::Handle;
    using TFile::TFile;
};

std::string SystemText(DWORD error) {
    return static_cast<const char*>(GetMessage(1, static_cast<unsigned short>(error)));
}

TEST(FileFailures, OpenRaisesCode4WithTheName) {
    Dir dir;
    const std::string path = dir / "held.txt";
    TFile holder(path.c_str(), GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
    ASSERT_TRUE(Write(dir / "MixedCase.TXT", "x"));
    // A lower-cased name opens the file whose name has capitals.
    TFile file((dir / "mixedcase.txt").c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
    Raised r = RaisedBy([&] { file.Open(path.c_str(), GENERIC_WRITE, 0, OPEN_EXISTING, 0); });
    EXPECT_TRUE(r.thrown);
    EXPECT_EQ(r.codes, "3:12 3:4");
    EXPECT_EQ(r.texts, (Strings{SystemText(ERROR_SHARING_VIOLATION), path}));
    // A failed open leaves the object closed with its earlier name and mode.
    EXPECT_EQ(file.IsOpen(), 0u);
    EXPECT_EQ(std::string(file.Name()), dir / "mixedcase.txt");
    EXPECT_EQ(file.Mode(), GENERIC_READ);
}

TEST(FileFailures, EachOperationRaisesItsCode) {
    Dir dir;
    const std::string path = dir / "f.txt", none = dir / "none", sub = dir / "sub";
    ASSERT_TRUE(Write(path, "data"));
    ASSERT_TRUE(CreateDirectoryA(sub.c_str(), nullptr));
    ASSERT_TRUE(Write(sub + "\\in.txt", ""));
    TFile writer(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING, 0);
    TFile reader(path.c_str(), GENERIC_READ, FILE_SHARE_WRITE, OPEN_EXISTING, 0);
    TFile closed;
    char buffer[8];
    TString line;
    const char *p = path.c_str(), *n = none.c_str(), *s = sub.c_str();
    const struct {
        std::function<void()> call;
        const char* codes;
        std::string text; // of the file error
    } cases[] = {
        {[&] { writer.Read(buffer, 4); }, "3:12 3:11", path},
        {[&] { writer.GetLine(line, 80); }, "3:12 3:9", path},
        {[&] { TUnicodeFile().GetLine(line, 80); }, "3:12 3:9", ""},
        {[&] { reader.Write(buffer, 4); }, "3:12 3:10", path},
        {[&] { reader.Seek(-1, FILE_BEGIN); }, "3:12 3:7", path},
        {[&] { closed.Pos(); }, "3:12 3:6", ""},
        {[&] { closed.Size(); }, "3:12 3:8", ""},
        {[&] { TFile::GetTime(n); }, "3:12 3:1", none},
        {[&] { TFile::Size(n); }, "3:12 3:8", none},
        {[&] { TFile::Copy(p, s, 1); }, "3:12 3:15", path + "|" + sub},
        {[&] { TFile::Copy(n, p, 0); }, "3:12", ""}, // the system's error alone
        {[&] { TFile::Move(n, p, 0); }, "3:12 3:13", none + "|" + path},
        {[&] { TFile::Delete(s); }, "3:12 3:0", sub},
        {[&] { TFile::RemoveDirectoryA(s); }, "3:12 3:17", sub},
        {[&] { TFile::CreateCompleteDir((path + "\\x\\y").c_str()); }, "3:12 3:16", path + "\\x"},
        {[&] { TFile::GetTempFileNameA(n, "x", 0); }, "3:12 3:3", ""},
        // Absent files are nothing to delete; these report nothing at all.
        {[&] { TFile::Delete(n); }, "", ""},
        {[&] { TFile::RemoveDirectoryA(n); }, "", ""},
        {[&] { closed.SetEndOfFile(); }, "", ""},
        {[&] { closed.FlushFileBuffers(); }, "", ""},
        {[&] { closed.Close(); }, "", ""},
    };
    for (const auto& c : cases) {
        const Raised r = RaisedBy(c.call);
        EXPECT_EQ(r.thrown, *c.codes != '\0') << c.codes;
        EXPECT_EQ(r.codes, c.codes);
        if (r.texts.size() == 2) {
            EXPECT_EQ(r.texts[1], c.text) << c.codes;
        }
    }
}

// While an exception is pending, failures add their entries without throwing
// and the operations return safely; the destructor does the same.
TEST(FileFailures, PendingExceptionOnlyAddsEntries) {
    Dir dir;
    const Raised r = RaisedBy([&] {
        Exposed file((dir / "f.txt").c_str(), GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
        ASSERT_TRUE(CloseHandle(file.Handle()));
        EXPECT_EQ(RaisedBy([&] { file.Close(); }).codes, "3:12 3:5");
        EXPECT_EQ(file.IsOpen(), 1u); // a failed close leaves it open
        ThrowNewError(42, 1);
    });
    EXPECT_EQ(r.codes, "42:1 3:12 3:5");
    EXPECT_EQ(RaisedBy([&] {
                  Exposed file((dir / "f.txt").c_str(), GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
                  CloseHandle(file.Handle());
              }).codes,
              "3:12 3:5"); // raised from the destructor
    EXPECT_EQ(RaisedBy([&] {
                  try {
                      TFile((dir / "none").c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
                  } catch (const TException&) {
                      TFile file;
                      TString line = "old";
                      EXPECT_EQ(file.GetLine(line, 80), 0u);
                      EXPECT_EQ(std::string(line), "");
                      throw;
                  }
              }).codes,
              "3:12 3:4 3:12 3:9");
}

TEST(FileCopies, ShareOneHandleClosedOnce) {
    Dir dir;
    const std::string path = dir / "f.txt";
    TFile original(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS, 0);
    {
        TFile copy(original), assigned;
        assigned = copy;
        copy.PutText("abc");
        EXPECT_EQ(original.Pos(), 3u); // one handle, one position
        EXPECT_EQ(assigned.Mode(), GENERIC_READ | GENERIC_WRITE);
    } // the first copy destroyed closes the handle for all
    EXPECT_EQ(original.IsOpen(), 0u);
    TFile again(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0); // share mode 0 is gone
    // A stale copy does not close a handle opened later, whatever its value.
    TFile stale(again);
    again.Close();
    TFile later(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
    EXPECT_EQ(RaisedBy([&] { stale.Close(); }).codes, "");
    EXPECT_EQ(later.Size(), 3u);
    // Open on an open object closes the old handle first (share mode 0).
    later.Open(path.c_str(), GENERIC_READ, 0, OPEN_EXISTING, 0);
    EXPECT_EQ(later.IsOpen(), 1u);
}

} // namespace
