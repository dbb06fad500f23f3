// The macros of message texts, and the languages of message files.
#include "MessageLanguage.h"
#include "MessageMacros.h"

#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <utility>

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

TEST(Macros, ArgumentsLineEndsTabsAndWhatIsNoMacro) {
    const std::pair<const char*, const char*> cases[] = {
        {"[$1]-[$2]-[$3]", "<one-two-three"},
        {"[$3][$3][$1]", "<threethreeone"},
        {"a[newline]b[nl]c", "<a\nb\nc"},
        {"a[tabulator]b[tab]c", "<a\tb\tc"},
        {"no macros at all", "<no macros at all"},
        {"", "<"},
        {"[$4] [$] [NL] [Tab] [tab [date", "<[$4] [$] [NL] [Tab] [tab [date"},
        {"[[$1]]", "<[one]"},
        {"[$oem:unclosed", "<[$oem:unclosed"},
        {"ends with [", "<ends with ["},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Expand(c.first), c.second) << c.first;
    // A missing argument gives nothing; arguments are not expanded again.
    EXPECT_EQ(Expand("a[$2]b", kFirst, TString::NullString), "<ab");
    EXPECT_EQ(Expand("[$1][$2][$3]", "", "", ""), "<");
    EXPECT_EQ(Expand("[$1]", "[$2][nl]"), "<[$2][nl]");
    EXPECT_EQ(Expand("[$1][$1]", "[$1"), "<[$1[$1");
}

// The text with every digit replaced by '9'.
std::string DigitsAsNines(std::string text) {
    for (char& c : text)
        c = std::isdigit(static_cast<unsigned char>(c)) ? '9' : c;
    return text;
}

TEST(Macros, TimeAndDate) {
    EXPECT_EQ(DigitsAsNines(Expand("[time]|[date]")), "<99:99:99|9999-99-99");
    EXPECT_GE(Expand("[date]").substr(1, 4), "2024");
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
    const std::pair<TLanguage, const char*> cases[] = {
        {LANG_ENGLISH, "eng"},
        {LANG_GERMAN, "ger"},
        {LANG_DUTCH, "dut"},
        {LANG_DANISH, "dan"},
        {LANG_CZECH, "cze"},
        {LANG_CHINESE, "chi"},
        {LANG_FRENCH, "fre"},
        // Serbian and Bosnian share Croatian's identifier.
        {LANG_SERBIAN, "hrv"},
        // No language of its own: English.
        {LANG_NEUTRAL, "eng"},
        {LANG_INVARIANT, "eng"},
        {0x3FF, "eng"}};
    for (const auto& c : cases)
        EXPECT_STREQ(LanguageExtension(c.first), c.second) << c.first;
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

TEST(Languages, NamesAndIdentifiersOfLanguages) {
    TLanguage language = 0;
    EXPECT_TRUE(LanguageOfName(" .ENG\t", language));
    EXPECT_EQ(language, LANG_ENGLISH);
    EXPECT_TRUE(LanguageOfName("scottish gaelic", language));
    EXPECT_EQ(language, LANG_SCOTTISH_GAELIC);
    EXPECT_FALSE(LanguageOfName(nullptr, language));
    EXPECT_EQ(LanguageOfLangId(0x0407), LANG_GERMAN);
    EXPECT_EQ(LanguageOfLangId(0x0C07), LANG_GERMAN); // Austria
    EXPECT_EQ(LanguageOfLangId(0x0809), LANG_ENGLISH);
}

} // namespace
