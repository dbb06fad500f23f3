// Win32 base types and common constants for platforms without <windows.h>.
// Sizes follow Win32 on every host: DWORD, LONG and BOOL are 32 bits even where
// the C++ type 'long' is 64 bits, and WCHAR is a 16-bit UTF-16 unit.
#ifndef BASEKEL_WIN32_TYPES_H
#define BASEKEL_WIN32_TYPES_H

#if !defined(_WIN32)

#include <cstddef>
#include <cstdint>

#include "../kelexport.h"

// The Win32 calling-convention and parameter-annotation macros have no meaning here.
#define WINAPI
#define CALLBACK
#define APIENTRY
#define WINBASEAPI BASEKEL_API

// Microsoft's 64-bit integer keyword, as mingw-w64 also spells it.
#ifndef __int64
#define __int64 long long
#endif

typedef int BOOL;
typedef unsigned char BYTE;
typedef unsigned short WORD;
typedef std::uint32_t DWORD;
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef std::int64_t LONGLONG;
typedef std::uint64_t ULONGLONG;
typedef unsigned int UINT;
typedef int INT;
typedef char CHAR;
typedef unsigned short WCHAR;
typedef void* HANDLE;
typedef void* HINSTANCE;
typedef void* HMODULE;
typedef void* HWND;
typedef void* LPVOID;
typedef void* PVOID;
typedef const void* LPCVOID;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef DWORD* LPDWORD;
typedef BOOL* LPBOOL;
typedef LONG* PLONG;
typedef std::intptr_t INT_PTR;
typedef std::uintptr_t UINT_PTR;
typedef std::intptr_t LONG_PTR;
typedef std::uintptr_t ULONG_PTR;
typedef std::uintptr_t DWORD_PTR;
typedef std::size_t SIZE_T;

#define TRUE 1
#define FALSE 0

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFFu

// Records shared by several services (files, synchronisation objects, pipes).
typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef struct _OVERLAPPED {
    ULONG_PTR Internal;
    ULONG_PTR InternalHigh;
    union {
        struct {
            DWORD Offset;
            DWORD OffsetHigh;
        };
        void* Pointer;
    };
    HANDLE hEvent;
} OVERLAPPED, *LPOVERLAPPED;

#endif // !_WIN32
#endif
