// TFileString: a file path split into drive, directory, name and extension,
// with the full path kept in step; and the free string helpers that go with it.
//
// Paths are in DOS form: "\" separates components ("/" is turned into "\"),
// the drive is "c:" or, for a network path, "\\" and the server name.
// SetFullName lower-cases the path and splits the extension at the last dot;
// SetNameExt splits at the first dot and keeps the case.
#ifndef BASEKEL_FILESTRING_H
#define BASEKEL_FILESTRING_H

#include "TString.h"
#include "kelexport.h"
#include "kelwin32.h"

class BASEKEL_API TFileString {
public:
    static const char TCbackslash[2];  // "\"
    static const char TCcolon[2];      // ":"
    static const char TCpoint[2];      // "."
    static const char TCslash[2];      // "/"
    static const char TCunderscore[2]; // "_"

    TFileString();
    TFileString(TString path, unsigned int bIsDir = 0);
    TFileString(const TFileString& other);
    TFileString& operator=(const TFileString& other);
    TFileString& operator=(const TString& path);
    TFileString& operator=(const char* path);

    // Equal when drive, directory, name and extension are equal byte for byte.
    unsigned int operator==(const TFileString& other) const;
    unsigned int operator==(const TString& path) const;
    unsigned int operator==(const char* path) const;

    operator TString() const;
    TString GetFullName() const;
    TString GetDrv() const;
    TString GetDir() const;
    TString GetName() const;
    TString GetExt() const;
    TString GetDrvDir() const;
    TString GetNameExt() const;
    TString GetLastDir() const;
    TString GetDirString() const;

    void SetFullName(TString path, unsigned int bIsDir);
    void SetDrvDir(TString text);
    void SetNameExt(TString text);
    void SetDrv(TString drive);
    void SetDir(TString directory);
    void SetName(TString name);
    void SetExt(TString extension);

private:
    static TString TakeDrive(TString& path);
    void Rebuild();

    TString m_FullName;
    TString m_Drv;
    TString m_Dir;
    TString m_Name;
    TString m_Ext;
    DWORD m_bNoName;
};

BASEKEL_API void StringReplace(TString& s, TString sOld, TString sNew);
BASEKEL_API void StringReplaceEx(TString& s, TString sOld, TString sNew, unsigned int bAll);
BASEKEL_API void string_MakeReverse(TString& s);
BASEKEL_API long string_CountChar(TString& s, char c);

// s = the user's domain (environment variable "USERDOMAIN"), empty when unset.
BASEKEL_API void GetCurrentDomain(TString& s);

// Shortens path with "...\" in place of leading directories so that it fits
// maxWidth pixels in the device context's font.
BASEKEL_API void string_CutPath(HDC dc, TString& path, long maxWidth);

#endif
