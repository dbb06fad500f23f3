// Vectored exception handlers for processor faults, for platforms without
// <windows.h>.
//
// A SIGSEGV or SIGBUS raised by a faulting instruction is offered to the
// registered handlers as EXCEPTION_ACCESS_VIOLATION or
// EXCEPTION_IN_PAGE_ERROR, with ExceptionInformation[0] 0 for a read and 1
// for a write (known on x86-64; 0 elsewhere) and ExceptionInformation[1] the
// faulting address. A handler that returns EXCEPTION_CONTINUE_EXECUTION
// repeats the instruction; when none does, the fault goes to the signal
// handler that was installed before the first handler was added (by default
// the process ends with the signal).
//
// The handlers run inside the signal handler of the faulting thread: they may
// call only what is safe there (no heap, no locks that the interrupted code
// might hold, no exceptions). ContextRecord->HostContext is the host's
// ucontext_t.
#ifndef BASEKEL_WIN32_EXCEPTIONS_H
#define BASEKEL_WIN32_EXCEPTIONS_H

#if !defined(_WIN32)

#include "types.h"

#define EXCEPTION_ACCESS_VIOLATION 0xC0000005u
#define EXCEPTION_IN_PAGE_ERROR 0xC0000006u
#define EXCEPTION_MAXIMUM_PARAMETERS 15

#define EXCEPTION_EXECUTE_HANDLER 1
#define EXCEPTION_CONTINUE_SEARCH 0
#define EXCEPTION_CONTINUE_EXECUTION (-1)

typedef struct _EXCEPTION_RECORD {
    DWORD ExceptionCode;
    DWORD ExceptionFlags;
    struct _EXCEPTION_RECORD* ExceptionRecord;
    LPVOID ExceptionAddress;
    DWORD NumberParameters;
    ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
} EXCEPTION_RECORD, *PEXCEPTION_RECORD;

typedef struct _CONTEXT {
    void* HostContext;
} CONTEXT, *PCONTEXT;

typedef struct _EXCEPTION_POINTERS {
    PEXCEPTION_RECORD ExceptionRecord;
    PCONTEXT ContextRecord;
} EXCEPTION_POINTERS, *PEXCEPTION_POINTERS;

typedef LONG(CALLBACK* PVECTORED_EXCEPTION_HANDLER)(struct _EXCEPTION_POINTERS* ExceptionInfo);

// Adds a handler, called before the others when First is non-zero, else
// after them. Returns the handle for RemoveVectoredExceptionHandler, or null
// when no more handlers can be added (at most 32).
WINBASEAPI LPVOID AddVectoredExceptionHandler(ULONG First, PVECTORED_EXCEPTION_HANDLER Handler);
// Non-zero when the handle named a registered handler.
WINBASEAPI ULONG RemoveVectoredExceptionHandler(LPVOID Handle);

#endif // !_WIN32
#endif
