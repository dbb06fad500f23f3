// The mapping between the DOS paths that callers use and host paths.
//
// A DOS path names a drive ("C:") whose root is a host directory (see
// docs/PATHS.md); '\' and '/' both separate components. A component that does
// not exist as spelled is looked up in its directory without regard to case,
// so that names written in another case still find their files; a name that
// does not exist at all keeps the caller's spelling, so that new files are
// created as the caller wrote them.
#ifndef BASEKEL_SRC_WIN32_PATHMAP_H
#define BASEKEL_SRC_WIN32_PATHMAP_H

#if !defined(_WIN32)

#include "win32/layer.h"

#include <string>

namespace kelwin {

// A caller's path resolved for system calls.
struct HostPath {
    std::string dos;           // the full DOS path, normalised
    std::string host;          // the host path to use with system calls
    std::string parentHost;    // the host directory that holds the last component
    std::string name;          // the last component as the caller spelled it
    bool isRoot = false;       // the path is the root of a drive
    bool parentIsRoot = false; // the last component lies in the root of a drive
    bool trailingSeparator = false;
    bool parentFound = true; // every directory above the last component exists
};

enum class Wildcards { Reject, InLastComponent };

// Resolves a caller's path. False, with the last error set, for a null or
// empty path (ERROR_PATH_NOT_FOUND), a name with characters Windows forbids
// (ERROR_INVALID_NAME), a drive without a root (ERROR_PATH_NOT_FOUND) or a
// network path (ERROR_BAD_NETPATH).
bool resolve_path(const char* text, HostPath& out, Wildcards wildcards = Wildcards::Reject);

// ERROR_FILE_NOT_FOUND when only the last component is missing, else
// ERROR_PATH_NOT_FOUND, as Windows tells the two apart.
DWORD missing_error(const HostPath& path);

// The full DOS path of a caller's text, as GetFullPathNameA computes it: made
// absolute against the current directory, '/' turned into '\', "." and ".."
// components applied, trailing dots and spaces of components removed. The
// file system is not consulted. False for a null or empty text.
bool full_dos_path(const char* text, std::string& out);

// The DOS path of an absolute host path, on the drive with the longest root
// that contains it.
std::string dos_from_host(const std::string& hostPath);

// The current directory as a DOS path; false with the last error set when
// the host cannot tell it.
bool current_dos_directory(std::string& out);

// Copies text and its NUL into a caller's buffer when they fit and returns
// the text's length; otherwise returns the size needed, NUL included.
DWORD copy_text_out(const std::string& text, LPSTR buffer, DWORD size);

// Case-insensitive comparison of ASCII letters, as Windows compares names.
bool same_name(const std::string& a, const std::string& b);

} // namespace kelwin

#endif // !_WIN32
#endif
