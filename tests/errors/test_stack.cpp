// The error stack of one thread: pushing, popping, inspecting, overflow,
// pending counts and throwing, saving and restoring, and tracing to the log.
// Each test runs on a fresh thread, which starts with an empty stack and a
// pending count of 0.
#include "errortest.h"

#include <cstdio>

using errortest::CountedData;
using errortest::LogCapture;
using errortest::OnFreshThread;
using errortest::Str;
using errortest::ValueOf;

namespace {

const unsigned short kTestOrigin = 0x2A;

// The catalogue knows no texts for kTestOrigin: its entries read as the
// catalogue's not-found text.
std::string TestText(unsigned short code, const char* p1 = "", const char* p2 = "",
                     const char* p3 = "") {
    char text[256];
    std::snprintf(text, sizeof text, "no message for 0x2A:0x%X (\"%s\",\"%s\",\"%s\")", code, p1,
                  p2, p3);
    return text;
}

std::string Arg(int i) {
    return "e" + std::to_string(i);
}

// The counted entries, bottom first, one "origin:code text" line each.
std::string Stack() {
    std::string all;
    for (int i = 0; i < static_cast<int>(GetErrorCount()); ++i)
        all += std::to_string(GetErrorOriginNr(i)) + ":" + std::to_string(GetErrorCodeNr(i)) + " " +
               Str(GetErrorStringNr(i)) + "\n";
    return all;
}

TEST(ErrorStack, PushAndInspectFromTopAndBottom) {
    OnFreshThread([] {
        EXPECT_EQ(PushError(kTestOrigin, 1, "a", "b", "c"), 1u);
        EXPECT_EQ(PushError(3, 12, "plain text"), 2u);
        EXPECT_EQ(PushError(kTestOrigin, 3, "", "only second"), 3u);
        EXPECT_EQ(Stack(), "42:1 " + TestText(1, "a", "b", "c") + "\n3:12 plain text\n42:3 " +
                               TestText(3, "", "only second") + "\n");
        EXPECT_EQ(GetErrorOrigin(), kTestOrigin);
        EXPECT_EQ(GetErrorCode(), 3);
        EXPECT_EQ(Str(GetErrorString()), TestText(3, "", "only second"));
        EXPECT_EQ(Str(GetErrorStringNr(-1)) + Str(GetErrorStringNr(3)), "");

        // Raw texts: an empty argument is kept as no text at all.
        EXPECT_EQ(GetErrorInfo() == KCInfo(kTestOrigin, 3, "", "only second", ""), 1u);
        PopError();
        EXPECT_EQ(GetErrorInfo() == KCInfo(3, 12, "plain text", "", ""), 1u);
        // The popped entry is still in its slot, but not counted.
        EXPECT_EQ(Str(GetErrorStringNr(2)), "");
        EXPECT_EQ(GetErrorCodeNr(2), 3);
    });
}

TEST(ErrorStack, EmptyStackReadsSafely) {
    OnFreshThread([] {
        EXPECT_EQ(IsExceptionSystemAlive(), 1u); // before the thread's first error call
        EXPECT_EQ(GetErrorCount(), 0u);
        EXPECT_EQ(Str(GetErrorString()), "");
        EXPECT_EQ(Str(GetErrorStringNr(0)), "");
        const KCInfo info = GetErrorInfo();
        EXPECT_EQ(Str(info.GetParam1()), "Error-Stack-Empty !");
        EXPECT_EQ(Str(info.GetParam2()), "Error-Stack-Empty !");
        EXPECT_EQ(Str(info.GetParam3()), "Error-Stack-Empty !");
        // Unchecked readers answer as a cleared record instead of reading
        // outside the stack.
        EXPECT_EQ(GetErrorOrigin(), 0xFFFF);
        EXPECT_EQ(GetErrorCode(), 0);
        EXPECT_EQ(GetErrorData(), nullptr);
        EXPECT_EQ(GetErrorOriginNr(-1), 0xFFFF);
        EXPECT_EQ(GetErrorCodeNr(20), 0);
        EXPECT_EQ(GetErrorDataNr(1000), nullptr);
        PopError();
        EXPECT_EQ(GetErrorCount(), 0u);
    });
}

// 21 pushes: the 21st finds the stack full, the whole content goes to the log
// with the oldest entry marked as removed, the other 19 come back as texts.
// The extra data of the compressed entries is dropped without deleting it
// (as the stack always has): the objects stay valid for whoever kept them.
TEST(ErrorStack, EveryPushOnAFullStackCompressesIt) {
    const int liveBefore = CountedData::live;
    std::vector<TErrorData*> kept;
    OnFreshThread([&] {
        LogCapture log;
        for (int i = 0; i < 20; ++i) {
            kept.push_back(new CountedData(i));
            ASSERT_EQ(PushError(kTestOrigin, static_cast<unsigned short>(i), Arg(i).c_str(), "", "",
                                kept.back()),
                      static_cast<unsigned long>(i + 1));
        }
        EXPECT_TRUE(log.Take().empty());

        EXPECT_EQ(PushError(kTestOrigin, 20, Arg(20).c_str()), 20u);
        EXPECT_EQ(GetErrorCount(), 20u);
        std::string expected = "Message stack overflow! Stack content:\r\n" + TestText(0, "e0") +
                               " (removed from stack)\r\n";
        for (int i = 1; i < 20; ++i)
            expected += TestText(static_cast<unsigned short>(i), Arg(i).c_str()) + "\r\n";
        const auto lines = log.Take();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].level, 2u);
        EXPECT_EQ(lines[0].text, expected);
        expected.clear();
        for (int i = 1; i < 20; ++i) {
            expected += "3:12 " + TestText(static_cast<unsigned short>(i), Arg(i).c_str()) + "\n";
            EXPECT_EQ(GetErrorDataNr(i - 1), nullptr) << i;
        }
        EXPECT_EQ(Stack(), expected + "42:20 " + TestText(20, "e20") + "\n");

        for (int i = 21; i < 25; ++i)
            PushError(kTestOrigin, static_cast<unsigned short>(i), Arg(i).c_str());
        EXPECT_EQ(GetErrorCount(), 20u);
        EXPECT_EQ(log.Take().size(), 4u);
        EXPECT_EQ(Str(GetErrorStringNr(0)), TestText(5, "e5"));
        EXPECT_EQ(Str(GetErrorString()), TestText(24, "e24"));
    });
    EXPECT_EQ(CountedData::live, liveBefore + 20); // not released at thread end either
    for (TErrorData* data : kept)
        delete data;
}

// Popping releases nothing: the data stays readable in its slot until a push
// reuses the slot (which clears it without deleting the popped entry's data,
// so that a pointer taken before the pop stays valid) or the thread ends.
TEST(ErrorStack, DataBelongsToTheStackUntilTheThreadEnds) {
    const int liveBefore = CountedData::live;
    TErrorData* popped = nullptr;
    OnFreshThread([&] {
        PushError(kTestOrigin, 1, "", "", "", new CountedData(11));
        PushError(kTestOrigin, 2, "", "", "", new CountedData(22));
        PushError(kTestOrigin, 3, "", "", "", new CountedData(33));
        EXPECT_EQ(ValueOf(GetErrorData()), 33);
        EXPECT_EQ(ValueOf(GetErrorDataNr(0)), 11);
        PopError();
        popped = GetErrorData();
        PopError();
        EXPECT_EQ(ValueOf(GetErrorDataNr(2)), 33);
        EXPECT_EQ(CountedData::live, liveBefore + 3);
        PushError(kTestOrigin, 4, "new");
        EXPECT_EQ(GetErrorData(), nullptr);
        EXPECT_EQ(ValueOf(popped), 22);
    });
    EXPECT_EQ(CountedData::live, liveBefore + 1); // the rest went with the thread
    delete popped;
}

// ---------------------------------------------------------------------------
// Pending count and throwing

TEST(Throwing, OnlyTheFirstThrowNewErrorThrowsUntilHandled) {
    OnFreshThread([] {
        EXPECT_EQ(GetPendingCount(), 0u);
        try {
            ThrowNewError(kTestOrigin, 1, "first");
            ADD_FAILURE() << "nothing thrown";
        } catch (TException& e) {
            EXPECT_EQ(e.PendingCount(), 1u);
            e.ClearPending(); // a copy, not the thread's record
        }
        EXPECT_EQ(GetPendingCount(), 1u);
        // While one is pending, further errors only push.
        EXPECT_NO_THROW(ThrowNewError(kTestOrigin, 2, "second"));
        EXPECT_NO_THROW(ThrowLastError());
        EXPECT_EQ(GetErrorCount(), 2u);
        EXPECT_EQ(GetPendingCount(), 1u);

        DecrementPendingCount();
        EXPECT_EQ(GetPendingCount(), 0u);
        EXPECT_THROW(ThrowLastError(), TException); // throws without pushing
        EXPECT_EQ(GetErrorCount(), 2u);
        DecrementPendingCount();

        // The count has no lower bound: below 0 it wraps, and the thread
        // does not throw again.
        DecrementPendingCount();
        EXPECT_EQ(GetPendingCount(), 0xFFFFFFFFu);
        EXPECT_NO_THROW(ThrowNewError(kTestOrigin, 3));
        EXPECT_EQ(GetErrorCount(), 3u);
    });
}

TEST(Throwing, ThrowSehThrowsAlwaysAndSkipsARepeatedTopEntry) {
    OnFreshThread([] {
        TException record;
        EXPECT_THROW(record.ThrowSeh(kTestOrigin, 7, "x", "", ""), TException);
        EXPECT_EQ(GetErrorCount(), 1u);
        EXPECT_EQ(record.PendingCount(), 1u);

        // Same origin and code as the top entry: no second entry, but thrown.
        EXPECT_THROW(record.ThrowSeh(kTestOrigin, 7, "other text", "", ""), TException);
        EXPECT_EQ(GetErrorCount(), 1u);
        EXPECT_EQ(Str(GetErrorString()), TestText(7, "x"));

        EXPECT_THROW(record.ThrowSeh(kTestOrigin, 8, "", "", ""), TException);
        EXPECT_EQ(GetErrorCount(), 2u);
        EXPECT_EQ(record.PendingCount(), 1u);

        record.ClearPending();
        EXPECT_EQ(record.PendingCount(), 0u);
        EXPECT_THROW(record.Throw(), TException);
        EXPECT_NO_THROW(record.Throw());
    });
}

TEST(Throwing, OtherFormsPushTheirFieldsDataAndRecordNumbers) {
    const int liveBefore = CountedData::live;
    OnFreshThread([] {
        // The record-number forms push the text as the pass-through message.
        EXPECT_EQ(PushErrorNr(0x2A, 3, 12, "copy failed"), 1u);
        EXPECT_EQ(GetErrorOrigin(), 3);
        EXPECT_EQ(GetErrorCode(), 12);
        EXPECT_EQ(Str(GetErrorString()), "copy failed (REC: 0x0000002a)");
        PushErrorNr(static_cast<unsigned long>(-1), kTestOrigin, 5, "a");
        EXPECT_EQ(Str(GetErrorString()), TestText(5, "a") + " (REC: 0xffffffff)");
        EXPECT_THROW(ThrowNewErrorNr(0xABCDEF, kTestOrigin, 6), TException);
        EXPECT_EQ(GetErrorCount(), 3u);
        EXPECT_EQ(GetErrorOrigin(), 3);
        EXPECT_EQ(Str(GetErrorString()), TestText(6) + " (REC: 0x00abcdef)");
        DecrementPendingCount();

        KCInfo info(kTestOrigin, 9, "p1", "p2", "p3");
        EXPECT_THROW(ThrowNewError(info), TException);
        EXPECT_EQ(GetErrorInfo() == info, 1u);
        EXPECT_EQ(GetErrorData(), nullptr);
        DecrementPendingCount();
        // Extra data is handed to the stack, which releases it at thread end.
        EXPECT_THROW(ThrowNewError(kTestOrigin, 1, "", "", "", new CountedData(3)), TException);
        EXPECT_EQ(ValueOf(GetErrorData()), 3);
    });
    EXPECT_EQ(CountedData::live, liveBefore);
}

TEST(SystemErrors, TheLastErrorIsPushedAsItsSystemTextAndNoneAsNothing) {
    OnFreshThread([] {
        PushError(kTestOrigin, 1);
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(PushSystemError(), 1u);
        EXPECT_EQ(GetErrorCount(), 1u);

        SetLastError(ERROR_ACCESS_DENIED);
        GetErrorCount(); // looking at the stack must not lose the error to report
        EXPECT_EQ(PushSystemError(), 2u);
        EXPECT_EQ(GetErrorOrigin(), 3);
        EXPECT_EQ(GetErrorCode(), 12);
        EXPECT_EQ(Str(GetErrorString()), Str(GetMessage(1, ERROR_ACCESS_DENIED)));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
#if !defined(_WIN32)
        EXPECT_EQ(Str(GetErrorString()), "Access is denied.");
#endif
    });
}

// ---------------------------------------------------------------------------
// Saving and restoring

TEST(SavedStacks, RestoreBringsBackTheSavedCountAndTexts) {
    OnFreshThread([] {
        PushError(kTestOrigin, 1, "A");
        PushError(kTestOrigin, 2, "B");
        void* saved = nullptr;
        SaveErrorStack(saved);
        ASSERT_NE(saved, nullptr);

        PushError(kTestOrigin, 3, "C");
        PopError();
        PopError();
        PushError(kTestOrigin, 4, "D");
        PushError(kTestOrigin, 5, "E");
        PushError(kTestOrigin, 6, "F");

        const std::string savedStack =
            "42:1 " + TestText(1, "A") + "\n42:2 " + TestText(2, "B") + "\n";
        RestoreErrorStack(saved);
        EXPECT_EQ(Stack(), savedStack);
        // Entries above the restored count keep their contents, uncounted.
        EXPECT_EQ(GetErrorCodeNr(2), 5);
        EXPECT_EQ(GetErrorCodeNr(3), 6);
        EXPECT_EQ(Str(GetErrorStringNr(2)), "");

        // The saved copy stays valid and can be restored again.
        ClearError();
        RestoreErrorStack(saved);
        EXPECT_EQ(Stack(), savedStack);

        DeleteErrorStack(saved);
        EXPECT_EQ(saved, nullptr);
        DeleteErrorStack(saved);
        RestoreErrorStack(saved); // nothing to restore
        EXPECT_EQ(GetErrorCount(), 2u);
    });
}

// Extra data is cloned on save and on restore; a stack saved on one thread
// restores on another.
TEST(SavedStacks, ExtraDataIsClonedAndStacksMoveBetweenThreads) {
    const int liveBefore = CountedData::live;
    void* saved = nullptr;
    OnFreshThread([&] {
        PushError(kTestOrigin, 1, "from elsewhere", "", "", new CountedData(7));
        TErrorData* original = GetErrorData();
        SaveErrorStack(saved);
        EXPECT_EQ(CountedData::live, liveBefore + 2);
        // Restoring replaces the entry's data by a clone of the saved one.
        RestoreErrorStack(saved);
        EXPECT_NE(GetErrorData(), original);
        EXPECT_EQ(ValueOf(GetErrorData()), 7);
        EXPECT_EQ(CountedData::live, liveBefore + 2);
    });
    EXPECT_EQ(CountedData::live, liveBefore + 1);
    OnFreshThread([&] {
        RestoreErrorStack(saved);
        EXPECT_EQ(GetErrorCount(), 1u);
        EXPECT_EQ(Str(GetErrorString()), TestText(1, "from elsewhere"));
        EXPECT_EQ(ValueOf(GetErrorData()), 7);
        DeleteErrorStack(saved);
        EXPECT_EQ(CountedData::live, liveBefore + 1);
    });
    EXPECT_EQ(CountedData::live, liveBefore);
}

// ---------------------------------------------------------------------------
// Tracing to the log

TEST(Tracing, TraceRewritesTheStackAsTextsAndClearErrorEmptiesIt) {
    OnFreshThread([] {
        LogCapture log;
        PushError(kTestOrigin, 1, "a");
        PushError(3, 12, "line one\r\nline two\nline three");
        TraceErrorStackToLog();
        EXPECT_EQ(Stack(),
                  "3:12 " + TestText(1, "a") + "\n3:12 line one\r\nline two\nline three\n");
        ClearError();
        EXPECT_EQ(GetErrorCount(), 0u);
        const std::string block = "TraceErrorStackToLog():\r\n" + TestText(1, "a") +
                                  "\r\n\r\nline one\r\nline two\r\nline three\r\n\r\n";
        const auto lines = log.Take();
        ASSERT_EQ(lines.size(), 2u);
        for (const auto& line : lines) {
            EXPECT_EQ(line.level, 1u);
            EXPECT_EQ(line.text, block);
        }

        // Logging switched off: nothing is written, and tracing leaves the
        // stack as it is.
        SetErrorLogging(0);
        PushError(kTestOrigin, 1);
        TraceErrorStackToLog();
        EXPECT_EQ(GetErrorOrigin(), kTestOrigin);
        ClearError();
        SetErrorLogging(1);
        EXPECT_EQ(GetErrorCount(), 0u);
        EXPECT_TRUE(log.Take().empty());
    });
}

// While one thread traces, a trace on another thread is skipped. The first
// thread is held inside its log write until the second has tried.
TEST(Tracing, ATraceOnAnotherThreadIsSkippedMeanwhile) {
    static std::atomic<int> phase{0};
    phase = 0;
    struct Hold {
        static void Capture(unsigned long, const char*) {
            phase = 1;
            while (phase.load() != 2)
                std::this_thread::yield();
        }
    };
    LibraryLogCapture previous = SetLibraryLogCapture(&Hold::Capture);
    std::thread first([] {
        PushError(kTestOrigin, 1);
        TraceErrorStackToLog();
    });
    while (phase.load() != 1)
        std::this_thread::yield();
    OnFreshThread([] {
        PushError(kTestOrigin, 2);
        TraceErrorStackToLog();
        EXPECT_EQ(GetErrorOrigin(), kTestOrigin); // not traced
        ClearError();                             // skipped trace, then emptied
        EXPECT_EQ(GetErrorCount(), 0u);
    });
    phase = 2;
    first.join();
    SetLibraryLogCapture(previous);
}

TEST(Tracing, DebugInfoBecomesTheBottomEntryWhenShownAndIsOtherwiseOnlyTraced) {
    OnFreshThread([] {
        LogCapture log;
        PushError(kTestOrigin, 1, "a");
        InsertDebugInfoIntoErrorStack("source.cpp", -3);
        InsertDebugInfoIntoErrorStack(nullptr, 0);
        EXPECT_EQ(Stack(), "3:12 " + TestText(1, "a") + "\n");
        EXPECT_EQ(log.Take().size(), 2u);
        ClearError();
        log.Take();

        SetErrorLogging(0); // the debug insertion logs regardless
        PushError(kTestOrigin, 1, "a");
        PushError(kTestOrigin, 2, "b");
        g_bShowDebugInfoInErrorStack = 1;
        InsertDebugInfoIntoErrorStack("source.cpp", 42);
        g_bShowDebugInfoInErrorStack = 0;
        SetErrorLogging(1);
        EXPECT_EQ(Stack(), "3:12 source.cpp 42\n3:12 " + TestText(1, "a") + "\n3:12 " +
                               TestText(2, "b") + "\n");
        const auto lines = log.Take();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].level, 1u);
        EXPECT_EQ(lines[0].text, "TraceErrorStackToLog():\r\n" + TestText(1, "a") + "\r\n\r\n" +
                                     TestText(2, "b") + "\r\n\r\n");
    });
}

} // namespace
