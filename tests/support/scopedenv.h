// An environment variable set (or removed) for the life of an object, and put
// back as it was afterwards; child processes started meanwhile inherit it.
#ifndef BASEKEL_TESTS_SCOPEDENV_H
#define BASEKEL_TESTS_SCOPEDENV_H

#include <cstdlib>
#include <string>

namespace testsupport {

class ScopedEnv {
public:
    // A null value removes the variable.
    ScopedEnv(const char* name, const char* value) : m_name(name) {
        const char* old = std::getenv(name);
        m_had = old != nullptr;
        m_old = old ? old : "";
        Set(value);
    }
    ~ScopedEnv() { Set(m_had ? m_old.c_str() : nullptr); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

    void Set(const char* value) {
#if defined(_WIN32)
        _putenv_s(m_name.c_str(), value ? value : ""); // empty removes it there
#else
        if (value)
            setenv(m_name.c_str(), value, 1);
        else
            unsetenv(m_name.c_str());
#endif
    }

private:
    std::string m_name;
    std::string m_old;
    bool m_had;
};

} // namespace testsupport

#endif
