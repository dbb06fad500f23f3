// Device contexts and text measuring on Linux, with FreeType. The font's
// advance widths of the 256 characters of the ANSI code page are measured once
// per process; measuring a text is then a sum over a table.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <cstdlib>
#include <mutex>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace {

constexpr int kPixelHeight = 16;
constexpr int kFallbackWidth = 8;
constexpr unsigned kDeviceContextMagic = 0x44435458; // "DCTX"

const char* const kDefaultFonts[] = {
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
    "/usr/share/fonts/TTF/DejaVuSans.ttf",
    "/usr/share/fonts/dejavu/DejaVuSans.ttf",
};

struct DeviceContext {
    unsigned magic = kDeviceContextMagic;
};

struct FontMetrics {
    LONG widths[256];
    LONG height;
};

bool LoadFace(FT_Library library, FT_Face* face) {
    if (const char* chosen = std::getenv("BASEKEL_FONT"))
        if (FT_New_Face(library, chosen, 0, face) == 0)
            return true;
    for (const char* path : kDefaultFonts)
        if (FT_New_Face(library, path, 0, face) == 0)
            return true;
    return false;
}

void MeasureWithFreeType(FontMetrics& metrics) {
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0)
        return;
    FT_Face face = nullptr;
    if (LoadFace(library, &face) && FT_Set_Pixel_Sizes(face, 0, kPixelHeight) == 0) {
        metrics.height = static_cast<LONG>(
            (face->size->metrics.ascender - face->size->metrics.descender + 63) / 64);
        for (int byte = 0; byte < 256; ++byte) {
            const char text[2] = {static_cast<char>(byte), 0};
            WCHAR unit[2] = {0, 0};
            MultiByteToWideChar(CP_ACP, 0, text, 1, unit, 1);
            if (FT_Load_Char(face, unit[0], FT_LOAD_DEFAULT) == 0)
                metrics.widths[byte] = static_cast<LONG>((face->glyph->advance.x + 32) / 64);
        }
    }
    if (face)
        FT_Done_Face(face);
    FT_Done_FreeType(library);
}

const FontMetrics& Metrics() {
    static FontMetrics metrics;
    static std::once_flag once;
    std::call_once(once, [] {
        for (LONG& width : metrics.widths)
            width = kFallbackWidth;
        metrics.height = kPixelHeight;
        MeasureWithFreeType(metrics);
    });
    return metrics;
}

DeviceContext* FromHandle(HDC hdc) {
    auto* dc = static_cast<DeviceContext*>(hdc);
    return dc && dc->magic == kDeviceContextMagic ? dc : nullptr;
}

HDC NewDeviceContext() {
    return new DeviceContext;
}

BOOL DestroyDeviceContext(HDC hdc) {
    DeviceContext* dc = FromHandle(hdc);
    if (!dc) {
        kelwin::fail(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    dc->magic = 0;
    delete dc;
    return TRUE;
}

} // namespace

HDC GetDC(HWND hWnd) {
    if (hWnd) {
        kelwin::fail(ERROR_INVALID_HANDLE); // there are no windows here
        return nullptr;
    }
    return NewDeviceContext();
}

int ReleaseDC(HWND, HDC hDC) {
    return DestroyDeviceContext(hDC);
}

HDC CreateCompatibleDC(HDC) {
    return NewDeviceContext();
}

BOOL DeleteDC(HDC hdc) {
    return DestroyDeviceContext(hdc);
}

BOOL GetTextExtentPoint32A(HDC hdc, LPCSTR lpString, int c, LPSIZE psizl) {
    if (!FromHandle(hdc)) {
        kelwin::fail(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (c < 0 || !psizl || (c > 0 && !lpString)) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const FontMetrics& metrics = Metrics();
    LONG width = 0;
    for (int i = 0; i < c; ++i)
        width += metrics.widths[static_cast<unsigned char>(lpString[i])];
    psizl->cx = width;
    psizl->cy = metrics.height;
    return TRUE;
}

#endif // !_WIN32
