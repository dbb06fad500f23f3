// TMemReadFile: a file read whole into memory when it is opened; reads,
// seeks and line reading are then served from that copy.
//
// The position conventions are those of the original reader and are kept as
// its users know them: Ende and Seek(d, FILE_END) count from the LAST byte
// (Seek(0, 2) is on the last byte, not past it), and SetEndOfFile keeps the
// byte at the position (size = position + 1). A seek outside 0 .. size - 1
// raises code 7 of the file module ("FileError", origin 3) with the name.
//
// GetLine raises code 12 ("GetLine not supported"); lines come from
// GetAnsiLine and GetUnicodeLine. Their stop rule is deliberate: a line ends
// at NUL, CR, LF, or at a byte whose next byte is LF, so in text whose lines
// end with a lone LF the character before each LF is skipped ("ab\ncd" gives
// "a", "", "cd"); lines ending in CR LF come out whole.
//
// The file handle is closed again inside Open: Size, IsOpen, Write, PutLine
// and PutText are TFile's and are not meant for this class.
#ifndef BASEKEL_MEMREADFILE_H
#define BASEKEL_MEMREADFILE_H

#include "FILE.h"
#include "TString.h"
#include "kelexport.h"

class BASEKEL_API TMemReadFile : public TFile {
public:
    TMemReadFile();
    // Constructs, then opens.
    TMemReadFile(TString name, unsigned long mode, unsigned long share, unsigned long creation,
                 unsigned long attribute);
    ~TMemReadFile() override;
    TMemReadFile(const TMemReadFile&) = delete;
    TMemReadFile& operator=(const TMemReadFile&) = delete;

    // Reads the whole file (its size by TFile::Size(name)) into a buffer with
    // a NUL after it and sets the position to 0. The errors of TFile::Size,
    // Open and Read pass through.
    void Open(TString name, unsigned long mode, unsigned long share, unsigned long creation,
              unsigned long attribute) override;
    // Frees the buffer.
    void Close() override;
    unsigned long Pos() override;
    // FILE_BEGIN: distance; FILE_END: size + distance - 1; otherwise
    // position + distance.
    void Seek(long distance, unsigned long method) override;
    void Start() override;
    // The position on the last byte: size - 1.
    void Ende() override;
    // Cuts the content after the byte at the position: size = position + 1.
    void SetEndOfFile() override;
    // Always raises code 12, "GetLine not supported"; returns 0.
    unsigned int GetLine(TString& line, unsigned int maxLen) override;
    // Copies up to count bytes from the position on; 0 at the end.
    unsigned int Read(void* buffer, unsigned int count) override;

    // One line of 8-bit text; 1 when a line (possibly empty) was read, 0 at
    // the end or at a NUL byte.
    virtual unsigned int GetAnsiLine(TString& line);
    // The same on UTF-16 little-endian units, converted to the ANSI code page.
    virtual unsigned int GetUnicodeLine(TString& line);

private:
    unsigned char ByteAt(DWORD offset) const;
    unsigned short UnitAt(DWORD offset) const;

    unsigned char* m_pBuffer; // the content, followed by two NUL bytes
    DWORD m_nSize;            // bytes of content (cut by SetEndOfFile)
    DWORD m_nPosition;
    DWORD m_nLoaded; // bytes read at Open: the buffer holds m_nLoaded + 2
};

#endif
