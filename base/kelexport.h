// The compiler-specific markers of the library's interface, kept in this one
// header: the export macro (everything else is hidden, on Linux by the
// visibility preset and on Windows by default) and printf-format checking.
#ifndef BASEKEL_KELEXPORT_H
#define BASEKEL_KELEXPORT_H

#if defined(_WIN32)
#if defined(BASEKEL_BUILDING)
#define BASEKEL_API __declspec(dllexport)
#else
#define BASEKEL_API __declspec(dllimport)
#endif
#else
#define BASEKEL_API __attribute__((visibility("default")))
#endif

// Lets the compiler check printf-style arguments of the library's formatting
// functions (format index, first argument index; 'this' counts as 1).
#if defined(__GNUC__)
#define BASEKEL_PRINTF_FORMAT(fmt, first) __attribute__((format(printf, fmt, first)))
#else
#define BASEKEL_PRINTF_FORMAT(fmt, first)
#endif

#endif
