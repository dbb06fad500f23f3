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

int main() {
    char name[64];
    DWORD size = sizeof name;
    if (GetComputerNameA(name, &size))
        std::printf("computer: %s\n", name);
    FileDemo();
    return 0;
}
