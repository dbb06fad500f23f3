// The message catalogue as the rest of the library and its callers see it:
// the registry of named origins and the texts of (origin, code) pairs.
//
// An origin code is the index at which its name was first registered, from 0;
// the library's five built-in origins always hold codes 0 to 4:
//   0 "SystemExeptions" (spelled so on purpose), 1 "SYSTEM" (the operating
//   system's messages, by system error number), 2 "BaseExceptions",
//   3 "FileError" (code 12 of it is the pass-through message whose text is its
//   first argument), 4 "DynamicError".
// Every operation serialises on the catalogue's own lock and may be called
// from any thread.
#ifndef BASEKEL_MESSAGESYSTEM_H
#define BASEKEL_MESSAGESYSTEM_H

#include "kelexport.h"
#include "TString.h"

// At most this many origins can be registered.
#define KELMO_MAX_ORIGINS 1024

// No origin: the origin code of a cleared record and of an unknown name.
#define KELMO_NO_ORIGIN ((unsigned short)0xFFFF)

// Whether an operator is there to answer the library's message boxes. It is 1
// when the library starts; the meaning of other values is left to the
// applications that set them.
typedef int TOperatorStatus;

// The text of a message with its three arguments filled in. Until a message
// file is read, only two kinds of message have a text of their own: origin 1
// (the operating system's text for the system error number `code`, without
// its trailing line end) and the pass-through message (3, 12), whose text is
// p1. Any other pair gives
//   no message for 0x<origin>:0x<code> ("<p1>","<p2>","<p3>")
// On Windows the name is decorated like any ANSI function, as GetMessageA.
BASEKEL_API TString GetMessage(unsigned short origin, unsigned short code,
                               const TString& p1 = TString::NullString,
                               const TString& p2 = TString::NullString,
                               const TString& p3 = TString::NullString);

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

#endif
