// The user's default language on Linux, from the locale environment.
#if !defined(_WIN32)

#include "win32/layer.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

struct LocaleLanguage {
    const char* code; // the language part of a locale name (ISO 639)
    WORD primary;
};

// Locale names use the two-letter ISO 639-1 code where a language has one
// and the three-letter code otherwise.
const LocaleLanguage kLocaleLanguages[] = {
    {"af", LANG_AFRIKAANS},  {"am", LANG_AMHARIC},        {"ar", LANG_ARABIC},
    {"as", LANG_ASSAMESE},   {"az", LANG_AZERI},          {"ba", LANG_BASHKIR},
    {"be", LANG_BELARUSIAN}, {"bg", LANG_BULGARIAN},      {"bn", LANG_BENGALI},
    {"bo", LANG_TIBETAN},    {"br", LANG_BRETON},         {"bs", LANG_BOSNIAN},
    {"ca", LANG_CATALAN},    {"chr", LANG_CHEROKEE},      {"ckb", LANG_CENTRAL_KURDISH},
    {"co", LANG_CORSICAN},   {"cs", LANG_CZECH},          {"cy", LANG_WELSH},
    {"da", LANG_DANISH},     {"de", LANG_GERMAN},         {"dsb", LANG_LOWER_SORBIAN},
    {"dv", LANG_DIVEHI},     {"el", LANG_GREEK},          {"en", LANG_ENGLISH},
    {"es", LANG_SPANISH},    {"et", LANG_ESTONIAN},       {"eu", LANG_BASQUE},
    {"fa", LANG_PERSIAN},    {"ff", LANG_FULAH},          {"fi", LANG_FINNISH},
    {"fil", LANG_FILIPINO},  {"fo", LANG_FAEROESE},       {"fr", LANG_FRENCH},
    {"fy", LANG_FRISIAN},    {"ga", LANG_IRISH},          {"gd", LANG_SCOTTISH_GAELIC},
    {"gl", LANG_GALICIAN},   {"gsw", LANG_ALSATIAN},      {"gu", LANG_GUJARATI},
    {"ha", LANG_HAUSA},      {"he", LANG_HEBREW},         {"hi", LANG_HINDI},
    {"hr", LANG_CROATIAN},   {"hsb", LANG_UPPER_SORBIAN}, {"hu", LANG_HUNGARIAN},
    {"hy", LANG_ARMENIAN},   {"id", LANG_INDONESIAN},     {"ig", LANG_IGBO},
    {"ii", LANG_YI},         {"is", LANG_ICELANDIC},      {"it", LANG_ITALIAN},
    {"iu", LANG_INUKTITUT},  {"ja", LANG_JAPANESE},       {"ka", LANG_GEORGIAN},
    {"kk", LANG_KAZAK},      {"kl", LANG_GREENLANDIC},    {"km", LANG_KHMER},
    {"kn", LANG_KANNADA},    {"ko", LANG_KOREAN},         {"kok", LANG_KONKANI},
    {"ks", LANG_KASHMIRI},   {"ky", LANG_KYRGYZ},         {"lb", LANG_LUXEMBOURGISH},
    {"lo", LANG_LAO},        {"lt", LANG_LITHUANIAN},     {"lv", LANG_LATVIAN},
    {"mi", LANG_MAORI},      {"mk", LANG_MACEDONIAN},     {"ml", LANG_MALAYALAM},
    {"mn", LANG_MONGOLIAN},  {"mni", LANG_MANIPURI},      {"moh", LANG_MOHAWK},
    {"mr", LANG_MARATHI},    {"ms", LANG_MALAY},          {"mt", LANG_MALTESE},
    {"nb", LANG_NORWEGIAN},  {"ne", LANG_NEPALI},         {"nl", LANG_DUTCH},
    {"nn", LANG_NORWEGIAN},  {"no", LANG_NORWEGIAN},      {"nso", LANG_SOTHO},
    {"oc", LANG_OCCITAN},    {"or", LANG_ORIYA},          {"pa", LANG_PUNJABI},
    {"pl", LANG_POLISH},     {"ps", LANG_PASHTO},         {"pt", LANG_PORTUGUESE},
    {"qu", LANG_QUECHUA},    {"quc", LANG_KICHE},         {"rm", LANG_ROMANSH},
    {"ro", LANG_ROMANIAN},   {"ru", LANG_RUSSIAN},        {"rw", LANG_KINYARWANDA},
    {"sa", LANG_SANSKRIT},   {"sah", LANG_YAKUT},         {"sd", LANG_SINDHI},
    {"se", LANG_SAMI},       {"si", LANG_SINHALESE},      {"sk", LANG_SLOVAK},
    {"sl", LANG_SLOVENIAN},  {"sq", LANG_ALBANIAN},       {"sr", LANG_SERBIAN},
    {"sv", LANG_SWEDISH},    {"sw", LANG_SWAHILI},        {"syr", LANG_SYRIAC},
    {"ta", LANG_TAMIL},      {"te", LANG_TELUGU},         {"tg", LANG_TAJIK},
    {"th", LANG_THAI},       {"ti", LANG_TIGRINYA},       {"tk", LANG_TURKMEN},
    {"tn", LANG_TSWANA},     {"tr", LANG_TURKISH},        {"tt", LANG_TATAR},
    {"tzm", LANG_TAMAZIGHT}, {"ug", LANG_UIGHUR},         {"uk", LANG_UKRAINIAN},
    {"ur", LANG_URDU},       {"uz", LANG_UZBEK},          {"vi", LANG_VIETNAMESE},
    {"wo", LANG_WOLOF},      {"xh", LANG_XHOSA},          {"yo", LANG_YORUBA},
    {"zh", LANG_CHINESE},    {"zu", LANG_ZULU},
};

const LANGID kEnglishUnitedStates = MAKELANGID(LANG_ENGLISH, SUBLANG_DEFAULT);

// The locale name that decides the language of messages, as setlocale would
// pick it: the first of the variables that is set and not empty.
std::string MessagesLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value)
            return value;
    }
    return std::string();
}

// "de_DE.UTF-8@euro" -> "de".
std::string LanguagePart(const std::string& locale) {
    std::string language = locale.substr(0, locale.find_first_of("_.@"));
    for (char& c : language)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return language;
}

} // namespace

LANGID GetUserDefaultLangID() {
    const std::string language = LanguagePart(MessagesLocale());
    for (const LocaleLanguage& entry : kLocaleLanguages)
        if (language == entry.code)
            return MAKELANGID(entry.primary, SUBLANG_DEFAULT);
    return kEnglishUnitedStates;
}

LCID GetUserDefaultLCID() {
    return MAKELCID(GetUserDefaultLangID(), SORT_DEFAULT);
}

#endif // !_WIN32
