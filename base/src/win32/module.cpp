// Module file names on Linux, from the dynamic linker's records.
#if !defined(_WIN32)

#include "win32/pathmap.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <sys/auxv.h>
#include <unistd.h>

KELWIN_SYSCALL(readlink);
KELWIN_SYSCALL(dladdr);
KELWIN_SYSCALL(realpath);

namespace {

bool executable_path(std::string& out) {
    char buffer[PATH_MAX];
    ssize_t n = sys_readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0) {
        kelwin::fail_errno(errno);
        return false;
    }
    out.assign(buffer, static_cast<std::size_t>(n));
    return true;
}

// Whether the record is the main program's: glibc names it after argv[0],
// which need not be a path, so it is recognised by its load address.
bool is_main_program(const Dl_info& info) {
    Dl_info program{};
    void* headers = reinterpret_cast<void*>(getauxval(AT_PHDR));
    return !*info.dli_fname ||
           (headers && sys_dladdr(headers, &program) && program.dli_fbase == info.dli_fbase);
}

// The file of the module loaded at (or containing) the address.
bool module_path(HMODULE module, std::string& out) {
    Dl_info info{};
    if (!sys_dladdr(module, &info) || !info.dli_fname) {
        kelwin::fail(ERROR_MOD_NOT_FOUND);
        return false;
    }
    if (is_main_program(info))
        return executable_path(out);
    char resolved[PATH_MAX];
    out = sys_realpath(info.dli_fname, resolved) ? resolved : info.dli_fname;
    return true;
}

} // namespace

DWORD GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize) {
    std::string host;
    if (!(hModule ? module_path(hModule, host) : executable_path(host)))
        return 0;
    const std::string dos = kelwin::dos_from_host(host);
    if (nSize == 0 || !lpFilename) {
        kelwin::fail(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    if (dos.size() < nSize) {
        std::memcpy(lpFilename, dos.c_str(), dos.size() + 1);
        return static_cast<DWORD>(dos.size());
    }
    std::memcpy(lpFilename, dos.c_str(), nSize - 1);
    lpFilename[nSize - 1] = '\0';
    kelwin::fail(ERROR_INSUFFICIENT_BUFFER);
    return nSize;
}

BOOL GetModuleHandleExA(DWORD dwFlags, LPCSTR lpModuleName, HMODULE* phModule) {
    if (!phModule)
        return kelwin::fail_with(ERROR_INVALID_PARAMETER, FALSE);
    *phModule = nullptr;
    Dl_info info{};
    if (!(dwFlags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS)) {
        if (lpModuleName)
            return kelwin::fail_with(ERROR_NOT_SUPPORTED, FALSE);
        void* headers = reinterpret_cast<void*>(getauxval(AT_PHDR));
        if (!headers || !sys_dladdr(headers, &info))
            return kelwin::fail_with(ERROR_MOD_NOT_FOUND, FALSE);
    } else if (!sys_dladdr(lpModuleName, &info) || !info.dli_fbase) {
        return kelwin::fail_with(ERROR_MOD_NOT_FOUND, FALSE);
    }
    *phModule = info.dli_fbase;
    return TRUE;
}

#endif // !_WIN32
