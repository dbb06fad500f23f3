// The message catalogue as the rest of the library and its callers see it:
// the registry of named origins and the texts of (origin, code) pairs, read
// from the message file of the user's language.
//
// An origin code is the index at which its name was first registered, from 0;
// the library's five built-in origins always hold codes 0 to 4:
//   0 "SystemExeptions" (spelled so on purpose), 1 "SYSTEM" (the operating
//   system's messages, by system error number), 2 "BaseExceptions",
//   3 "FileError" (code 12 of it is the pass-through message whose text is its
//   first argument), 4 "DynamicError".
// The sections of the message file register their names as origins too.
// Every operation serialises on the catalogue's own lock and may be called
// from any thread. docs/MESSAGES.md describes the message file and its index.
#ifndef BASEKEL_MESSAGESYSTEM_H
#define BASEKEL_MESSAGESYSTEM_H

#include "kelexport.h"
#include "kelwin32.h"
#include "TString.h"

// At most this many origins can be registered.
#define KELMO_MAX_ORIGINS 1024

// No origin: the origin code of a cleared record and of an unknown name.
#define KELMO_NO_ORIGIN ((unsigned short)0xFFFF)

// Whether an operator is there to answer the library's message boxes. It is 1
// when the library starts; the meaning of other values is left to the
// applications that set them.
typedef int TOperatorStatus;

// A language: Windows' primary language identifier (LANG_ENGLISH,
// LANG_GERMAN, ...). Its message file carries a three-letter extension
// (".eng", ".ger", ".dut", ...; see GetLanguageExtension).
typedef unsigned short TLanguage;

// The text of a message with its three arguments filled in and the macros of
// the text expanded:
//   [$1] [$2] [$3]        the arguments (an empty argument gives nothing)
//   [newline] [nl]        a line feed
//   [tabulator] [tab]     a tab
//   [time] [date]         the local time "hh:mm:ss" and date "yyyy-mm-dd"
//   [$oem:NAME]           the text provider's text NAME (see SetOemTextProvider)
// Arguments are inserted as they are: macros inside them are not expanded.
// Origin 1 is the operating system's text for the system error number
// `code`, without its trailing line end; (3, 12) is the pass-through message,
// whose text is p1 as it stands. Any pair without a text gives
//   no message for 0x<origin>:0x<code> ("<p1>","<p2>","<p3>")
// Never throws. On Windows the name is decorated like any ANSI function, as
// GetMessageA.
BASEKEL_API TString GetMessage(unsigned short origin, unsigned short code,
                               const TString& p1 = TString::NullString,
                               const TString& p2 = TString::NullString,
                               const TString& p3 = TString::NullString);

// GetMessage followed by " (0x%.8x)" with the caller's record number, unless
// bAppendNumber is 0.
BASEKEL_API TString GetMessageNr(unsigned long number, unsigned short origin, unsigned short code,
                                 const TString& p1 = TString::NullString,
                                 const TString& p2 = TString::NullString,
                                 const TString& p3 = TString::NullString,
                                 unsigned int bAppendNumber = 1);

// Registers an origin by name (exact, case-sensitive) and returns its code;
// a name registered before keeps its earlier code. The module word, source
// file and line say who registered it. Returns KELMO_NO_ORIGIN for a null
// name or when KELMO_MAX_ORIGINS origins are registered already.
BASEKEL_API unsigned short RegisterOrigin(const char* originName, const char* moduleName,
                                          const char* sourceFile, unsigned long line);

// The code registered under exactly this name, or KELMO_NO_ORIGIN.
BASEKEL_API unsigned short SearchOriginCode(const TString& name);

// The name of an origin; "unknown origin code <n>" for a code above the last
// registered one.
BASEKEL_API TString GetOriginString(unsigned short origin);

BASEKEL_API TOperatorStatus GetOperatorStatus();
// Replaces the operator status and returns the previous one.
BASEKEL_API TOperatorStatus SetOperatorStatus(TOperatorStatus status);

// Chooses the message file. A name without an extension is completed with
// the extension of the current language (".eng", ".ger", ...) when the file
// is opened; a name with an extension is used as it is. The file is opened
// at the next lookup.
//   SetMessageFileName: relative to the message directory, the folder
//     "MESSAGE" beside the executable ("<dir of the .exe>\MESSAGE\<name>").
//   SetMessageFileNameAbs: a full path.
BASEKEL_API void SetMessageFileName(const TString& name);
BASEKEL_API void SetMessageFileNameAbs(const TString& path);

// The product key below "SOFTWARE\KELMO\" that the catalogue belongs to.
BASEKEL_API void SetProductRegistryKey(const TString& key);
BASEKEL_API TString GetProductRegistryKey();

// The language of the message file in use (opening it if it is not open):
// the language its extension names, else the language chosen for the user.
BASEKEL_API TLanguage GetCurrentLanguage();

// The full name of the message file in use; empty when there is none.
BASEKEL_API TString GetMessageFileName();

// The extension of a language's message file, with its dot (".ger");
// languages without one of their own give English's.
BASEKEL_API TString GetLanguageExtension(TLanguage language);

// The source of the [$oem:NAME] macro: sets `text` and returns 1 when it has
// a text of that name in that language, else returns 0 (the macro then gives
// nothing). Called without the catalogue's lock, so it may ask the catalogue
// for texts itself. Null (the default) gives every [$oem:...] the empty text.
typedef unsigned int (*TOemTextProvider)(const char* name, TLanguage language, TString& text);
// Installs a provider and returns the previous one.
BASEKEL_API TOemTextProvider SetOemTextProvider(TOemTextProvider provider);

// Where the catalogue's boxes to the operator go (a message file missing at
// start-up): a handler receives text, caption and MB_* style and returns the
// button chosen (IDOK, IDCANCEL, ...). Null (the default) shows them with
// MessageBoxA. Installs a handler and returns the previous one.
typedef int (*TMessageBoxHandler)(const char* text, const char* caption, unsigned int type);
BASEKEL_API TMessageBoxHandler SetMessageBoxHandler(TMessageBoxHandler handler);

#endif
