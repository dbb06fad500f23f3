// Helpers for the code-page tests: each conversion runs into a buffer filled
// with a marker, so a test sees exactly what was written, what was left alone,
// the result and the last error (which Windows leaves untouched on success).
#ifndef BASEKEL_TESTS_CODEPAGE_SUPPORT_H
#define BASEKEL_TESTS_CODEPAGE_SUPPORT_H

#include "kelwin32.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cptest {

constexpr DWORD kUntouchedError = 0xDEADBEEF;
constexpr DWORD kSucceeded = 0; // what Failure() gives for a call that did not fail
constexpr WCHAR kWideMarker = 0x2323;
constexpr char kByteMarker = '#';

using Units = std::vector<WCHAR>;

// A UTF-16 text from a u"" literal, without a terminating NUL unless the
// literal spells one out.
inline Units U(const std::u16string& text) {
    return Units(text.begin(), text.end());
}

// The same with the terminating NUL, for calls with length -1.
inline Units Z(const std::u16string& text) {
    Units units = U(text);
    units.push_back(0);
    return units;
}

struct WideResult {
    int result;
    DWORD error;
    Units buffer; // the whole output buffer afterwards
    // The units written, as far as the result says.
    Units Written() const {
        return Units(buffer.begin(), buffer.begin() + (result > 0 ? result : 0));
    }
    // The last error when the call failed (returned 0), else kSucceeded.
    DWORD Failure() const { return result == 0 ? error : kSucceeded; }
};

// MultiByteToWideChar into a marked buffer of `capacity` units (null for 0).
inline WideResult ToWide(UINT codePage, DWORD flags, const std::string& bytes, int length,
                         int capacity) {
    WideResult r;
    r.buffer.assign(capacity > 0 ? capacity : 0, kWideMarker);
    SetLastError(kUntouchedError);
    r.result = MultiByteToWideChar(codePage, flags, bytes.data(), length,
                                   capacity > 0 ? r.buffer.data() : nullptr, capacity);
    r.error = GetLastError();
    return r;
}

// The whole string, explicit length, ample buffer.
inline WideResult ToWide(UINT codePage, DWORD flags, const std::string& bytes) {
    return ToWide(codePage, flags, bytes, static_cast<int>(bytes.size()),
                  static_cast<int>(bytes.size()) * 2 + 8);
}

struct ByteResult {
    int result;
    DWORD error;
    std::string buffer; // the whole output buffer afterwards
    BOOL used;          // 7 when the call left lpUsedDefaultChar alone
    std::string Written() const { return buffer.substr(0, result > 0 ? result : 0); }
    DWORD Failure() const { return result == 0 ? error : kSucceeded; }
};

constexpr BOOL kUsedUntouched = 7;

// WideCharToMultiByte into a marked buffer of `capacity` bytes (null for 0),
// with lpUsedDefaultChar when `askUsed`.
inline ByteResult ToBytes(UINT codePage, DWORD flags, const Units& units, int length, int capacity,
                          const char* defaultChar = nullptr, bool askUsed = true) {
    ByteResult r;
    r.buffer.assign(capacity > 0 ? capacity : 0, kByteMarker);
    r.used = kUsedUntouched;
    SetLastError(kUntouchedError);
    r.result = WideCharToMultiByte(codePage, flags, units.data(), length,
                                   capacity > 0 ? &r.buffer[0] : nullptr, capacity, defaultChar,
                                   askUsed ? &r.used : nullptr);
    r.error = GetLastError();
    return r;
}

// The whole text, explicit length, ample buffer; lpUsedDefaultChar only where
// the code page allows one (not UTF-8).
inline ByteResult ToBytes(UINT codePage, DWORD flags, const Units& units) {
    const int length = static_cast<int>(units.size());
    return ToBytes(codePage, flags, units, length, length * 4 + 8, nullptr, codePage != CP_UTF8);
}

// Wine stands in for Windows in the cross-platform test runs; a few checks
// skip where Wine is known to differ from Windows.
inline bool RunningOnWine() {
#if defined(_WIN32)
    HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    return ntdll && GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
    return false;
#endif
}

// FNV-1a over bytes, for compact golden digests of whole tables.
inline std::uint32_t Fnv1a(const std::string& bytes) {
    std::uint32_t hash = 2166136261u;
    for (unsigned char byte : bytes) {
        hash ^= byte;
        hash *= 16777619u;
    }
    return hash;
}

} // namespace cptest

#endif
