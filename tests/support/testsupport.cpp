// Temporary directories and child processes for the tests, on both platforms.
#include "testsupport.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dirent.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
extern char** environ;
#endif

namespace testsupport {
namespace {

std::map<std::string, ChildFunction>& children() {
    static std::map<std::string, ChildFunction> registry;
    return registry;
}

#if defined(_WIN32)
const char kSeparator = '\\';

std::string temp_root() {
    char buffer[MAX_PATH + 1];
    DWORD n = GetTempPathA(sizeof buffer, buffer);
    std::string root(buffer, n);
    while (!root.empty() && (root.back() == '\\' || root.back() == '/'))
        root.pop_back();
    return root;
}

void remove_tree(const std::string& path) {
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((path + "\\*").c_str(), &data);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            std::string name = data.cFileName;
            if (name == "." || name == "..")
                continue;
            std::string child = path + "\\" + name;
            if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                remove_tree(child);
            else {
                SetFileAttributesA(child.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileA(child.c_str());
            }
        } while (FindNextFileA(find, &data));
        FindClose(find);
    }
    RemoveDirectoryA(path.c_str());
}

std::string self_path() {
    char buffer[MAX_PATH + 1];
    DWORD n = GetModuleFileNameA(nullptr, buffer, sizeof buffer);
    return std::string(buffer, n);
}

std::string quote(const std::string& arg) {
    std::string out = "\"";
    for (char c : arg) {
        if (c == '"')
            out += '\\';
        out += c;
    }
    return out + "\"";
}
#else
const char kSeparator = '/';

std::string temp_root() {
    const char* tmp = std::getenv("TMPDIR");
    return tmp && *tmp ? tmp : "/tmp";
}

void remove_tree(const std::string& path) {
    if (DIR* dir = opendir(path.c_str())) {
        while (dirent* entry = readdir(dir)) {
            std::string name = entry->d_name;
            if (name == "." || name == "..")
                continue;
            std::string child = path + "/" + name;
            struct stat st {};
            if (lstat(child.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
                remove_tree(child);
            else
                unlink(child.c_str());
        }
        closedir(dir);
    }
    rmdir(path.c_str());
}

std::string self_path() {
    char buffer[4096];
    ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}
#endif

bool make_dir(const std::string& path) {
#if defined(_WIN32)
    return CreateDirectoryA(path.c_str(), nullptr) != 0;
#else
    return mkdir(path.c_str(), 0700) == 0;
#endif
}

int process_id() {
#if defined(_WIN32)
    return static_cast<int>(GetCurrentProcessId());
#else
    return static_cast<int>(getpid());
#endif
}

} // namespace

TempDir::TempDir() {
    static std::atomic<int> counter{0};
    for (;;) {
        m_path = temp_root() + kSeparator + "basekel-test-" + std::to_string(process_id()) + "-" +
                 std::to_string(counter++);
        if (make_dir(m_path))
            break;
    }
}

TempDir::~TempDir() {
    remove_tree(m_path);
}

std::string TempDir::file(const std::string& name) const {
    return m_path + kSeparator + name;
}

ChildRegistration::ChildRegistration(const char* name, ChildFunction function) {
    children()[name] = function;
}

bool DispatchChild(int argc, char** argv, int& exitCode) {
    if (argc < 3 || std::strcmp(argv[1], "--child") != 0)
        return false;
    auto it = children().find(argv[2]);
    if (it == children().end()) {
        std::fprintf(stderr, "unknown child function %s\n", argv[2]);
        exitCode = 127;
        return true;
    }
    std::vector<std::string> args(argv + 3, argv + argc);
    exitCode = it->second(args);
    return true;
}

#if defined(_WIN32)
struct ChildProcess::Impl {
    PROCESS_INFORMATION info{};
    bool started = false;
};

ChildProcess::ChildProcess(const std::string& name, const std::vector<std::string>& args)
    : m_impl(new Impl) {
    std::string command = quote(self_path()) + " --child " + quote(name);
    for (const auto& arg : args)
        command += " " + quote(arg);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    m_impl->started = CreateProcessA(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr,
                                     nullptr, &startup, &m_impl->info) != 0;
}

ChildProcess::~ChildProcess() {
    if (m_impl->started) {
        Wait();
        CloseHandle(m_impl->info.hProcess);
        CloseHandle(m_impl->info.hThread);
    }
    delete m_impl;
}

bool ChildProcess::Started() const {
    return m_impl->started;
}

int ChildProcess::Wait() {
    if (!m_impl->started)
        return -1;
    WaitForSingleObject(m_impl->info.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(m_impl->info.hProcess, &code);
    return static_cast<int>(code);
}
#else
struct ChildProcess::Impl {
    pid_t pid = -1;
    bool waited = false;
    int status = -1;
};

ChildProcess::ChildProcess(const std::string& name, const std::vector<std::string>& args)
    : m_impl(new Impl) {
    std::string self = self_path();
    std::vector<std::string> all = {self, "--child", name};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& arg : all)
        argv.push_back(&arg[0]);
    argv.push_back(nullptr);
    if (posix_spawn(&m_impl->pid, self.c_str(), nullptr, nullptr, argv.data(), environ) != 0)
        m_impl->pid = -1;
}

ChildProcess::~ChildProcess() {
    Wait();
    delete m_impl;
}

bool ChildProcess::Started() const {
    return m_impl->pid > 0;
}

int ChildProcess::Wait() {
    if (m_impl->pid <= 0)
        return -1;
    if (!m_impl->waited) {
        int status = 0;
        while (waitpid(m_impl->pid, &status, 0) < 0) {
        }
        m_impl->waited = true;
        m_impl->status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_impl->status;
}
#endif

int RunChild(const std::string& name, const std::vector<std::string>& args) {
    ChildProcess child(name, args);
    return child.Wait();
}

} // namespace testsupport
