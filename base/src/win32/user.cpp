// Message boxes on Linux: the standard error stream, or the handler an
// application installed.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

KELWIN_SYSCALL(write);

namespace {

std::atomic<KELWIN_MESSAGE_BOX_HANDLER> s_handler{nullptr};

// The answers of each button set, left to right; 0 ends a set.
const int kButtons[][4] = {
    {IDOK, 0, 0, 0},                      // MB_OK
    {IDOK, IDCANCEL, 0, 0},               // MB_OKCANCEL
    {IDABORT, IDRETRY, IDIGNORE, 0},      // MB_ABORTRETRYIGNORE
    {IDYES, IDNO, IDCANCEL, 0},           // MB_YESNOCANCEL
    {IDYES, IDNO, 0, 0},                  // MB_YESNO
    {IDRETRY, IDCANCEL, 0, 0},            // MB_RETRYCANCEL
    {IDCANCEL, IDTRYAGAIN, IDCONTINUE, 0} // MB_CANCELTRYCONTINUE
};

int DefaultAnswer(UINT type) {
    const int* buttons = kButtons[type & MB_TYPEMASK];
    const UINT wanted = (type & MB_DEFMASK) >> 8;
    return wanted < 4 && buttons[wanted] != 0 ? buttons[wanted] : buttons[0];
}

// Writes the whole text, going on after short writes and interruptions; a
// box that cannot be written still answers.
void WriteToStandardError(const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = sys_write(STDERR_FILENO, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return;
        done += static_cast<std::size_t>(n);
    }
}

} // namespace

int MessageBoxA(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType) {
    if ((uType & MB_TYPEMASK) >= sizeof kButtons / sizeof kButtons[0]) {
        kelwin::fail(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (KELWIN_MESSAGE_BOX_HANDLER handler = s_handler.load())
        return handler(hWnd, lpText, lpCaption, uType);
    // Windows titles a box without caption "Error".
    std::string box = lpCaption ? lpCaption : "Error";
    box += ": ";
    box += lpText ? lpText : "";
    box += '\n';
    WriteToStandardError(box);
    return DefaultAnswer(uType);
}

KELWIN_MESSAGE_BOX_HANDLER kelwin_set_message_box_handler(KELWIN_MESSAGE_BOX_HANDLER handler) {
    return s_handler.exchange(handler);
}

#endif // !_WIN32
