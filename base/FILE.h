// The file classes: TFile, a thin wrapper around one operating-system file
// handle that raises TException on every failure, with ANSI line reading and
// writing over raw block I/O and static helpers for paths, directories and
// file metadata; and three classes that differ only in how text lines are
// encoded on disk:
//   TAnsiFile     8-bit text in the ANSI code page (TFile's own lines)
//   TUnicodeFile  UTF-16 little-endian text
//   TAutoFile     decides per file by the byte-order mark, then acts as one
//                 of the two
//
// Failures push the system's last error, then the file module's error
// (origin "FileError", code 3 of the catalogue) with the file name(s), and
// throw. The message codes:
//    0 Delete              1 GetTime            2 GetTmpPath
//    3 GetTempFileNameA    4 Open               5 Close
//    6 Pos                 7 Seek               8 Size
//    9 GetLine            10 Write             11 Read
//   12 line reading not supported (memory-mapped reader)
//   13 Move               15 Copy              16 CreateCompleteDir
//   17 RemoveDirectoryA
//
// Line reading keeps no buffer in the object: each GetLine reads a block and
// seeks back over what it did not consume, so the file position is always
// the logical position. An object is used by one thread at a time.
//
// Copies share the open handle (it is not duplicated): whichever copy is
// closed or destroyed first closes it, and the others then behave as closed.
#ifndef BASEKEL_FILE_H
#define BASEKEL_FILE_H

#include "TString.h"
#include "kelexport.h"
#include "kelwin32.h"

struct TFileHandleShare;

class BASEKEL_API TFile {
public:
    TFile();
    // Constructs closed, then opens (TFile::Open).
    TFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
          unsigned long attribute);
    TFile(const TFile& other);
    TFile& operator=(const TFile& other);

    // The virtual operations, in the order of the table that every file class
    // shares. The destructor closes the file, so a failing CloseHandle raises
    // from it (while a library exception is pending it is only pushed).
    virtual ~TFile() noexcept(false);
    // Closes first; CreateFileA(name, mode, share, no security, creation,
    // attribute, no template). The creation disposition is not kept.
    virtual void Open(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                      unsigned long attribute);
    virtual void Close();
    // The low 32 bits: files of 4 GiB and more are not supported.
    virtual unsigned long Size();
    virtual unsigned long Pos();
    // method: FILE_BEGIN 0, FILE_CURRENT 1, FILE_END 2.
    virtual void Seek(long distance, unsigned long method);
    virtual void Start();
    virtual void Ende();
    // The result is not checked.
    virtual void SetEndOfFile();
    virtual unsigned long Mode() const;
    virtual unsigned long Share() const;
    virtual unsigned long Attribute() const;
    // Reads one line of at most maxLen characters, without its line end.
    // Returns 1 when a line was read, 0 at the end of the file.
    virtual unsigned int GetLine(TString& line, unsigned int maxLen);
    // Writes text and "\r\n".
    virtual void PutLine(TString text);
    // Writes text without a line end.
    virtual void PutText(TString text);
    // One WriteFile of count bytes.
    virtual void Write(void* buffer, unsigned int count);
    // One ReadFile; the number of bytes read, 0 at the end of the file.
    virtual unsigned int Read(void* buffer, unsigned int count);
    virtual unsigned int IsOpen() const;
    // The system call's result, unchecked.
    virtual unsigned int FlushFileBuffers() const;

    // The name given to the last successful Open.
    const TString& Name() const { return m_Name; }

    // Static helpers. Paths are ANSI DOS paths with '\' as separator.

    // "X:" and "X:\" ask the drive type; anything else is 1 when FindFirstFileA
    // matches something (so wildcards match).
    static unsigned int Exist(const char* path);
    // Network paths ("\\server\...") by entering them; others by Exist after
    // removing trailing backslashes (a file of that name counts too).
    static unsigned int DirExist(const char* path);
    // The path without its last component and the backslash before it; ""
    // for a path without backslash.
    static TString GetParentDir(TString path);
    // Creates the directory and any missing parents.
    static void CreateCompleteDir(TString path);
    static void Copy(const char* from, const char* to, unsigned int bFailIfExists);
    // Nothing when the file does not exist.
    static void Delete(const char* path);
    // Nothing when the directory does not exist. Spelled with A on purpose:
    // on Windows RemoveDirectory is a macro for it.
    static void RemoveDirectoryA(const char* path);
    static void Move(const char* from, const char* to, unsigned long flags);
    // The last-write time. On a failure after the open, the handle stays open.
    static _FILETIME GetTime(const char* path);
    // On a failure after the open, the handle stays open.
    static unsigned long Size(const char* path);
    // The executable's path in lower case, ending ".exe" where it has none.
    static TString GetExeName();
    // GetExeName without its last component and trailing backslash.
    static TString GetExeDir();
    // Drive, directory and base name of GetExeName, without the extension.
    static TString GetFullAppName();
    // The temporary directory with its trailing backslash.
    static TString GetTmpPath();
    static TString GetTempFileNameA(TString dir, TString prefix, unsigned long unique);
    // Parts of a path: the drive; drive and directory (with its trailing
    // backslash); the base name; the extension with its dot.
    static TString GetFileDrive(TString path);
    static TString GetFileDir(TString path);
    static TString GetFileName(TString path);
    static TString GetFileExt(TString path);
    // The full path by _fullpath; nothing is reported.
    static TString ExpandToFullPath(const TString& path);

protected:
    // Maps the file through Handle().
    friend class TDynamicMemoryMappedFile;

    // Pushes the system's last error and the file error (code, texts), then
    // throws. Returns when an exception is already pending.
    static void ThrowFileError(unsigned short code, const TString& p1 = TString::NullString,
                               const TString& p2 = TString::NullString);

    // The handle the operations use: INVALID_HANDLE_VALUE once a copy sharing
    // it has closed it.
    HANDLE Handle() const;
    // UTF-16 little-endian lines, for TUnicodeFile and TAutoFile.
    unsigned int GetUtf16Line(TString& line, unsigned int maxLen);
    void PutUtf16Text(const TString& text);

private:
    static TString SplitPath(TString path, unsigned short mask);
    // One ReadFile for line reading; failures raise code 9.
    DWORD ReadBlockForLine(void* buffer, DWORD count);
    void ShareWith(const TFile& other) const;
    void LeaveShare();

    HANDLE m_hFile;
    TString m_Name;
    DWORD m_nMode;
    DWORD m_nShare;
    DWORD m_nAttribute;
    // Set while copies share the handle.
    mutable TFileHandleShare* m_pShare;
};

// 8-bit text in the ANSI code page.
class BASEKEL_API TAnsiFile : public TFile {
public:
    TAnsiFile();
    TAnsiFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
              unsigned long attribute);

    // Writes text, then "\r\n", as two writes; an empty text writes nothing,
    // not even the line end.
    void PutAnsiLine(const char* text);
};

// UTF-16 little-endian text. The byte-order mark is neither written nor
// checked by the class itself: users call WriteKennung after creating a file
// and ReadKennung after opening one.
class BASEKEL_API TUnicodeFile : public TFile {
public:
    TUnicodeFile();
    TUnicodeFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                 unsigned long attribute);

    // Lines are converted from and to the ANSI code page. Reading counts two
    // bytes per converted character, so a line longer than maxLen loses its
    // next character, and a last line without line end leaves the position
    // two bytes past the end (the next call returns 0).
    unsigned int GetLine(TString& line, unsigned int maxLen) override;
    void PutLine(TString text) override;
    void PutText(TString text) override;

    // Writes the byte-order mark 0xFEFF (FF FE on disk).
    void WriteKennung();
    // Two bytes as a little-endian value; 0 when nothing could be read.
    unsigned short ReadKennung();
};

// ANSI or UTF-16, decided when the file is opened.
class BASEKEL_API TAutoFile : public TFile {
public:
    TAutoFile();
    TAutoFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
              unsigned long attribute, unsigned int bUnicode);

    unsigned int GetLine(TString& line, unsigned int maxLen) override;
    void PutLine(TString text) override;
    void PutText(TString text) override;

    using TFile::Open;
    // Opens with GENERIC_READ added to mode and decides the encoding:
    // - OPEN_EXISTING, OPEN_ALWAYS: a byte-order mark (either byte order)
    //   means UTF-16, read little-endian; other content means ANSI; an empty
    //   file opened for writing takes bUnicode (and gets the mark when
    //   bUnicode is 1), an empty file opened only for reading is ANSI.
    // - any other disposition: bUnicode, with the mark written when bUnicode
    //   is 1 and mode has GENERIC_WRITE.
    // bUnicode is stored as given: a value other than 0 and 1 means UTF-16
    // without a mark. ANSI files are read from their start; UTF-16 files
    // from just after the mark.
    virtual void Open(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                      unsigned long attribute, unsigned int bUnicode);

    unsigned int IsUnicode() const { return m_IsUnicode; }

private:
    void DecideFromContent(unsigned long mode, unsigned int bUnicode);

    DWORD m_IsUnicode;
};

#endif
