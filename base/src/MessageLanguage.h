// Languages of message files: Windows' primary language identifiers and the
// three-letter extensions of the message files written in them.
#ifndef BASEKEL_SRC_MESSAGELANGUAGE_H
#define BASEKEL_SRC_MESSAGELANGUAGE_H

#include "MessageSystem.h"

// The extension of a language's message file, without the dot ("eng"). A
// language without an extension of its own (neutral, invariant, unknown)
// uses English's.
const char* LanguageExtension(TLanguage language);

// The language whose extension this is ("ger" or ".ger", any case); false
// when no language has it.
bool LanguageOfExtension(const char* extension, TLanguage& language);

// The language a text names: its extension with or without the dot, or its
// English name ("German"), any case, blanks around it ignored.
bool LanguageOfName(const char* text, TLanguage& language);

// The primary language of a Windows language identifier.
TLanguage LanguageOfLangId(unsigned long langId);

#endif
