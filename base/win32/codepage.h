// Code-page conversion between 8-bit text and UTF-16, for platforms without
// <windows.h>. The code pages carried are Windows-1252 and UTF-8 (CP_UTF8).
// The ANSI code page (CP_ACP; CP_THREAD_ACP and CP_OEMCP are the same here)
// is Windows-1252 unless the environment variable BASEKEL_ACP names another
// carried code page by its number (e.g. BASEKEL_ACP=65001 for UTF-8); it is
// read once, at the first use. The results equal those of Windows for these
// code pages: best-fit mappings, the default character '?', lpUsedDefaultChar,
// the flags below and the error codes included. Any other code page fails
// with ERROR_INVALID_PARAMETER, as one not installed does on Windows.
#ifndef BASEKEL_WIN32_CODEPAGE_H
#define BASEKEL_WIN32_CODEPAGE_H

#if !defined(_WIN32)

#include "types.h"

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_MACCP 2
#define CP_THREAD_ACP 3
#define CP_SYMBOL 42
#define CP_UTF7 65000
#define CP_UTF8 65001

#define MB_PRECOMPOSED 0x00000001
#define MB_COMPOSITE 0x00000002
#define MB_USEGLYPHCHARS 0x00000004
#define MB_ERR_INVALID_CHARS 0x00000008

#define WC_DISCARDNS 0x00000010
#define WC_SEPCHARS 0x00000020
#define WC_DEFAULTCHAR 0x00000040
#define WC_ERR_INVALID_CHARS 0x00000080
#define WC_COMPOSITECHECK 0x00000200
#define WC_NO_BEST_FIT_CHARS 0x00000400

WINBASEAPI UINT GetACP();
WINBASEAPI int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr,
                                   int cbMultiByte, LPWSTR lpWideCharStr, int cchWideChar);
WINBASEAPI int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr,
                                   int cchWideChar, LPSTR lpMultiByteStr, int cbMultiByte,
                                   LPCSTR lpDefaultChar, LPBOOL lpUsedDefaultChar);

#endif // !_WIN32
#endif
