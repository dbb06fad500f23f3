// The table of primary languages and the extensions of their message files.
#include "MessageLanguage.h"

#include <cctype>
#include <cstring>
#include <string>

namespace {

struct LanguageEntry {
    TLanguage primary;
    const char* extension; // ISO 639-2 (bibliographic) where the language has a code
    const char* name;
};

// Every primary language Windows knows. The extensions are the bibliographic
// ISO 639-2 codes, which give the customary ".eng", ".ger", ".dut", ".cze",
// ".chi"; where Windows shares one identifier between languages (Croatian,
// Serbian and Bosnian; Upper and Lower Sorbian) the first of them names it.
const LanguageEntry kLanguages[] = {
    {LANG_ARABIC, "ara", "Arabic"},
    {LANG_BULGARIAN, "bul", "Bulgarian"},
    {LANG_CATALAN, "cat", "Catalan"},
    {LANG_CHINESE, "chi", "Chinese"},
    {LANG_CZECH, "cze", "Czech"},
    {LANG_DANISH, "dan", "Danish"},
    {LANG_GERMAN, "ger", "German"},
    {LANG_GREEK, "gre", "Greek"},
    {LANG_ENGLISH, "eng", "English"},
    {LANG_SPANISH, "spa", "Spanish"},
    {LANG_FINNISH, "fin", "Finnish"},
    {LANG_FRENCH, "fre", "French"},
    {LANG_HEBREW, "heb", "Hebrew"},
    {LANG_HUNGARIAN, "hun", "Hungarian"},
    {LANG_ICELANDIC, "ice", "Icelandic"},
    {LANG_ITALIAN, "ita", "Italian"},
    {LANG_JAPANESE, "jpn", "Japanese"},
    {LANG_KOREAN, "kor", "Korean"},
    {LANG_DUTCH, "dut", "Dutch"},
    {LANG_NORWEGIAN, "nor", "Norwegian"},
    {LANG_POLISH, "pol", "Polish"},
    {LANG_PORTUGUESE, "por", "Portuguese"},
    {LANG_ROMANSH, "roh", "Romansh"},
    {LANG_ROMANIAN, "rum", "Romanian"},
    {LANG_RUSSIAN, "rus", "Russian"},
    {LANG_CROATIAN, "hrv", "Croatian"},
    {LANG_SLOVAK, "slo", "Slovak"},
    {LANG_ALBANIAN, "alb", "Albanian"},
    {LANG_SWEDISH, "swe", "Swedish"},
    {LANG_THAI, "tha", "Thai"},
    {LANG_TURKISH, "tur", "Turkish"},
    {LANG_URDU, "urd", "Urdu"},
    {LANG_INDONESIAN, "ind", "Indonesian"},
    {LANG_UKRAINIAN, "ukr", "Ukrainian"},
    {LANG_BELARUSIAN, "bel", "Belarusian"},
    {LANG_SLOVENIAN, "slv", "Slovenian"},
    {LANG_ESTONIAN, "est", "Estonian"},
    {LANG_LATVIAN, "lav", "Latvian"},
    {LANG_LITHUANIAN, "lit", "Lithuanian"},
    {LANG_TAJIK, "tgk", "Tajik"},
    {LANG_PERSIAN, "per", "Persian"},
    {LANG_VIETNAMESE, "vie", "Vietnamese"},
    {LANG_ARMENIAN, "arm", "Armenian"},
    {LANG_AZERI, "aze", "Azerbaijani"},
    {LANG_BASQUE, "baq", "Basque"},
    {LANG_UPPER_SORBIAN, "wen", "Sorbian"},
    {LANG_MACEDONIAN, "mac", "Macedonian"},
    {LANG_TSWANA, "tsn", "Tswana"},
    {LANG_XHOSA, "xho", "Xhosa"},
    {LANG_ZULU, "zul", "Zulu"},
    {LANG_AFRIKAANS, "afr", "Afrikaans"},
    {LANG_GEORGIAN, "geo", "Georgian"},
    {LANG_FAEROESE, "fao", "Faroese"},
    {LANG_HINDI, "hin", "Hindi"},
    {LANG_MALTESE, "mlt", "Maltese"},
    {LANG_SAMI, "smi", "Sami"},
    {LANG_IRISH, "gle", "Irish"},
    {LANG_MALAY, "may", "Malay"},
    {LANG_KAZAK, "kaz", "Kazakh"},
    {LANG_KYRGYZ, "kir", "Kyrgyz"},
    {LANG_SWAHILI, "swa", "Swahili"},
    {LANG_TURKMEN, "tuk", "Turkmen"},
    {LANG_UZBEK, "uzb", "Uzbek"},
    {LANG_TATAR, "tat", "Tatar"},
    {LANG_BENGALI, "ben", "Bengali"},
    {LANG_PUNJABI, "pan", "Punjabi"},
    {LANG_GUJARATI, "guj", "Gujarati"},
    {LANG_ORIYA, "ori", "Odia"},
    {LANG_TAMIL, "tam", "Tamil"},
    {LANG_TELUGU, "tel", "Telugu"},
    {LANG_KANNADA, "kan", "Kannada"},
    {LANG_MALAYALAM, "mal", "Malayalam"},
    {LANG_ASSAMESE, "asm", "Assamese"},
    {LANG_MARATHI, "mar", "Marathi"},
    {LANG_SANSKRIT, "san", "Sanskrit"},
    {LANG_MONGOLIAN, "mon", "Mongolian"},
    {LANG_TIBETAN, "tib", "Tibetan"},
    {LANG_WELSH, "wel", "Welsh"},
    {LANG_KHMER, "khm", "Khmer"},
    {LANG_LAO, "lao", "Lao"},
    {LANG_GALICIAN, "glg", "Galician"},
    {LANG_KONKANI, "kok", "Konkani"},
    {LANG_MANIPURI, "mni", "Manipuri"},
    {LANG_SINDHI, "snd", "Sindhi"},
    {LANG_SYRIAC, "syr", "Syriac"},
    {LANG_SINHALESE, "sin", "Sinhala"},
    {LANG_CHEROKEE, "chr", "Cherokee"},
    {LANG_INUKTITUT, "iku", "Inuktitut"},
    {LANG_AMHARIC, "amh", "Amharic"},
    {LANG_TAMAZIGHT, "tzm", "Tamazight"},
    {LANG_KASHMIRI, "kas", "Kashmiri"},
    {LANG_NEPALI, "nep", "Nepali"},
    {LANG_FRISIAN, "fry", "Frisian"},
    {LANG_PASHTO, "pus", "Pashto"},
    {LANG_FILIPINO, "fil", "Filipino"},
    {LANG_DIVEHI, "div", "Divehi"},
    {LANG_FULAH, "ful", "Fulah"},
    {LANG_HAUSA, "hau", "Hausa"},
    {LANG_YORUBA, "yor", "Yoruba"},
    {LANG_QUECHUA, "que", "Quechua"},
    {LANG_SOTHO, "nso", "Northern Sotho"},
    {LANG_BASHKIR, "bak", "Bashkir"},
    {LANG_LUXEMBOURGISH, "ltz", "Luxembourgish"},
    {LANG_GREENLANDIC, "kal", "Greenlandic"},
    {LANG_IGBO, "ibo", "Igbo"},
    {LANG_TIGRINYA, "tir", "Tigrinya"},
    {LANG_YI, "iii", "Yi"},
    {LANG_MAPUDUNGUN, "arn", "Mapudungun"},
    {LANG_MOHAWK, "moh", "Mohawk"},
    {LANG_BRETON, "bre", "Breton"},
    {LANG_UIGHUR, "uig", "Uyghur"},
    {LANG_MAORI, "mao", "Maori"},
    {LANG_OCCITAN, "oci", "Occitan"},
    {LANG_CORSICAN, "cos", "Corsican"},
    {LANG_ALSATIAN, "gsw", "Alsatian"},
    {LANG_YAKUT, "sah", "Sakha"},
    {LANG_KICHE, "quc", "K'iche'"},
    {LANG_KINYARWANDA, "kin", "Kinyarwanda"},
    {LANG_WOLOF, "wol", "Wolof"},
    {LANG_DARI, "prs", "Dari"},
    {LANG_SCOTTISH_GAELIC, "gla", "Scottish Gaelic"},
    {LANG_CENTRAL_KURDISH, "ckb", "Central Kurdish"},
};

const LanguageEntry* EntryOf(TLanguage language) {
    for (const LanguageEntry& entry : kLanguages)
        if (entry.primary == language)
            return &entry;
    return nullptr;
}

bool SameWithoutCase(const std::string& a, const char* b) {
    if (a.size() != std::strlen(b))
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::string Trimmed(const char* text) {
    std::string s = text ? text : "";
    const std::size_t first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return std::string();
    const std::size_t last = s.find_last_not_of(" \t\r\n");
    return s.substr(first, last - first + 1);
}

} // namespace

const char* LanguageExtension(TLanguage language) {
    const LanguageEntry* entry = EntryOf(language);
    return entry ? entry->extension : EntryOf(LANG_ENGLISH)->extension;
}

bool LanguageOfExtension(const char* extension, TLanguage& language) {
    std::string ext = Trimmed(extension);
    if (!ext.empty() && ext[0] == '.')
        ext.erase(0, 1);
    for (const LanguageEntry& entry : kLanguages) {
        if (SameWithoutCase(ext, entry.extension)) {
            language = entry.primary;
            return true;
        }
    }
    return false;
}

bool LanguageOfName(const char* text, TLanguage& language) {
    if (LanguageOfExtension(text, language))
        return true;
    const std::string name = Trimmed(text);
    for (const LanguageEntry& entry : kLanguages) {
        if (SameWithoutCase(name, entry.name)) {
            language = entry.primary;
            return true;
        }
    }
    return false;
}

TLanguage LanguageOfLangId(unsigned long langId) {
    return static_cast<TLanguage>(PRIMARYLANGID(static_cast<LANGID>(langId)));
}
