// Windows share modes between opens of one file, across processes.
//
// Every open that reads, writes or deletes records what it does and what it
// refuses to share as shared byte-range locks (open-file-description locks,
// F_OFD_SETLK) on a few reserved bytes at the very end of the 63-bit offset
// range of the file itself: one byte per access right (read, write, delete)
// and one per right it denies to others. A new open first records itself and
// then looks for another open's lock on the bytes that conflict with it; on a
// conflict it takes its record back and fails with ERROR_SHARING_VIOLATION.
// The locks belong to the open file description, so they follow the handle
// and vanish with it, also when a process dies.
//
// Limits: two conflicting opens that race may both fail (never both
// succeed); a file that cannot be opened for reading by the process carries
// no record; the reserved bytes must not be locked for other purposes;
// file systems without byte-range locks do not enforce sharing.
#ifndef BASEKEL_SRC_WIN32_SHARE_H
#define BASEKEL_SRC_WIN32_SHARE_H

#if !defined(_WIN32)

#include "win32/layer.h"

namespace kelwin {

// Access rights and share modes in one bit set: read 1, write 2, delete 4,
// the values of FILE_SHARE_READ, FILE_SHARE_WRITE and FILE_SHARE_DELETE.
enum ShareRight : unsigned { kShareRead = 1, kShareWrite = 2, kShareDelete = 4 };

// Records an open with the given access and share rights on lockFd, a
// descriptor readable by the process and used for nothing else's locks.
// False with the last error set when it conflicts with another open.
bool share_claim(int lockFd, unsigned access, unsigned share);

// Whether an open of the file behind fd (which itself carries no record)
// refuses to share the given right.
bool share_refused(int fd, unsigned right);

} // namespace kelwin

#endif // !_WIN32
#endif
