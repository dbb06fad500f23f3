// Placeholder: Latin-1 only, until the full code-page tables arrive.
#if !defined(_WIN32)
#include "win32/layer.h"
UINT GetACP() {
    return 1252;
}
int MultiByteToWideChar(UINT, DWORD, LPCSTR src, int n, LPWSTR dst, int size) {
    if (n < 0)
        n = static_cast<int>(__builtin_strlen(src)) + 1;
    if (size == 0)
        return n;
    for (int i = 0; i < n; ++i) {
        if (i >= size) {
            kelwin::fail(ERROR_INSUFFICIENT_BUFFER);
            return 0;
        }
        dst[i] = static_cast<unsigned char>(src[i]);
    }
    return n;
}
int WideCharToMultiByte(UINT, DWORD, LPCWSTR src, int n, LPSTR dst, int size, LPCSTR, LPBOOL) {
    if (n < 0) {
        n = 0;
        while (src[n])
            ++n;
        ++n;
    }
    if (size == 0)
        return n;
    for (int i = 0; i < n; ++i) {
        if (i >= size) {
            kelwin::fail(ERROR_INSUFFICIENT_BUFFER);
            return 0;
        }
        dst[i] = src[i] < 256 ? static_cast<char>(src[i]) : '?';
    }
    return n;
}
#endif
