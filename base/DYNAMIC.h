// A file mapped into a reserved address range that grows with use:
// TDynamicMemoryMappedFile.
//
// Create reserves `size` bytes of address space (the reserve) and a guard zone
// after it, and maps the file's current content at the start. Callers see one
// flat block at the returned base: an access anywhere in the reserve beyond
// the mapped part, through Set, CopyIn, CopyOut or through a plain pointer,
// maps the file up to the next multiple of the growth step (growing the file
// when the mapping is writable) and goes on. Close unmaps everything and can
// cut the file to its final size.
//
// Errors come from the module's own origin, "DynamicError":
//   0  the address range could not be reserved
//   1  the file-mapping object could not be made
//   2  a view or the reservation after it could not be placed at its address
//   3  an access the mapping cannot serve: in the guard zone or beyond it,
//      a write to a mapping without GENERIC_WRITE, or through a closed object.
// Set, CopyIn and CopyOut raise code 3 after serving the part of the range
// that lies in the reserve. A plain-pointer access in the guard zone or beyond
// is left to the fault handling that was there before (by default it ends the
// process), because no error can be raised from inside a fault.
//
// Threads: growing briefly unmaps the whole range. Callers serialise their
// use of one mapping; a thread that faults on the range while another
// rebuilds it waits for the rebuild and goes on.
//
// Copies (copy constructor, operator=) share the range, as the original
// object's users expect; the range is released by Close through any of them,
// or when the last object sharing it is destroyed.
#ifndef BASEKEL_DYNAMIC_H
#define BASEKEL_DYNAMIC_H

#include "kelexport.h"
#include "kelwin32.h"

class TFile;

class BASEKEL_API TDynamicMemoryMappedFile {
public:
    TDynamicMemoryMappedFile();
    TDynamicMemoryMappedFile(const TDynamicMemoryMappedFile& other);
    TDynamicMemoryMappedFile& operator=(const TDynamicMemoryMappedFile& other);
    ~TDynamicMemoryMappedFile();

    // Reserves size bytes (the file's size when 0) rounded up to the
    // allocation granularity plus guard bytes, maps the file's content in
    // steps of `step` (rounded up likewise; 0 counts as one granule) and
    // returns the base. access is the file handle's desired access; only
    // GENERIC_READ and GENERIC_WRITE count. An object that shares a range
    // leaves it first.
    void* Create(void* file, unsigned long access, unsigned long size, unsigned long step,
                 unsigned long guard);
    // The same with the file object's handle and Mode().
    void* Create(TFile& file, unsigned long size, unsigned long step, unsigned long guard);
    // Unmaps and releases the range; when finalSize is not 0 and the mapping
    // is writable, cuts or extends the file to finalSize bytes. Clears all
    // fields.
    void Close(unsigned long finalSize);

    // The filter of a structured exception handler around code that uses the
    // range: EXCEPTION_CONTINUE_EXECUTION (-1) after mapping the faulting
    // address of an access violation inside the reserve, raises code 3 for
    // one in the guard zone, EXCEPTION_CONTINUE_SEARCH (0) otherwise. The
    // library installs a handler of its own that does this for every mapping;
    // callers need not call it.
    long ExceptionFilter(struct _EXCEPTION_POINTERS* info);

    // count bytes of value from base + offset.
    void Set(unsigned long offset, unsigned char value, unsigned long count);
    // Copies count bytes from base + offset to dst; returns dst.
    void* CopyOut(void* dst, unsigned long offset, unsigned long count);
    // Copies count bytes from src to base + offset; returns base + offset.
    void* CopyIn(void* src, unsigned long offset, unsigned long count);

protected:
    // Rebuilds the range with n bytes mapped (rounded up to the step), the
    // thread's priority raised to time-critical meanwhile.
    void AdjustRegion(unsigned long n);
    // Unmaps the view and releases the reservation and the mapping object.
    void ClearRegion();
    // Maps n bytes rounded up to the step at the base and reserves the rest
    // of the range again.
    void ConstructRegion(unsigned long n);

    DWORD m_nReserveSize; // bytes of address space for the file
    DWORD m_nStep;        // mapping granule
    DWORD m_nGuardSize;   // reserved, never mapped bytes after the reserve
    HANDLE m_hFile;       // the file mapped (not owned)
    HANDLE m_hMapping;    // the mapping object as this object last saw it
    DWORD m_nAccess;      // GENERIC_READ | GENERIC_WRITE bits of the file's access
    char* m_pBase;        // start of the reserved range

private:
    struct Access;
    void ClearFields();
    void Join(const TDynamicMemoryMappedFile& other);
    void Leave();
    Access PrepareAccess(unsigned long offset, unsigned long count, bool writes);
    void Raise(int code) const;

    // The entry of the table of live ranges that this object shares, valid
    // while that entry's generation is still m_nGeneration.
    unsigned int m_nRange;
    unsigned int m_nGeneration;
};

#endif
