// The calling thread's error stack and exception record, kept in two
// thread-local slots.
#ifndef BASEKEL_SRC_THREADERRORSTATE_H
#define BASEKEL_SRC_THREADERRORSTATE_H

#include "Error.h"

// Creates the calling thread's stack and record unless it has them. They are
// allocated without the memory-failure handler, so that the handler itself
// can attach a thread; when memory or the slots cannot be had the thread is
// simply left without them.
void AttachThreadErrorState();
// Releases the calling thread's stack (every entry) and record; the slots
// are empty afterwards.
void DetachThreadErrorState();

// The calling thread's stack and record, attached on first use. Null only
// when they cannot be had (no memory, or the library is being unloaded);
// every caller copes with that by doing nothing.
TErrorSystem* ThreadErrorSystem();
TException* ThreadException();

// The calling thread's stack if it has one, without attaching it.
TErrorSystem* ExistingThreadErrorSystem();

// Where the platform does not announce new threads, start-up installs a
// routine that is called whenever a thread is about to look at its error
// state (before any of the functions above that attach on first use), so
// that it can attach the thread and arrange its detach. Null removes it.
typedef void (*ThreadFirstUseRoutine)();
void SetThreadFirstUseRoutine(ThreadFirstUseRoutine routine);
// Calls the installed routine, if any.
void NoteThreadUse();

// Marks the calling thread as running the memory-failure handler: a second
// failure while the first is reported must not report again.
bool IsThreadInNewHandler();
void SetThreadInNewHandler(bool inside);

#endif
