// The message catalogue: origin registry, operator status and message texts.
#include "MessageCatalogue.h"

#include <cstring>

namespace {

// The origins every process has, in the order that gives them codes 0 to 4.
const char* const kBuiltInOrigins[] = {"SystemExeptions", "SYSTEM", "BaseExceptions", "FileError",
                                       "DynamicError"};

const unsigned short kSystemOrigin = 1;
const unsigned short kPassThroughOrigin = 3;
const unsigned short kPassThroughCode = 12;

// FormatMessageA writes system texts into a buffer of this size.
const DWORD kSystemTextSize = 1024;

const char* TextOrEmpty(const char* p) {
    return p ? p : "";
}

// The operating system's text for a system error number, without the line
// end Windows puts after it; false when the system has no text for it.
bool SystemText(DWORD code, TString& text) {
    char buffer[kSystemTextSize];
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, code, 0, buffer, kSystemTextSize, nullptr);
    if (length == 0 || length >= kSystemTextSize)
        return false;
    while (length > 0 && (buffer[length - 1] == '\n' || buffer[length - 1] == '\r'))
        --length;
    buffer[length] = '\0';
    text = buffer;
    return true;
}

} // namespace

TMessageSystem::TMessageSystem() : m_operatorStatus(1) {
    for (const char* name : kBuiltInOrigins)
        RegisterOrigin(name, "BASE", __FILE__, __LINE__);
}

long TMessageSystem::IndexOf(const char* name) const {
    for (std::size_t i = 0; i < m_origins.size(); ++i)
        if (std::strcmp(m_origins[i].name, name) == 0)
            return static_cast<long>(i);
    return -1;
}

unsigned short TMessageSystem::RegisterOrigin(const char* name, const char* module,
                                              const char* sourceFile, unsigned long line) {
    if (!name)
        return KELMO_NO_ORIGIN;
    std::lock_guard<std::mutex> guard(m_lock);
    const long known = IndexOf(name);
    if (known >= 0)
        return static_cast<unsigned short>(known);
    if (m_origins.size() >= KELMO_MAX_ORIGINS)
        return KELMO_NO_ORIGIN;
    m_origins.push_back(Origin{name, TextOrEmpty(module), TextOrEmpty(sourceFile), line});
    return static_cast<unsigned short>(m_origins.size() - 1);
}

unsigned short TMessageSystem::SearchOriginCode(const char* name) const {
    std::lock_guard<std::mutex> guard(m_lock);
    const long index = IndexOf(TextOrEmpty(name));
    return index >= 0 ? static_cast<unsigned short>(index) : KELMO_NO_ORIGIN;
}

TString TMessageSystem::GetOriginString(unsigned short origin) const {
    std::lock_guard<std::mutex> guard(m_lock);
    if (origin < m_origins.size())
        return m_origins[origin].name;
    TString text;
    text.Format("unknown origin code %d", static_cast<int>(origin));
    return text;
}

bool TMessageSystem::FindText(unsigned short origin, unsigned short code, const TString& p1,
                              TString& text) const {
    if (origin == kSystemOrigin)
        return SystemText(code, text);
    if (origin == kPassThroughOrigin && code == kPassThroughCode) {
        text = p1;
        return true;
    }
    return false;
}

TString TMessageSystem::GetMessage(unsigned short origin, unsigned short code, const TString& p1,
                                   const TString& p2, const TString& p3) const {
    std::lock_guard<std::mutex> guard(m_lock);
    TString text;
    if (FindText(origin, code, p1, text))
        return text;
    text.Format("no message for 0x%X:0x%X (\"%s\",\"%s\",\"%s\")", static_cast<unsigned>(origin),
                static_cast<unsigned>(code), static_cast<const char*>(p1),
                static_cast<const char*>(p2), static_cast<const char*>(p3));
    return text;
}

TOperatorStatus TMessageSystem::GetOperatorStatus() const {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_operatorStatus;
}

TOperatorStatus TMessageSystem::SetOperatorStatus(TOperatorStatus status) {
    std::lock_guard<std::mutex> guard(m_lock);
    const TOperatorStatus previous = m_operatorStatus;
    m_operatorStatus = status;
    return previous;
}

TMessageSystem& TheMessageSystem() {
    // Never destroyed: see the header.
    static TMessageSystem* const catalogue = new TMessageSystem();
    return *catalogue;
}

// ---------------------------------------------------------------------------
// The exported functions

TString GetMessage(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
                   const TString& p3) {
    return TheMessageSystem().GetMessage(origin, code, p1, p2, p3);
}

unsigned short RegisterOrigin(const char* originName, const char* moduleName,
                              const char* sourceFile, unsigned long line) {
    return TheMessageSystem().RegisterOrigin(originName, moduleName, sourceFile, line);
}

unsigned short SearchOriginCode(const TString& name) {
    return TheMessageSystem().SearchOriginCode(name);
}

TString GetOriginString(unsigned short origin) {
    return TheMessageSystem().GetOriginString(origin);
}

TOperatorStatus GetOperatorStatus() {
    return TheMessageSystem().GetOperatorStatus();
}

TOperatorStatus SetOperatorStatus(TOperatorStatus status) {
    return TheMessageSystem().SetOperatorStatus(status);
}
