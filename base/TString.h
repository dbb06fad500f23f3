// TString: the library's 8-bit string in the process's ANSI code page, used at
// every interface that takes or returns text.
//
// Storage is deliberately plain: every object owns an exact-size heap buffer
// (length + 1 bytes) with no reference counting, no small-string buffer and no
// spare capacity; the length is measured on demand, so an embedded NUL ends the
// string. Pointers into the buffer (operator const char*, GetBuffer, the stop
// position of Value) become invalid when an operation reallocates it.
//
// Equality is case-sensitive while ordering (operator<) is case-insensitive:
// keys kept in ordered containers sort and collide without regard to case.
#ifndef BASEKEL_TSTRING_H
#define BASEKEL_TSTRING_H

#include "kelexport.h"
#include "kelwin32.h"

class BASEKEL_API TString {
public:
    static const TString NullString;

    // Construction. Numbers are written as the C runtime's _ltoa/_ultoa/_itoa
    // write them: radix 2 to 36, lower-case digits, a minus sign only in radix
    // 10; other radices write the 32-bit two's complement.
    TString();
    TString(const TString& s, long nMax = 0x7FFFFFFF);
    TString(const char* p, long nMax = 0x7FFFFFFF);
    TString(char c, long nCount);
    TString(unsigned char v, unsigned long radix);
    TString(signed char v, unsigned long radix);
    TString(unsigned short v, unsigned long radix);
    TString(short v, unsigned long radix);
    TString(unsigned long v, unsigned long radix);
    TString(long v, unsigned long radix);
    TString(int v, unsigned long radix);
    virtual ~TString();

    // Assignment and appending.
    const TString& operator=(const TString& s);
    const TString& operator=(const char* p);
    const TString& operator=(char c);
    TString& operator+=(const TString& s);
    TString& operator+=(const char* p);
    TString& operator+=(char c);

    // Length, access and comparison.
    long GetLength() const;
    unsigned int IsEmpty() const;
    operator const char*() const { return m_pData; }
    bool operator==(const TString& s) const;
    bool operator==(const char* p) const;
    bool operator!=(const TString& s) const;
    bool operator!=(const char* p) const;
    unsigned int Compare(const char* p) const;       // 1 when equal (case-sensitive)
    unsigned int CompareNoCase(const char* p) const; // 1 when equal without regard to case
    bool operator<(const TString& s) const;          // case-insensitive ordering

    // Searching and counting: zero-based offsets, -1 when not found.
    long Find(TString s) const;
    long Find(char c) const;
    long FindReverse(char c) const;
    int CountChar(char c) const;

    // Substrings. Right(n) is the tail after the first n characters.
    TString Left(long n);
    TString Right(long n);
    TString LeftSplit(char c, unsigned int bInclusive);
    TString GetUntil(char c);
    TString Token(TString delimiters);
    TString Token(char delimiter);
    TString TokenRight(TString delimiters);
    TString TokenRight(char delimiter);

    // Trimming and editing in place.
    void StripHead(TString set);
    void StripHead(char c);
    void StripHead(int n);
    void StripTail(TString set);
    void StripTail(char c);
    long Replace(TString sOld, TString sNew, unsigned int bAll);
    long Exchange(char cFrom, char cTo);
    void UpCase();
    void LowCase();

    // Raw buffer and formatting.
    char* GetBuffer(long n);
    void ReleaseBuffer();
    void Format(const char* format, ...) BASEKEL_PRINTF_FORMAT(2, 3);
    void GetComputerNameA();

    // Numeric conversion: 1 on success, 0 on failure; the object is unchanged
    // and errno is left as the caller had it. Ranges are those of 32-bit
    // Windows whatever the size of 'long' on the host.
    unsigned int Value(unsigned long& v, unsigned long base = 10, char** ppEnd = 0) const;
    unsigned int Value(long& v, unsigned long base = 10, char** ppEnd = 0) const;
    unsigned int Value(unsigned short& v, unsigned long base = 10, char** ppEnd = 0) const;
    unsigned int Value(short& v, unsigned long base = 10, char** ppEnd = 0) const;
    unsigned int Value(double& v, char** ppEnd = 0) const;
    unsigned int Value(float& v, char** ppEnd = 0) const;
    unsigned int Value(unsigned __int64& v, char** ppEnd = 0) const;
    static unsigned int IsHexValue(char* p);

    // Code-page conversion between the ANSI code page and UTF-16.
    unsigned int AsAnsi(char* dst, unsigned int size) const;
    unsigned int SaveAsAnsi(char* dst, unsigned int size, char cReplace) const;
    unsigned int AsUnicode(unsigned short* dst, unsigned int size) const;
    void FromAnsi(const char* src);
    void SaveFromAnsi(const char* src, char cReplace);
    void FromUnicode(const unsigned short* src);

private:
    void Adopt(char* buffer, int size);
    void AssignText(const char* p, long length);
    void Append(const char* p, long length);
    void KeepFrom(long offset);

    char* m_pData;  // never null in a live object
    int m_nBufSize; // bytes allocated, at least length + 1
};

BASEKEL_API TString operator+(const TString& a, const TString& b);
BASEKEL_API TString operator+(const TString& a, const char* b);
BASEKEL_API TString operator+(const TString& a, char c);

#endif
