// Virtual memory and file mappings, for platforms without <windows.h>.
//
// Address space is handed out as on Windows: reservations and views start on
// a multiple of the allocation granularity (64 KiB) and cover whole pages; a
// view is placed only where the address space is free, never over another
// allocation, so that MapViewOfFileEx and VirtualAlloc at a given address fail
// with ERROR_INVALID_ADDRESS where Windows' would. Mapping objects are
// unnamed and belong to this process.
//
// The functions that a fault handler needs to grow a mapping (VirtualAlloc,
// VirtualFree, VirtualQuery, CreateFileMappingA, MapViewOfFileEx,
// UnmapViewOfFile, CloseHandle of a mapping) allocate no heap memory and take
// no lock that another path holds while it can fault, so they may be called
// from a synchronous SIGSEGV handler (see win32/exceptions.h).
#ifndef BASEKEL_WIN32_MEMORY_H
#define BASEKEL_WIN32_MEMORY_H

#if !defined(_WIN32)

#include "types.h"

// Allocation types and states.
#define MEM_COMMIT 0x00001000u
#define MEM_RESERVE 0x00002000u
#define MEM_DECOMMIT 0x00004000u
#define MEM_RELEASE 0x00008000u
#define MEM_FREE 0x00010000u
#define MEM_PRIVATE 0x00020000u
#define MEM_MAPPED 0x00040000u
#define MEM_TOP_DOWN 0x00100000u

// Page protections.
#define PAGE_NOACCESS 0x01u
#define PAGE_READONLY 0x02u
#define PAGE_READWRITE 0x04u
#define PAGE_WRITECOPY 0x08u
#define PAGE_EXECUTE 0x10u
#define PAGE_EXECUTE_READ 0x20u
#define PAGE_EXECUTE_READWRITE 0x40u
#define PAGE_EXECUTE_WRITECOPY 0x80u
#define SEC_COMMIT 0x08000000u

// Access to a view.
#define FILE_MAP_COPY 0x0001u
#define FILE_MAP_WRITE 0x0002u
#define FILE_MAP_READ 0x0004u
#define FILE_MAP_ALL_ACCESS 0x000F001Fu

#define PROCESSOR_ARCHITECTURE_INTEL 0
#define PROCESSOR_ARCHITECTURE_ARM 5
#define PROCESSOR_ARCHITECTURE_AMD64 9
#define PROCESSOR_ARCHITECTURE_ARM64 12
#define PROCESSOR_ARCHITECTURE_UNKNOWN 0xFFFF

typedef struct _SYSTEM_INFO {
    union {
        DWORD dwOemId;
        struct {
            WORD wProcessorArchitecture;
            WORD wReserved;
        };
    };
    DWORD dwPageSize;
    LPVOID lpMinimumApplicationAddress;
    LPVOID lpMaximumApplicationAddress;
    DWORD_PTR dwActiveProcessorMask;
    DWORD dwNumberOfProcessors;
    DWORD dwProcessorType;
    DWORD dwAllocationGranularity;
    WORD wProcessorLevel;
    WORD wProcessorRevision;
} SYSTEM_INFO, *LPSYSTEM_INFO;

typedef struct _MEMORY_BASIC_INFORMATION {
    LPVOID BaseAddress;
    LPVOID AllocationBase;
    DWORD AllocationProtect;
    WORD PartitionId;
    SIZE_T RegionSize;
    DWORD State;
    DWORD Protect;
    DWORD Type;
} MEMORY_BASIC_INFORMATION, *PMEMORY_BASIC_INFORMATION;

// The page size of the host and an allocation granularity of 64 KiB.
WINBASEAPI void GetSystemInfo(LPSYSTEM_INFO lpSystemInfo);

// Reserves (MEM_RESERVE) address space without access, or reserves and
// commits (MEM_RESERVE | MEM_COMMIT, or MEM_COMMIT without an address)
// zero-filled memory with the given protection. A given address is rounded
// down to the allocation granularity; the range must be free, else
// ERROR_INVALID_ADDRESS. Committing or decommitting part of an existing
// reservation is not supported here (ERROR_NOT_SUPPORTED).
WINBASEAPI LPVOID VirtualAlloc(LPVOID lpAddress, SIZE_T dwSize, DWORD flAllocationType,
                               DWORD flProtect);
// MEM_RELEASE with size 0 at the base of an allocation made by VirtualAlloc.
// A view is released with UnmapViewOfFile (ERROR_INVALID_PARAMETER here).
WINBASEAPI BOOL VirtualFree(LPVOID lpAddress, SIZE_T dwSize, DWORD dwFreeType);
// Describes the allocation containing the address. Memory that this layer did
// not allocate is described page by page: MEM_FREE where nothing is mapped,
// else a committed private page (PAGE_READWRITE).
WINBASEAPI SIZE_T VirtualQuery(LPCVOID lpAddress, PMEMORY_BASIC_INFORMATION lpBuffer,
                               SIZE_T dwLength);

// A mapping object for a file opened with CreateFileA (or, with
// INVALID_HANDLE_VALUE, for anonymous memory of the given size). A maximum
// size of 0 takes the file's size (an empty file fails with
// ERROR_FILE_INVALID); a larger size grows the file with PAGE_READWRITE and
// fails with ERROR_NOT_ENOUGH_MEMORY otherwise. PAGE_READWRITE needs a handle
// open for reading and writing, the others one open for reading. Names are
// not supported (ERROR_NOT_SUPPORTED). The object keeps the file open after
// its handle is closed. While a mapping object or a view of a file exists in
// this process, the file cannot be made shorter (ERROR_USER_MAPPED_FILE).
WINBASEAPI HANDLE CreateFileMappingA(HANDLE hFile, LPSECURITY_ATTRIBUTES lpFileMappingAttributes,
                                     DWORD flProtect, DWORD dwMaximumSizeHigh,
                                     DWORD dwMaximumSizeLow, LPCSTR lpName);
// Maps bytes of the object from a file offset that is a multiple of the
// allocation granularity (0 bytes: to the end of the object). A base address
// must be a multiple of the granularity and the range free.
WINBASEAPI LPVOID MapViewOfFile(HANDLE hFileMappingObject, DWORD dwDesiredAccess,
                                DWORD dwFileOffsetHigh, DWORD dwFileOffsetLow,
                                SIZE_T dwNumberOfBytesToMap);
WINBASEAPI LPVOID MapViewOfFileEx(HANDLE hFileMappingObject, DWORD dwDesiredAccess,
                                  DWORD dwFileOffsetHigh, DWORD dwFileOffsetLow,
                                  SIZE_T dwNumberOfBytesToMap, LPVOID lpBaseAddress);
// Unmaps the view that contains the address.
WINBASEAPI BOOL UnmapViewOfFile(LPCVOID lpBaseAddress);

#endif // !_WIN32
#endif
