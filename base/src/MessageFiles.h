// The file operations of the message catalogue, made with the Win32 calls
// directly: the catalogue reports its own failures in its own way (a text,
// a box, the library log) and never pushes onto the error stack it serves.
// Every open shares reading, writing and deletion, so that the catalogue
// never stands in the way of an editor or of another process replacing a
// file.
#ifndef BASEKEL_SRC_MESSAGEFILES_H
#define BASEKEL_SRC_MESSAGEFILES_H

#include "kelwin32.h"

#include <cstdint>
#include <string>
#include <vector>

namespace msgfiles {

struct Stamp {
    std::uint32_t size = 0;
    FILETIME written = {0, 0};
};

bool SameStamp(const Stamp& a, const Stamp& b);
// -1, 0, 1 as a is older than, as old as, newer than b.
int CompareTimes(const FILETIME& a, const FILETIME& b);

// Whether a file (not a directory) exists under this name.
bool Exists(const char* path);

// The size and last-write time of a file; false when it cannot be opened.
bool StampOf(const char* path, Stamp& stamp);

// The whole file and its stamp, taken on the same open.
bool ReadAll(const char* path, std::vector<char>& bytes, Stamp& stamp);

// Up to `count` bytes from `offset`; fewer at the end of the file.
bool ReadAt(const char* path, std::uint32_t offset, std::uint32_t count, std::vector<char>& bytes);

// Replaces the file by one holding `data`. The data is written to a fresh
// file in the same directory and renamed over the target, so that a reader
// sees either the old or the new file, never a part; two writers at once
// leave one of their files. Gives the Win32 error of the failing step.
bool ReplaceWith(const char* path, const std::vector<unsigned char>& data, DWORD& error);

// The directory part of a path, with its trailing separator ("C:\a\"), and
// the rest; the extension of the last component with its dot, or "".
std::string DirectoryOf(const std::string& path);
std::string ExtensionOf(const std::string& path);
std::string WithoutExtension(const std::string& path);

} // namespace msgfiles

#endif
