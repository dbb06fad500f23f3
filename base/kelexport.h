// The one macro that marks the library's exported interface. Everything else
// is hidden, on Linux by the visibility preset and on Windows by default.
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

#endif
