// Message boxes, the user's language and the local time on Linux.
#include "kelwin32.h"
#include "scopedenv.h"
#include "testsupport.h"

#include <ctime>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include "win32/syscalls.h"
#include <unistd.h>
#endif

namespace {

#if !defined(_WIN32)

std::string& StandardErrorSeen() {
    static std::string seen;
    return seen;
}

ssize_t CaptureWrite(int fd, const void* data, size_t size) {
    if (fd != STDERR_FILENO)
        return ::write(fd, data, size);
    // Half at a time, to see that a short write is continued.
    const size_t taken = size > 1 ? size / 2 : size;
    StandardErrorSeen().append(static_cast<const char*>(data), taken);
    return static_cast<ssize_t>(taken);
}

class StandardErrorCapture {
public:
    StandardErrorCapture() {
        StandardErrorSeen().clear();
        kelwin_set_syscall("write", reinterpret_cast<void*>(&CaptureWrite));
    }
    ~StandardErrorCapture() { kelwin_reset_syscalls(); }
};

TEST(MessageBox, GoesToStandardErrorAndAnswersWithTheDefaultButton) {
    StandardErrorCapture capture;
    EXPECT_EQ(MessageBoxA(nullptr, "Line one\nline two", "Caption", MB_OK), IDOK);
    EXPECT_EQ(StandardErrorSeen(), "Caption: Line one\nline two\n");
    StandardErrorSeen().clear();
    EXPECT_EQ(MessageBoxA(nullptr, "text", nullptr, MB_YESNO | MB_ICONQUESTION), IDYES);
    EXPECT_EQ(StandardErrorSeen(), "Error: text\n");

    const struct {
        UINT type;
        int answer;
    } cases[] = {
        {MB_OKCANCEL, IDOK},
        {MB_OKCANCEL | MB_DEFBUTTON2, IDCANCEL},
        {MB_ABORTRETRYIGNORE | MB_DEFBUTTON3, IDIGNORE},
        {MB_YESNOCANCEL | MB_DEFBUTTON2, IDNO},
        {MB_RETRYCANCEL, IDRETRY},
        {MB_CANCELTRYCONTINUE | MB_DEFBUTTON3, IDCONTINUE},
        // A default button the box does not have: its first.
        {MB_YESNO | MB_DEFBUTTON3, IDYES},
        {MB_OK | MB_DEFBUTTON4, IDOK},
        {MB_OKCANCEL | MB_ICONERROR | MB_SYSTEMMODAL | MB_TOPMOST | MB_DEFBUTTON2, IDCANCEL},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MessageBoxA(nullptr, "t", "c", c.type), c.answer) << std::hex << c.type;

    // An unknown button set fails and shows nothing.
    StandardErrorSeen().clear();
    SetLastError(0);
    EXPECT_EQ(MessageBoxA(nullptr, "t", "c", 7), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(StandardErrorSeen(), "");
}

TEST(MessageBox, AnInstalledHandlerAnswersInstead) {
    StandardErrorCapture capture;
    static std::vector<std::string> seen;
    seen.clear();
    KELWIN_MESSAGE_BOX_HANDLER previous =
        kelwin_set_message_box_handler([](HWND, LPCSTR text, LPCSTR caption, UINT type) {
            seen.push_back(std::string(caption) + "|" + text + "|" + std::to_string(type));
            return IDCANCEL;
        });
    EXPECT_EQ(MessageBoxA(nullptr, "question", "title", MB_OKCANCEL), IDCANCEL);
    EXPECT_NE(kelwin_set_message_box_handler(previous), nullptr);
    EXPECT_EQ(seen, std::vector<std::string>{"title|question|1"});
    EXPECT_EQ(StandardErrorSeen(), "");
    // Back to the standard error stream.
    EXPECT_EQ(MessageBoxA(nullptr, "again", "title", MB_OKCANCEL), IDOK);
    EXPECT_EQ(StandardErrorSeen(), "title: again\n");
}

TEST(UserLanguage, ComesFromTheLocaleVariablesInPosixOrder) {
    testsupport::ScopedEnv all("LC_ALL", nullptr), messages("LC_MESSAGES", nullptr),
        lang("LANG", nullptr);
    EXPECT_EQ(GetUserDefaultLangID(), 0x0409); // nothing set
    lang.Set("de_DE.UTF-8");
    EXPECT_EQ(GetUserDefaultLangID(), 0x0407);
    EXPECT_EQ(GetUserDefaultLCID(), 0x0407u);
    messages.Set("nl_BE@euro");
    EXPECT_EQ(GetUserDefaultLangID(), MAKELANGID(LANG_DUTCH, SUBLANG_DEFAULT));
    const struct {
        const char* lcAll;
        WORD language;
    } cases[] = {
        {"", LANG_DUTCH}, // empty counts as not set
        {"cs_CZ", LANG_CZECH},
        {"hsb_DE.UTF-8", LANG_UPPER_SORBIAN},
        {"ZH_tw", LANG_CHINESE},
    };
    for (const auto& c : cases) {
        all.Set(c.lcAll);
        EXPECT_EQ(PRIMARYLANGID(GetUserDefaultLangID()), c.language) << c.lcAll;
    }
    for (const char* english : {"C", "POSIX", "C.UTF-8", "xx_YY", "en_GB"}) {
        all.Set(english);
        EXPECT_EQ(GetUserDefaultLangID(), 0x0409) << english;
    }
}

#endif // !_WIN32

TEST(LocalTime, AgreesWithTheCRuntime) {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    const std::time_t seconds = std::time(nullptr);
    const std::tm* local = std::localtime(&seconds);
    ASSERT_NE(local, nullptr);
    EXPECT_EQ(now.wYear, local->tm_year + 1900);
    EXPECT_EQ(now.wMonth, local->tm_mon + 1);
    EXPECT_GE(now.wDay, 1);
    EXPECT_LE(now.wDay, 31);
    EXPECT_LE(now.wHour, 23);
    EXPECT_LE(now.wMinute, 59);
    EXPECT_LE(now.wSecond, 59);
    EXPECT_LE(now.wMilliseconds, 999);
    if (now.wDay == local->tm_mday) {
        EXPECT_EQ(now.wDayOfWeek, local->tm_wday);
    }
}

} // namespace
