// Environment variables on Linux with Windows' case-insensitive names.
#if !defined(_WIN32)

#include "win32/pathmap.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

extern char** environ;

KELWIN_SYSCALL(setenv);
KELWIN_SYSCALL(unsetenv);

namespace {

bool valid_name(LPCSTR name) {
    return name && *name && !std::strchr(name, '=');
}

// The variable's name as the environment spells it: the exact spelling when
// it is set, else the first set variable that differs only in case.
bool spelled_name(LPCSTR name, std::string& out) {
    if (std::getenv(name)) {
        out = name;
        return true;
    }
    for (char** entry = environ; entry && *entry; ++entry) {
        const char* equals = std::strchr(*entry, '=');
        if (!equals)
            continue;
        std::string candidate(*entry, static_cast<std::size_t>(equals - *entry));
        if (kelwin::same_name(candidate, name)) {
            out = candidate;
            return true;
        }
    }
    return false;
}

} // namespace

DWORD GetEnvironmentVariableA(LPCSTR lpName, LPSTR lpBuffer, DWORD nSize) {
    std::string name;
    if (!valid_name(lpName) || !spelled_name(lpName, name)) {
        kelwin::fail(ERROR_ENVVAR_NOT_FOUND);
        return 0;
    }
    const std::string value = std::getenv(name.c_str());
    return kelwin::copy_text_out(value, lpBuffer, nSize);
}

BOOL SetEnvironmentVariableA(LPCSTR lpName, LPCSTR lpValue) {
    if (!valid_name(lpName)) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    std::string name;
    if (!spelled_name(lpName, name))
        name = lpName;
    const int rc = lpValue ? sys_setenv(name.c_str(), lpValue, 1) : sys_unsetenv(name.c_str());
    if (rc != 0) {
        kelwin::fail_errno(errno);
        return FALSE;
    }
    return TRUE;
}

#endif // !_WIN32
