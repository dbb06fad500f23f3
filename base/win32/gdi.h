// Device contexts and text measuring, for platforms without <windows.h>.
// A device context here carries one font, DejaVu Sans at 16 pixels (the size
// of the Windows system font), rendered with FreeType to measure advance
// widths; BASEKEL_FONT names another TrueType file. Without a usable font,
// every character measures 8 by 16 pixels.
#ifndef BASEKEL_WIN32_GDI_H
#define BASEKEL_WIN32_GDI_H

#if !defined(_WIN32)

#include "types.h"

typedef void* HDC;

typedef struct tagSIZE {
    LONG cx;
    LONG cy;
} SIZE, *LPSIZE;

// The screen's device context (hWnd must be null here) and its release.
WINBASEAPI HDC GetDC(HWND hWnd);
WINBASEAPI int ReleaseDC(HWND hWnd, HDC hDC);

// A memory device context and its deletion.
WINBASEAPI HDC CreateCompatibleDC(HDC hdc);
WINBASEAPI BOOL DeleteDC(HDC hdc);

// The width and height of `c` characters of lpString in the context's font.
WINBASEAPI BOOL GetTextExtentPoint32A(HDC hdc, LPCSTR lpString, int c, LPSIZE psizl);

#endif // !_WIN32
#endif
