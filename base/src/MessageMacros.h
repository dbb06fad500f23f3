// The macros inside message texts, expanded on every lookup.
#ifndef BASEKEL_SRC_MESSAGEMACROS_H
#define BASEKEL_SRC_MESSAGEMACROS_H

#include "MessageSystem.h"

#include <cstddef>
#include <string>

struct MacroContext {
    const TString* arguments[3];
    TLanguage language;
    TOemTextProvider oemTexts; // may be null
};

// Whether a text needs the OEM text provider (holds "[$oem:").
bool HasOemMacro(const char* text, std::size_t length);

// Appends the text with its macros replaced to `out`. Text that looks like a
// macro but is none stays as it is; what a macro inserts is not looked at
// again.
void ExpandMacros(const char* text, std::size_t length, const MacroContext& context,
                  std::string& out);

#endif
