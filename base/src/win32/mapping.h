// What the other files of the Linux platform layer need to know of file
// mappings and of the fault handler.
#ifndef BASEKEL_SRC_WIN32_MAPPING_H
#define BASEKEL_SRC_WIN32_MAPPING_H

#if !defined(_WIN32)

#include <sys/types.h>

namespace kelwin {

// True while a mapping object or a view of the file (device and inode) exists
// in this process.
bool file_is_mapped(dev_t device, ino_t inode);

// True while the calling thread runs the vectored exception handlers of a
// fault: code that may be reached from there must not take locks or allocate.
bool in_fault_handler();

} // namespace kelwin

#endif // !_WIN32
#endif
