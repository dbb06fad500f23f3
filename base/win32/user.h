// Message boxes, for platforms without <windows.h>. There is no window system
// here: a box writes its title and text to the standard error stream and
// answers with its default button, unless an application has installed its
// own handler (kelwin_set_message_box_handler), which then answers instead.
#ifndef BASEKEL_WIN32_USER_H
#define BASEKEL_WIN32_USER_H

#if !defined(_WIN32)

#include "types.h"

// Buttons.
#define MB_OK 0x00000000u
#define MB_OKCANCEL 0x00000001u
#define MB_ABORTRETRYIGNORE 0x00000002u
#define MB_YESNOCANCEL 0x00000003u
#define MB_YESNO 0x00000004u
#define MB_RETRYCANCEL 0x00000005u
#define MB_CANCELTRYCONTINUE 0x00000006u
#define MB_TYPEMASK 0x0000000Fu

// Icons.
#define MB_ICONHAND 0x00000010u
#define MB_ICONQUESTION 0x00000020u
#define MB_ICONEXCLAMATION 0x00000030u
#define MB_ICONASTERISK 0x00000040u
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONSTOP MB_ICONHAND
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONINFORMATION MB_ICONASTERISK
#define MB_ICONMASK 0x000000F0u

// Default button.
#define MB_DEFBUTTON1 0x00000000u
#define MB_DEFBUTTON2 0x00000100u
#define MB_DEFBUTTON3 0x00000200u
#define MB_DEFBUTTON4 0x00000300u
#define MB_DEFMASK 0x00000F00u

// Modality and placement; accepted and without effect here.
#define MB_APPLMODAL 0x00000000u
#define MB_SYSTEMMODAL 0x00001000u
#define MB_TASKMODAL 0x00002000u
#define MB_SETFOREGROUND 0x00010000u
#define MB_TOPMOST 0x00040000u
#define MB_SERVICE_NOTIFICATION 0x00200000u

// Answers.
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#define IDTRYAGAIN 10
#define IDCONTINUE 11

// Shows a box and returns the button chosen. An unknown button set fails
// with ERROR_INVALID_PARAMETER (result 0). Without a handler the box goes to
// the standard error stream as "<caption>: <text>" and the answer is the
// default button; a default button beyond the set's buttons is its first.
WINBASEAPI int MessageBoxA(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType);

// An application's replacement for the boxes: it receives what MessageBoxA
// received and its result is the box's answer.
typedef int (*KELWIN_MESSAGE_BOX_HANDLER)(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType);

// Installs a handler for every MessageBoxA of the process (null restores the
// standard error stream) and returns the previous one.
extern "C" BASEKEL_API KELWIN_MESSAGE_BOX_HANDLER
kelwin_set_message_box_handler(KELWIN_MESSAGE_BOX_HANDLER handler);

#endif // !_WIN32
#endif
