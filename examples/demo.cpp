// A tour of the library, run by the README's first command.
#include <basekel.h>

#include <cstdio>

// Writes a UTF-16 text file with a byte-order mark and reads it back: the
// reader finds the encoding by the mark.
static void FileDemo() {
    const TString path = TFile::GetTmpPath() + "basekel_demo.txt";
    try {
        {
            TAutoFile out(path, GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, 1);
            out.PutLine("first line");
            out.PutLine("second line");
        }
        {
            TAutoFile in(path, GENERIC_READ, 0, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, 0);
            std::printf("%s: %s, %lu bytes\n", static_cast<const char*>(path),
                        in.IsUnicode() ? "UTF-16" : "ANSI", in.Size());
            TString line;
            while (in.GetLine(line, 256))
                std::printf("  %s\n", static_cast<const char*>(line));
        }
        TFile::Delete(path);
    } catch (const TException&) {
        std::printf("file error: %s\n", static_cast<const char*>(GetErrorString()));
        DecrementPendingCount();
        ClearError();
    }
}

// A failing open: the system's reason and the file module's error arrive on
// the calling thread's error stack, newest on top.
static void ErrorDemo() {
    try {
        TFile missing("c:\\no\\such\\dir\\file.txt", GENERIC_READ, 0, OPEN_EXISTING,
                      FILE_ATTRIBUTE_NORMAL);
    } catch (const TException&) {
        DecrementPendingCount();
        std::printf("error stack after a failed open:\n");
        for (int i = static_cast<int>(GetErrorCount()) - 1; i >= 0; --i)
            std::printf("  [%d] origin %u code %u: %s\n", i, GetErrorOriginNr(i), GetErrorCodeNr(i),
                        static_cast<const char*>(GetErrorStringNr(i)));
        while (GetErrorCount() > 0)
            PopError();
    }
}

// Strings, paths and geometry as the device drivers use them.
static void ValueDemo() {
    TString text("0x1F");
    unsigned long value = 0;
    text.Value(value, 16, nullptr);
    TFileString file(TString("C:/Plots/Job 17/Sheet.PLT"), 0);
    std::printf("%s = %lu; path %s splits into %s | %s | %s | %s\n", static_cast<const char*>(text),
                value, static_cast<const char*>(file.GetFullName()),
                static_cast<const char*>(file.GetDrv()), static_cast<const char*>(file.GetDir()),
                static_cast<const char*>(file.GetName()), static_cast<const char*>(file.GetExt()));
    TRect page(0, 0, 210, 297);
    TRect sheet(10, 10, 200, 287);
    std::printf("sheet inside page: %s\n", sheet.IsInside(page) ? "yes" : "no");
}

int main() {
    TString computer;
    computer.GetComputerNameA();
    std::printf("computer: %s\n", static_cast<const char*>(computer));
    ValueDemo();
    FileDemo();
    ErrorDemo();
    return 0;
}
