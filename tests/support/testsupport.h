// Helpers shared by the test programs.
#ifndef BASEKEL_TESTS_TESTSUPPORT_H
#define BASEKEL_TESTS_TESTSUPPORT_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace testsupport {

// A fresh directory below the system's temporary directory, removed with
// everything in it when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // The directory, ending without a separator, in the platform's spelling.
    const std::string& path() const { return m_path; }
    // path() + separator + name.
    std::string file(const std::string& name) const;

private:
    std::string m_path;
};

// Child processes: a test program started with "--child NAME ARGS..." runs the
// child function registered under NAME instead of the tests, and its return
// value is the process's exit code. RunChild starts this program that way and
// waits for it; it returns the exit code, or -1 when it could not be started.
using ChildFunction = int (*)(const std::vector<std::string>& args);

struct ChildRegistration {
    ChildRegistration(const char* name, ChildFunction function);
};

int RunChild(const std::string& name, const std::vector<std::string>& args = {});

// A started child that runs alongside the test; Wait() gives its exit code.
class ChildProcess {
public:
    ChildProcess(const std::string& name, const std::vector<std::string>& args = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    bool Started() const;
    int Wait();

private:
    struct Impl;
    Impl* m_impl;
};

// Called from main(): runs a child function when the command line asks for
// one. Returns true and sets exitCode if it did.
bool DispatchChild(int argc, char** argv, int& exitCode);

} // namespace testsupport

#define TEST_CHILD(name)                                                                           \
    static int name(const std::vector<std::string>& args);                                         \
    static ::testsupport::ChildRegistration name##_registration(#name, name);                      \
    static int name(const std::vector<std::string>& args)

#endif
