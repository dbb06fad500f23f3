// Expanding "[$1]", "[nl]", "[time]", "[$oem:NAME]" and the other macros of
// message texts.
#include "MessageMacros.h"

#include <cstdio>
#include <cstring>

namespace {

const char kOemPrefix[] = "[$oem:";
const std::size_t kOemPrefixLength = sizeof kOemPrefix - 1;

enum class Macro { None, Argument1, Argument2, Argument3, NewLine, Tab, Time, Date, Oem };

struct MacroName {
    const char* text;
    Macro macro;
};

const MacroName kMacros[] = {
    {"[$1]", Macro::Argument1},    {"[$2]", Macro::Argument2}, {"[$3]", Macro::Argument3},
    {"[newline]", Macro::NewLine}, {"[nl]", Macro::NewLine},   {"[tabulator]", Macro::Tab},
    {"[tab]", Macro::Tab},         {"[time]", Macro::Time},    {"[date]", Macro::Date},
};

bool StartsWith(const char* p, std::size_t available, const char* prefix, std::size_t length) {
    return available >= length && std::memcmp(p, prefix, length) == 0;
}

// The macro at p and its length; Macro::None when p starts none.
Macro MacroAt(const char* p, std::size_t available, std::size_t& length) {
    for (const MacroName& name : kMacros) {
        const std::size_t n = std::strlen(name.text);
        if (StartsWith(p, available, name.text, n)) {
            length = n;
            return name.macro;
        }
    }
    if (StartsWith(p, available, kOemPrefix, kOemPrefixLength)) {
        const void* close = std::memchr(p + kOemPrefixLength, ']', available - kOemPrefixLength);
        if (close) {
            length = static_cast<std::size_t>(static_cast<const char*>(close) - p) + 1;
            return Macro::Oem;
        }
    }
    return Macro::None;
}

void AppendLocalTime(bool date, std::string& out) {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    char text[32];
    if (date)
        std::snprintf(text, sizeof text, "%04u-%02u-%02u", unsigned(now.wYear),
                      unsigned(now.wMonth), unsigned(now.wDay));
    else
        std::snprintf(text, sizeof text, "%02u:%02u:%02u", unsigned(now.wHour),
                      unsigned(now.wMinute), unsigned(now.wSecond));
    out += text;
}

void AppendOemText(const char* macro, std::size_t length, const MacroContext& context,
                   std::string& out) {
    if (!context.oemTexts)
        return;
    const std::string name(macro + kOemPrefixLength, length - kOemPrefixLength - 1);
    TString text;
    if (context.oemTexts(name.c_str(), context.language, text))
        out += static_cast<const char*>(text);
}

void AppendArgument(const TString* argument, std::string& out) {
    if (argument)
        out += static_cast<const char*>(*argument);
}

void AppendMacro(Macro macro, const char* p, std::size_t length, const MacroContext& context,
                 std::string& out) {
    switch (macro) {
    case Macro::Argument1:
        AppendArgument(context.arguments[0], out);
        break;
    case Macro::Argument2:
        AppendArgument(context.arguments[1], out);
        break;
    case Macro::Argument3:
        AppendArgument(context.arguments[2], out);
        break;
    case Macro::NewLine:
        out += '\n';
        break;
    case Macro::Tab:
        out += '\t';
        break;
    case Macro::Time:
        AppendLocalTime(false, out);
        break;
    case Macro::Date:
        AppendLocalTime(true, out);
        break;
    case Macro::Oem:
        AppendOemText(p, length, context, out);
        break;
    case Macro::None:
        break;
    }
}

} // namespace

bool HasOemMacro(const char* text, std::size_t length) {
    for (const char* p = text; p + kOemPrefixLength <= text + length; ++p)
        if (std::memcmp(p, kOemPrefix, kOemPrefixLength) == 0)
            return true;
    return false;
}

void ExpandMacros(const char* text, std::size_t length, const MacroContext& context,
                  std::string& out) {
    const char* end = text + length;
    const char* p = text;
    while (p < end) {
        const char* open = static_cast<const char*>(std::memchr(p, '[', end - p));
        if (!open) {
            out.append(p, end);
            return;
        }
        out.append(p, open);
        std::size_t macroLength = 0;
        const Macro macro = MacroAt(open, static_cast<std::size_t>(end - open), macroLength);
        if (macro == Macro::None) {
            out += '[';
            p = open + 1;
            continue;
        }
        AppendMacro(macro, open, macroLength, context, out);
        p = open + macroLength;
    }
}
