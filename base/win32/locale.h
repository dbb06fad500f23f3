// Language identifiers, for platforms without <windows.h>. The user's default
// language comes from the locale environment: LC_ALL, else LC_MESSAGES, else
// LANG, as POSIX orders them ("de_DE.UTF-8" is German). Unset, "C", "POSIX"
// and languages without a Windows identifier give English (United States).
// The sublanguage is SUBLANG_DEFAULT: the territory is not mapped.
#ifndef BASEKEL_WIN32_LOCALE_H
#define BASEKEL_WIN32_LOCALE_H

#if !defined(_WIN32)

#include "types.h"

typedef WORD LANGID;
typedef DWORD LCID;

#define MAKELANGID(p, s) ((((WORD)(s)) << 10) | (WORD)(p))
#define PRIMARYLANGID(lgid) ((WORD)(lgid)&0x3ff)
#define SUBLANGID(lgid) ((WORD)(lgid) >> 10)
#define MAKELCID(lgid, srtid) ((DWORD)((((DWORD)((WORD)(srtid))) << 16) | ((DWORD)((WORD)(lgid)))))
#define LANGIDFROMLCID(lcid) ((WORD)(lcid))

#define SORT_DEFAULT 0x0
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_SYS_DEFAULT 0x02
#define LANG_USER_DEFAULT (MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT))
#define LANG_SYSTEM_DEFAULT (MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT))

// Primary languages, with Windows' names and values.
#define LANG_NEUTRAL 0x00
#define LANG_ARABIC 0x01
#define LANG_BULGARIAN 0x02
#define LANG_CATALAN 0x03
#define LANG_VALENCIAN 0x03
#define LANG_CHINESE 0x04
#define LANG_CHINESE_SIMPLIFIED 0x04
#define LANG_CZECH 0x05
#define LANG_DANISH 0x06
#define LANG_GERMAN 0x07
#define LANG_GREEK 0x08
#define LANG_ENGLISH 0x09
#define LANG_SPANISH 0x0a
#define LANG_FINNISH 0x0b
#define LANG_FRENCH 0x0c
#define LANG_HEBREW 0x0d
#define LANG_HUNGARIAN 0x0e
#define LANG_ICELANDIC 0x0f
#define LANG_ITALIAN 0x10
#define LANG_JAPANESE 0x11
#define LANG_KOREAN 0x12
#define LANG_DUTCH 0x13
#define LANG_NORWEGIAN 0x14
#define LANG_POLISH 0x15
#define LANG_PORTUGUESE 0x16
#define LANG_ROMANSH 0x17
#define LANG_ROMANIAN 0x18
#define LANG_RUSSIAN 0x19
#define LANG_BOSNIAN 0x1a
#define LANG_CROATIAN 0x1a
#define LANG_SERBIAN 0x1a
#define LANG_SLOVAK 0x1b
#define LANG_ALBANIAN 0x1c
#define LANG_SWEDISH 0x1d
#define LANG_THAI 0x1e
#define LANG_TURKISH 0x1f
#define LANG_URDU 0x20
#define LANG_INDONESIAN 0x21
#define LANG_UKRAINIAN 0x22
#define LANG_BELARUSIAN 0x23
#define LANG_SLOVENIAN 0x24
#define LANG_ESTONIAN 0x25
#define LANG_LATVIAN 0x26
#define LANG_LITHUANIAN 0x27
#define LANG_TAJIK 0x28
#define LANG_FARSI 0x29
#define LANG_PERSIAN 0x29
#define LANG_VIETNAMESE 0x2a
#define LANG_ARMENIAN 0x2b
#define LANG_AZERBAIJANI 0x2c
#define LANG_AZERI 0x2c
#define LANG_BASQUE 0x2d
#define LANG_LOWER_SORBIAN 0x2e
#define LANG_UPPER_SORBIAN 0x2e
#define LANG_MACEDONIAN 0x2f
#define LANG_TSWANA 0x32
#define LANG_XHOSA 0x34
#define LANG_ZULU 0x35
#define LANG_AFRIKAANS 0x36
#define LANG_GEORGIAN 0x37
#define LANG_FAEROESE 0x38
#define LANG_HINDI 0x39
#define LANG_MALTESE 0x3a
#define LANG_SAMI 0x3b
#define LANG_IRISH 0x3c
#define LANG_MALAY 0x3e
#define LANG_KAZAK 0x3f
#define LANG_KYRGYZ 0x40
#define LANG_SWAHILI 0x41
#define LANG_TURKMEN 0x42
#define LANG_UZBEK 0x43
#define LANG_TATAR 0x44
#define LANG_BANGLA 0x45
#define LANG_BENGALI 0x45
#define LANG_PUNJABI 0x46
#define LANG_GUJARATI 0x47
#define LANG_ODIA 0x48
#define LANG_ORIYA 0x48
#define LANG_TAMIL 0x49
#define LANG_TELUGU 0x4a
#define LANG_KANNADA 0x4b
#define LANG_MALAYALAM 0x4c
#define LANG_ASSAMESE 0x4d
#define LANG_MARATHI 0x4e
#define LANG_SANSKRIT 0x4f
#define LANG_MONGOLIAN 0x50
#define LANG_TIBETAN 0x51
#define LANG_WELSH 0x52
#define LANG_KHMER 0x53
#define LANG_LAO 0x54
#define LANG_GALICIAN 0x56
#define LANG_KONKANI 0x57
#define LANG_MANIPURI 0x58
#define LANG_SINDHI 0x59
#define LANG_SYRIAC 0x5a
#define LANG_SINHALESE 0x5b
#define LANG_CHEROKEE 0x5c
#define LANG_INUKTITUT 0x5d
#define LANG_AMHARIC 0x5e
#define LANG_TAMAZIGHT 0x5f
#define LANG_KASHMIRI 0x60
#define LANG_NEPALI 0x61
#define LANG_FRISIAN 0x62
#define LANG_PASHTO 0x63
#define LANG_FILIPINO 0x64
#define LANG_DIVEHI 0x65
#define LANG_FULAH 0x67
#define LANG_PULAR 0x67
#define LANG_HAUSA 0x68
#define LANG_YORUBA 0x6a
#define LANG_QUECHUA 0x6b
#define LANG_SOTHO 0x6c
#define LANG_BASHKIR 0x6d
#define LANG_LUXEMBOURGISH 0x6e
#define LANG_GREENLANDIC 0x6f
#define LANG_IGBO 0x70
#define LANG_TIGRIGNA 0x73
#define LANG_TIGRINYA 0x73
#define LANG_YI 0x78
#define LANG_MAPUDUNGUN 0x7a
#define LANG_MOHAWK 0x7c
#define LANG_BRETON 0x7e
#define LANG_INVARIANT 0x7f
#define LANG_UIGHUR 0x80
#define LANG_MAORI 0x81
#define LANG_OCCITAN 0x82
#define LANG_CORSICAN 0x83
#define LANG_ALSATIAN 0x84
#define LANG_SAKHA 0x85
#define LANG_YAKUT 0x85
#define LANG_KICHE 0x86
#define LANG_KINYARWANDA 0x87
#define LANG_WOLOF 0x88
#define LANG_DARI 0x8c
#define LANG_SCOTTISH_GAELIC 0x91
#define LANG_CENTRAL_KURDISH 0x92

WINBASEAPI LANGID GetUserDefaultLangID();
WINBASEAPI LCID GetUserDefaultLCID();

#endif // !_WIN32
#endif
