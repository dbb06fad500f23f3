// The macros of message texts, and the languages of message files.
#include "MessageLanguage.h"
#include "MessageMacros.h"

#include <cctype>
#include <cstring>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

const TString kFirst("one");
const TString kSecond("two");
const TString kThird("three");

std::string Expand(const std::string& text, const TString& p1 = kFirst, const TString& p2 = kSecond,
                   const TString& p3 = kThird, TOemTextProvider oem = nullptr,
                   TLanguage language = LANG_ENGLISH) {
    MacroContext context{{&p1, &p2, &p3}, language, oem};
    std::string out = "<";
    ExpandMacros(text.data(), text.size(), context, out);
    return out;
}

TEST(Macros, ArgumentsLineEndsAndTabs) {
    EXPECT_EQ(Expand("[$1]-[$2]-[$3]"), "<one-two-three");
    EXPECT_EQ(Expand("[$3][$3][$1]"), "<threethreeone");
    EXPECT_EQ(Expand("a[newline]b[nl]c"), "<a\nb\nc");
    EXPECT_EQ(Expand("a[tabulator]b[tab]c"), "<a\tb\tc");
    EXPECT_EQ(Expand("no macros at all"), "<no macros at all");
    EXPECT_EQ(Expand(""), "<");
}

TEST(Macros, AMissingArgumentGivesNothing) {
    EXPECT_EQ(Expand("a[$2]b", kFirst, TString::NullString), "<ab");
    EXPECT_EQ(Expand("[$1][$2][$3]", "", "", ""), "<");
}

TEST(Macros, ArgumentsAreNotExpandedAgain) {
    EXPECT_EQ(Expand("[$1]", "[$2][nl]"), "<[$2][nl]");
    EXPECT_EQ(Expand("[$1][$1]", "[$1"), "<[$1[$1");
}

TEST(Macros, WhatIsNoMacroStaysAsItIs) {
    EXPECT_EQ(Expand("[$4] [$] [NL] [Tab] [tab [date"), "<[$4] [$] [NL] [Tab] [tab [date");
    EXPECT_EQ(Expand("[[$1]]"), "<[one]");
    EXPECT_EQ(Expand("[$oem:unclosed"), "<[$oem:unclosed");
    EXPECT_EQ(Expand("ends with ["), "<ends with [");
}

bool Digits(const std::string& s, std::size_t from, std::size_t count) {
    for (std::size_t i = from; i < from + count; ++i)
        if (i >= s.size() || !std::isdigit(static_cast<unsigned char>(s[i])))
            return false;
    return true;
}

TEST(Macros, TimeAndDate) {
    const std::string time = Expand("[time]").substr(1);
    ASSERT_EQ(time.size(), 8u) << time;
    EXPECT_TRUE(Digits(time, 0, 2) && time[2] == ':' && Digits(time, 3, 2) && time[5] == ':' &&
                Digits(time, 6, 2))
        << time;
    const std::string date = Expand("[date]").substr(1);
    ASSERT_EQ(date.size(), 10u) << date;
    EXPECT_TRUE(Digits(date, 0, 4) && date[4] == '-' && Digits(date, 5, 2) && date[7] == '-' &&
                Digits(date, 8, 2))
        << date;
    EXPECT_GE(date.substr(0, 4), "2024");
}

unsigned int OemTexts(const char* name, TLanguage language, TString& text) {
    if (std::strcmp(name, "Product") == 0) {
        text = language == LANG_GERMAN ? "Plotter-Dienst" : "Plot service";
        return 1;
    }
    if (std::strcmp(name, "Macro") == 0) {
        text = "[$1]"; // inserted as it is
        return 1;
    }
    return 0;
}

TEST(Macros, OemTextsComeFromTheProvider) {
    EXPECT_EQ(Expand("[$oem:Product] stopped", kFirst, kSecond, kThird, &OemTexts),
              "<Plot service stopped");
    EXPECT_EQ(Expand("[$oem:Product]", kFirst, kSecond, kThird, &OemTexts, LANG_GERMAN),
              "<Plotter-Dienst");
    EXPECT_EQ(Expand("[$oem:Unknown]|[$oem:Macro]", kFirst, kSecond, kThird, &OemTexts), "<|[$1]");
    // Without a provider the macro gives nothing.
    EXPECT_EQ(Expand("a[$oem:Product]b"), "<ab");
    EXPECT_TRUE(HasOemMacro("x [$oem:y]", 10));
    EXPECT_FALSE(HasOemMacro("x [$oem", 7));
}

// ---------------------------------------------------------------------------

TEST(Languages, ExtensionsOfTheCustomaryLanguages) {
    EXPECT_STREQ(LanguageExtension(LANG_ENGLISH), "eng");
    EXPECT_STREQ(LanguageExtension(LANG_GERMAN), "ger");
    EXPECT_STREQ(LanguageExtension(LANG_DUTCH), "dut");
    EXPECT_STREQ(LanguageExtension(LANG_DANISH), "dan");
    EXPECT_STREQ(LanguageExtension(LANG_CZECH), "cze");
    EXPECT_STREQ(LanguageExtension(LANG_CHINESE), "chi");
    EXPECT_STREQ(LanguageExtension(LANG_FRENCH), "fre");
    // Serbian and Bosnian share Croatian's identifier.
    EXPECT_STREQ(LanguageExtension(LANG_SERBIAN), "hrv");
    // No language of its own: English.
    EXPECT_STREQ(LanguageExtension(LANG_NEUTRAL), "eng");
    EXPECT_STREQ(LanguageExtension(LANG_INVARIANT), "eng");
    EXPECT_STREQ(LanguageExtension(0x3FF), "eng");
}

TEST(Languages, EveryPrimaryLanguageHasItsOwnExtension) {
    std::set<std::string> seen;
    int languages = 0;
    for (TLanguage id = 1; id < 0x100; ++id) {
        if (id == LANG_INVARIANT)
            continue;
        TLanguage back = 0;
        const std::string ext = LanguageExtension(id);
        ASSERT_EQ(ext.size(), 3u) << id;
        if (ext == "eng" && id != LANG_ENGLISH)
            continue; // not a language Windows knows
        ++languages;
        EXPECT_TRUE(seen.insert(ext).second) << ext;
        ASSERT_TRUE(LanguageOfExtension(ext.c_str(), back)) << ext;
        EXPECT_EQ(back, id) << ext;
    }
    EXPECT_GE(languages, 120);
}

TEST(Languages, NamesOfLanguages) {
    TLanguage language = 0;
    EXPECT_TRUE(LanguageOfName("ger", language));
    EXPECT_EQ(language, LANG_GERMAN);
    EXPECT_TRUE(LanguageOfName(" .ENG\t", language));
    EXPECT_EQ(language, LANG_ENGLISH);
    EXPECT_TRUE(LanguageOfName("Dutch", language));
    EXPECT_EQ(language, LANG_DUTCH);
    EXPECT_TRUE(LanguageOfName("scottish gaelic", language));
    EXPECT_EQ(language, LANG_SCOTTISH_GAELIC);
    EXPECT_FALSE(LanguageOfName("Klingon", language));
    EXPECT_FALSE(LanguageOfName("", language));
    EXPECT_FALSE(LanguageOfName(nullptr, language));
    EXPECT_EQ(LanguageOfLangId(0x0407), LANG_GERMAN);
    EXPECT_EQ(LanguageOfLangId(0x0C07), LANG_GERMAN); // Austria
    EXPECT_EQ(LanguageOfLangId(0x0809), LANG_ENGLISH);
}

} // namespace
