// The message catalogue: the origin registry, the texts of messages and the
// operator status.
#include "MessageSystem.h"
#include "testsupport.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string Str(const TString& s) {
    return static_cast<const char*>(s);
}

TEST(OriginRegistry, BuiltInOriginsHoldCodesZeroToFour) {
    const char* names[] = {"SystemExeptions", "SYSTEM", "BaseExceptions", "FileError",
                           "DynamicError"};
    for (unsigned short code = 0; code < 5; ++code) {
        EXPECT_EQ(SearchOriginCode(names[code]), code);
        EXPECT_EQ(Str(GetOriginString(code)), names[code]);
    }
    EXPECT_EQ(RegisterOrigin("FileError", "TEST", __FILE__, __LINE__), 3);
}

TEST(OriginRegistry, NamesAreRegisteredOnceAndCaseSensitively) {
    const unsigned short first = RegisterOrigin("RegistryTestOrigin", "TEST", __FILE__, __LINE__);
    const unsigned short again = RegisterOrigin("RegistryTestOrigin", "OTHER", "other.cpp", 1);
    const unsigned short upper = RegisterOrigin("REGISTRYTESTORIGIN", "TEST", __FILE__, __LINE__);
    EXPECT_EQ(first, again);
    EXPECT_NE(first, upper);
    EXPECT_GE(first, 5);
    EXPECT_NE(first, 0xFFFF);
    EXPECT_EQ(SearchOriginCode("RegistryTestOrigin"), first);
    EXPECT_EQ(Str(GetOriginString(first)), "RegistryTestOrigin");
    EXPECT_EQ(SearchOriginCode("registrytestorigin"), 0xFFFF);
    EXPECT_EQ(SearchOriginCode("never registered"), 0xFFFF);
    EXPECT_EQ(RegisterOrigin(nullptr, "TEST", __FILE__, __LINE__), 0xFFFF);
}

TEST(OriginRegistry, CodesAboveTheLastOriginAreUnknown) {
    EXPECT_EQ(Str(GetOriginString(60000)), "unknown origin code 60000");
    EXPECT_EQ(Str(GetOriginString(0xFFFF)), "unknown origin code 65535");
}

// The registry holds 1024 origins; in a child process, so that the full
// registry does not outlive this test.
TEST_CHILD(FillOriginRegistry) {
    (void)args;
    auto name = [](int i) {
        char text[32];
        std::snprintf(text, sizeof text, "Origin%d", i);
        return std::string(text);
    };
    unsigned short lastAccepted = 0xFFFF;
    int i = 0;
    for (;; ++i) {
        const unsigned short code = RegisterOrigin(name(i).c_str(), "TEST", __FILE__, __LINE__);
        if (code == 0xFFFF)
            break;
        if (code != SearchOriginCode(name(i).c_str()))
            return 10;
        lastAccepted = code;
    }
    if (lastAccepted != 1023)
        return 11;
    if (SearchOriginCode(name(i).c_str()) != 0xFFFF)
        return 12;
    // Names registered before still answer with their codes.
    if (RegisterOrigin(name(0).c_str(), "TEST", __FILE__, __LINE__) !=
            SearchOriginCode("Origin0") ||
        RegisterOrigin("FileError", "TEST", __FILE__, __LINE__) != 3)
        return 13;
    if (Str(GetOriginString(1024)) != "unknown origin code 1024")
        return 14;
    return 0;
}

TEST(OriginRegistry, HoldsAtMost1024Origins) {
    EXPECT_EQ(testsupport::RunChild("FillOriginRegistry"), 0);
}

// ---------------------------------------------------------------------------

TEST(GetMessage, UnknownPairsGiveTheNotFoundText) {
    EXPECT_EQ(Str(GetMessage(0x2A, 0xBEEF, "a", "b", "c")),
              "no message for 0x2A:0xBEEF (\"a\",\"b\",\"c\")");
    EXPECT_EQ(Str(GetMessage(0xFFFF, 0)), "no message for 0xFFFF:0x0 (\"\",\"\",\"\")");
    EXPECT_EQ(Str(GetMessage(3, 0x7F, "%s%n")), "no message for 0x3:0x7F (\"%s%n\",\"\",\"\")");
}

TEST(GetMessage, PassThroughMessageIsItsFirstArgument) {
    EXPECT_EQ(Str(GetMessage(3, 12, "100% done %s", "ignored", "too")), "100% done %s");
    EXPECT_EQ(Str(GetMessage(3, 12)), "");
}

TEST(GetMessage, OriginOneIsTheSystemTextWithoutLineEnd) {
    for (DWORD code : {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY}) {
        const std::string text = Str(GetMessage(1, static_cast<unsigned short>(code)));
        ASSERT_FALSE(text.empty()) << code;
        EXPECT_NE(text.back(), '\n') << code;
        EXPECT_NE(text.back(), '\r') << code;
        EXPECT_EQ(text.find("no message for"), std::string::npos) << code;
    }
#if !defined(_WIN32)
    EXPECT_EQ(Str(GetMessage(1, ERROR_FILE_NOT_FOUND)),
              "The system cannot find the file specified.");
    EXPECT_EQ(Str(GetMessage(1, 0xFFFE, "x")), "no message for 0x1:0xFFFE (\"x\",\"\",\"\")");
#endif
}

TEST(OperatorStatus, StartsAtOneAndSetReturnsThePreviousValue) {
    EXPECT_EQ(GetOperatorStatus(), 1);
    EXPECT_EQ(SetOperatorStatus(4), 1);
    EXPECT_EQ(GetOperatorStatus(), 4);
    EXPECT_EQ(SetOperatorStatus(1), 4);
}

} // namespace
