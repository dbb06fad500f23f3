// Code-page conversion between 8-bit text and UTF-16, for platforms without
// <windows.h>. The ANSI code page (CP_ACP) is Windows-1252 unless the
// environment variable BASEKEL_ACP names another supported code page; the
// results equal those of Windows for that code page, best-fit mappings and the
// default character '?' included.
#ifndef BASEKEL_WIN32_CODEPAGE_H
#define BASEKEL_WIN32_CODEPAGE_H

#if !defined(_WIN32)

#include "types.h"

#define CP_ACP 0
#define CP_OEMCP 1
#define CP_THREAD_ACP 3
#define CP_UTF8 65001

#define MB_PRECOMPOSED 0x00000001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_NO_BEST_FIT_CHARS 0x00000400
#define WC_ERR_INVALID_CHARS 0x00000080

WINBASEAPI UINT GetACP();
WINBASEAPI int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr,
                                   int cbMultiByte, LPWSTR lpWideCharStr, int cchWideChar);
WINBASEAPI int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr,
                                   int cchWideChar, LPSTR lpMultiByteStr, int cbMultiByte,
                                   LPCSTR lpDefaultChar, LPBOOL lpUsedDefaultChar);

#endif // !_WIN32
#endif
