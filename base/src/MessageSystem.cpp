// The message catalogue: origin registry, operator status, the message file
// of the user's language with its index, and the texts of messages.
#include "MessageCatalogue.h"

#include "LibraryLog.h"
#include "MessageFileFormat.h"
#include "MessageLanguage.h"
#include "MessageMacros.h"
#include "TestHooks.h"

#include <cstring>

namespace {

// The origins every process has, in the order that gives them codes 0 to 4.
const char* const kBuiltInOrigins[] = {"SystemExeptions", "SYSTEM", "BaseExceptions", "FileError",
                                       "DynamicError"};

const unsigned short kSystemOrigin = 1;
const unsigned short kPassThroughOrigin = 3;
const unsigned short kPassThroughCode = 12;

// FormatMessageA writes system texts into a buffer of this size.
const DWORD kSystemTextSize = 1024;

// How often a lookup looks whether the message file changed.
const DWORD kDefaultCheckIntervalMs = 1000;

// A line longer than a record can say is read in pieces, up to this much.
const std::uint32_t kLongLinePiece = 64 * 1024;
const std::uint32_t kLongestLine = 16 * 1024 * 1024;

const char kLibraryMessageFile[] = "kelmo_msg";
const char kMessageDirectory[] = "MESSAGE\\";
const char kLanguageOverrideFile[] = "language.lng";
const char kIndexExtension[] = ".ndx";

// The texts the catalogue shows before it has a message file, in English and
// German.
struct StartupTexts {
    const char* copyCaption;
    const char* copyQuestion; // missing, found, found, missing
    const char* copyFailed;
    const char* missingCaption;
    const char* missingFile; // the file looked for
};

const StartupTexts kEnglishTexts = {
    "Errorsystem",
    "Messagefile %s not found, using %s.\nPress OK to copy %s to %s to suppress this message "
    "next time.",
    "Could not copy the message file.",
    "Initialising Errorsystem",
    "Message file %s not found!",
};

// Only these two texts exist in German; the copy box speaks English always.
const StartupTexts kGermanTexts = {
    kEnglishTexts.copyCaption,      kEnglishTexts.copyQuestion,         kEnglishTexts.copyFailed,
    "Initialisierung Fehlersystem", "Message Datei %s nicht gefunden!",
};

const StartupTexts& StartupTextsFor(TLanguage language) {
    return language == LANG_GERMAN ? kGermanTexts : kEnglishTexts;
}

const char* TextOrEmpty(const char* p) {
    return p ? p : "";
}

// The operating system's text for a system error number, without the line
// end Windows puts after it; false when the system has no text for it.
bool SystemText(DWORD code, TString& text) {
    char buffer[kSystemTextSize];
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, code, 0, buffer, kSystemTextSize, nullptr);
    if (length == 0 || length >= kSystemTextSize)
        return false;
    while (length > 0 && (buffer[length - 1] == '\n' || buffer[length - 1] == '\r'))
        --length;
    buffer[length] = '\0';
    text = buffer;
    return true;
}

TString NotFoundText(unsigned short origin, unsigned short code, const TString& p1,
                     const TString& p2, const TString& p3) {
    TString text;
    text.Format("no message for 0x%X:0x%X (\"%s\",\"%s\",\"%s\")", static_cast<unsigned>(origin),
                static_cast<unsigned>(code), static_cast<const char*>(p1),
                static_cast<const char*>(p2), static_cast<const char*>(p3));
    return text;
}

std::string ModulePath(HMODULE module) {
    char path[MAX_PATH + 1] = {};
    const DWORD length = GetModuleFileNameA(module, path, sizeof path);
    return length > 0 && length < sizeof path ? std::string(path, length) : std::string();
}

// The first line of a file, when the file holds at least `minimum` bytes.
bool FirstLineOf(const std::string& path, std::size_t minimum, std::string& line) {
    std::vector<char> bytes;
    msgfiles::Stamp stamp;
    if (!msgfiles::ReadAll(path.c_str(), bytes, stamp) || bytes.size() < minimum)
        return false;
    const char* end = bytes.data() + bytes.size();
    line.assign(static_cast<const char*>(bytes.data()), EndOfLine(bytes.data(), end));
    return true;
}

std::string TheIndexPathOf(const std::string& messagePath) {
    return msgfiles::WithoutExtension(messagePath) + kIndexExtension;
}

TString ToTString(const std::string& text) {
    return TString(text.c_str(), static_cast<long>(text.size()));
}

} // namespace

TMessageSystem::TMessageSystem()
    : m_operatorStatus(1), m_request(FileRequest::Default), m_library(nullptr), m_oemTexts(nullptr),
      m_boxHandler(nullptr), m_resolved(false), m_busy(false), m_language(LANG_ENGLISH),
      m_haveIndex(false), m_lastCheck(0), m_checkInterval(kDefaultCheckIntervalMs) {
    for (const char* name : kBuiltInOrigins)
        RegisterOrigin(name, "BASE", __FILE__, __LINE__);
}

// ---------------------------------------------------------------------------
// Origins

long TMessageSystem::IndexOf(const char* name) const {
    const auto known = m_codeOfName.find(name);
    return known == m_codeOfName.end() ? -1 : static_cast<long>(known->second);
}

unsigned short TMessageSystem::Register(const char* name, const char* module,
                                        const char* sourceFile, unsigned long line) {
    const long known = IndexOf(name);
    if (known >= 0)
        return static_cast<unsigned short>(known);
    if (m_origins.size() >= KELMO_MAX_ORIGINS)
        return KELMO_NO_ORIGIN;
    const unsigned short code = static_cast<unsigned short>(m_origins.size());
    m_origins.push_back(Origin{name, TextOrEmpty(module), TextOrEmpty(sourceFile), line});
    m_codeOfName.emplace(name, code);
    m_slotOfOrigin.push_back(-1);
    return code;
}

unsigned short TMessageSystem::RegisterOrigin(const char* name, const char* module,
                                              const char* sourceFile, unsigned long line) {
    if (!name)
        return KELMO_NO_ORIGIN;
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return Register(name, module, sourceFile, line);
}

unsigned short TMessageSystem::SearchOriginCode(const char* name) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    long index = IndexOf(TextOrEmpty(name));
    if (index < 0 && !m_resolved) {
        // The message file's sections are origins too.
        EnsureOpen();
        index = IndexOf(TextOrEmpty(name));
    }
    return index >= 0 ? static_cast<unsigned short>(index) : KELMO_NO_ORIGIN;
}

TString TMessageSystem::GetOriginString(unsigned short origin) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    if (origin >= m_origins.size())
        EnsureOpen();
    if (origin < m_origins.size())
        return m_origins[origin].name;
    TString text;
    text.Format("unknown origin code %d", static_cast<int>(origin));
    return text;
}

// ---------------------------------------------------------------------------
// Operator status, settings and hooks

TOperatorStatus TMessageSystem::GetOperatorStatus() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_operatorStatus;
}

TOperatorStatus TMessageSystem::SetOperatorStatus(TOperatorStatus status) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    const TOperatorStatus previous = m_operatorStatus;
    m_operatorStatus = status;
    return previous;
}

void TMessageSystem::SetMessageFile(FileRequest kind, const char* name) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_request = kind;
    m_requestedName = TextOrEmpty(name);
    Forget();
}

void TMessageSystem::SetProductRegistryKey(const char* key) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_productKey = TextOrEmpty(key);
}

TString TMessageSystem::GetProductRegistryKey() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_productKey.c_str();
}

TLanguage TMessageSystem::GetCurrentLanguage() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    EnsureOpen();
    return m_language;
}

TString TMessageSystem::GetMessageFileName() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    EnsureOpen();
    return m_messagePath.c_str();
}

TOemTextProvider TMessageSystem::SetOemTextProvider(TOemTextProvider provider) {
    return m_oemTexts.exchange(provider);
}

TMessageBoxHandler TMessageSystem::SetMessageBoxHandler(TMessageBoxHandler handler) {
    return m_boxHandler.exchange(handler);
}

void TMessageSystem::SetExecutablePath(const char* path) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_executablePath = TextOrEmpty(path);
    Forget();
}

DWORD TMessageSystem::SetCheckInterval(DWORD milliseconds) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    const DWORD previous = m_checkInterval;
    m_checkInterval = milliseconds;
    return previous;
}

void TMessageSystem::ChooseStartupFile(HMODULE library) {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    m_request = FileRequest::Startup;
    m_requestedName.clear();
    m_library = library;
    Forget();
}

// ---------------------------------------------------------------------------
// Choosing the language and the file

std::string TMessageSystem::ExecutablePath() const {
    return m_executablePath.empty() ? ModulePath(nullptr) : m_executablePath;
}

std::string TMessageSystem::ExecutableDirectory() const {
    return msgfiles::DirectoryOf(ExecutablePath());
}

TLanguage TMessageSystem::ChooseLanguage() const {
    TLanguage language = LanguageOfLangId(GetUserDefaultLangID());
    // A language file of at least three bytes beside the executable names
    // the language on its first line.
    std::string line;
    TLanguage named = 0;
    if (FirstLineOf(ExecutableDirectory() + kLanguageOverrideFile, 3, line) &&
        LanguageOfName(line.c_str(), named))
        language = named;
    return language;
}

void TMessageSystem::DecideStartupFile() {
    const std::string base = msgfiles::WithoutExtension(ExecutablePath());
    if (msgfiles::Exists((base + ".eng").c_str()) || msgfiles::Exists((base + ".ger").c_str())) {
        m_request = FileRequest::Default;
    } else {
        m_request = FileRequest::Absolute;
        m_requestedName = msgfiles::DirectoryOf(ModulePath(m_library)) + kLibraryMessageFile;
    }
}

std::string TMessageSystem::RequestedBase() const {
    switch (m_request) {
    case FileRequest::Relative:
        return ExecutableDirectory() + kMessageDirectory + m_requestedName;
    case FileRequest::Absolute:
        return m_requestedName;
    case FileRequest::Default:
    case FileRequest::Startup:
        break;
    }
    return msgfiles::WithoutExtension(ExecutablePath());
}

// Drops the open state; the next lookup chooses and opens the file again.
void TMessageSystem::Forget() {
    m_resolved = false;
    m_messagePath.clear();
    m_indexPath.clear();
    m_messageStamp = msgfiles::Stamp();
    m_haveIndex = false;
    m_index = msgindex::Index();
    m_texts.clear();
    for (long& slot : m_slotOfOrigin)
        slot = -1;
}

void TMessageSystem::EnsureOpen() {
    // A lookup made while the file is being chosen (from a box handler, say)
    // gets on without the file.
    if (m_resolved || m_busy)
        return;
    m_busy = true;
    Resolve();
    m_busy = false;
    m_resolved = true;
}

void TMessageSystem::Resolve() {
    if (m_request == FileRequest::Startup)
        DecideStartupFile();
    const TLanguage wanted = ChooseLanguage();
    m_language = wanted;
    const std::string base = RequestedBase();
    std::string path;
    if (!FindExisting(base, wanted, path))
        return;
    m_messagePath = path;
    m_indexPath = TheIndexPathOf(path);
    LoadIndex(false);
}

// The file to use for `base`: itself when it has an extension; else the
// file of the wanted language, or else the English or German one, after
// asking the operator whether to copy it to the wanted name.
bool TMessageSystem::FindExisting(const std::string& base, TLanguage wanted, std::string& path) {
    TLanguage language = wanted;
    if (!msgfiles::ExtensionOf(base).empty()) {
        if (LanguageOfExtension(msgfiles::ExtensionOf(base).c_str(), language))
            m_language = language;
        if (msgfiles::Exists(base.c_str())) {
            path = base;
            return true;
        }
        ReportMissing(base, wanted);
        return false;
    }
    const std::string wantedPath = base + "." + LanguageExtension(wanted);
    if (msgfiles::Exists(wantedPath.c_str())) {
        path = wantedPath;
        return true;
    }
    for (TLanguage other : {TLanguage(LANG_ENGLISH), TLanguage(LANG_GERMAN)}) {
        const std::string otherPath = base + "." + LanguageExtension(other);
        if (otherPath != wantedPath && msgfiles::Exists(otherPath.c_str())) {
            OfferCopy(wantedPath, otherPath, wanted);
            m_language = other;
            path = otherPath;
            return true;
        }
    }
    ReportMissing(wantedPath, wanted);
    return false;
}

void TMessageSystem::OfferCopy(const std::string& missing, const std::string& found,
                               TLanguage language) {
    const StartupTexts& texts = StartupTextsFor(language);
    TString question;
    question.Format(texts.copyQuestion, missing.c_str(), found.c_str(), found.c_str(),
                    missing.c_str());
    if (ShowBox(question, texts.copyCaption, MB_OKCANCEL | MB_ICONQUESTION) != IDOK)
        return;
    if (!CopyFileA(found.c_str(), missing.c_str(), FALSE))
        ShowBox(texts.copyFailed, texts.copyCaption, MB_OK | MB_ICONEXCLAMATION);
}

void TMessageSystem::ReportMissing(const std::string& path, TLanguage language) {
    const StartupTexts& texts = StartupTextsFor(language);
    TString text;
    text.Format(texts.missingFile, path.c_str());
    ShowBox(text, texts.missingCaption, MB_OK | MB_ICONERROR);
}

int TMessageSystem::ShowBox(const TString& text, const char* caption, unsigned int type) {
    if (TMessageBoxHandler handler = m_boxHandler.load())
        return handler(text, caption, type);
    return MessageBoxA(nullptr, text, caption, type);
}

// ---------------------------------------------------------------------------
// The index

void TMessageSystem::LoadIndex(bool forceRebuild) {
    m_haveIndex = false;
    m_index = msgindex::Index();
    m_texts.clear();
    m_lastCheck = GetTickCount();
    msgfiles::Stamp stamp;
    if (!msgfiles::StampOf(m_messagePath.c_str(), stamp))
        return;
    m_messageStamp = stamp;
    msgindex::Index index;
    if ((!forceRebuild && ReadIndexFile(stamp, index)) || BuildIndex(index))
        UseIndex(std::move(index));
}

// The index file when it belongs to the message file as it is now and is not
// older than the message file or the executable.
bool TMessageSystem::ReadIndexFile(const msgfiles::Stamp& message, msgindex::Index& index) const {
    std::vector<char> bytes;
    msgfiles::Stamp indexStamp;
    if (!msgfiles::ReadAll(m_indexPath.c_str(), bytes, indexStamp) ||
        !msgindex::Parse(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), index))
        return false;
    const msgindex::Source& source = index.source;
    if (source.size != message.size ||
        msgfiles::CompareTimes(source.written, message.written) != 0 ||
        source.nameHash != msgindex::NameHash(m_messagePath.c_str()) ||
        msgfiles::CompareTimes(indexStamp.written, message.written) < 0)
        return false;
    msgfiles::Stamp executable;
    return !msgfiles::StampOf(ExecutablePath().c_str(), executable) ||
           msgfiles::CompareTimes(indexStamp.written, executable.written) >= 0;
}

// Reads the message file and writes its index. An index that cannot be
// written is still used, from memory.
bool TMessageSystem::BuildIndex(msgindex::Index& index) {
    std::vector<char> bytes;
    msgfiles::Stamp stamp;
    if (!msgfiles::ReadAll(m_messagePath.c_str(), bytes, stamp))
        return false;
    m_messageStamp = stamp;
    msgindex::Source source;
    source.size = stamp.size;
    source.written = stamp.written;
    source.nameHash = msgindex::NameHash(m_messagePath.c_str());
    index = msgindex::Build(bytes.data(), bytes.size(), source);
    DWORD error = 0;
    if (!msgfiles::ReplaceWith(m_indexPath.c_str(), msgindex::Serialize(index), error)) {
        TString text;
        text.Format("Error on open or create index file %s.", m_indexPath.c_str());
        WriteLibraryLog(2, text);
    }
    return true;
}

// Makes the index current: registers its sections as origins and notes
// which slot answers for each origin code.
void TMessageSystem::UseIndex(msgindex::Index&& index) {
    m_index = std::move(index);
    m_haveIndex = true;
    m_texts.assign(m_index.records.size(), CachedText());
    for (long& slot : m_slotOfOrigin)
        slot = -1;
    for (std::size_t i = 0; i < m_index.origins.size(); ++i) {
        const unsigned short code =
            Register(m_index.origins[i].name.c_str(), "MESSAGEFILE", m_messagePath.c_str(), 0);
        if (code != KELMO_NO_ORIGIN && m_slotOfOrigin[code] < 0)
            m_slotOfOrigin[code] = static_cast<long>(i);
    }
}

bool TMessageSystem::RebuildIndexNow() {
    std::lock_guard<std::recursive_mutex> guard(m_lock);
    EnsureOpen();
    if (m_messagePath.empty())
        return false;
    LoadIndex(true);
    return m_haveIndex;
}

// Looks, at most once per check interval, whether the message file changed
// since the index was made, and takes up the new one.
void TMessageSystem::CheckForChanges() {
    const DWORD now = GetTickCount();
    if (now - m_lastCheck < m_checkInterval)
        return;
    m_lastCheck = now;
    msgfiles::Stamp stamp;
    if (msgfiles::StampOf(m_messagePath.c_str(), stamp) &&
        !msgfiles::SameStamp(stamp, m_messageStamp))
        LoadIndex(false);
}

// ---------------------------------------------------------------------------
// Looking a message up

long TMessageSystem::FindRecord(unsigned short origin, unsigned short code) const {
    if (!m_haveIndex || origin >= m_slotOfOrigin.size() || m_slotOfOrigin[origin] < 0)
        return -1;
    const auto range =
        msgindex::FindCode(m_index, static_cast<std::size_t>(m_slotOfOrigin[origin]), code);
    return range.first < range.second ? static_cast<long>(range.first) : -1;
}

// Reads the record's line from the message file, with the byte before it.
// The line must still be where the index says: a whole line (the start of
// the file or a line end before it, a line end or the end of the file after
// it) of the recorded length. Anything else means that the file changed
// under the index.
bool TMessageSystem::ReadLine(std::size_t record, std::string& line) const {
    const msgindex::Record& r = m_index.records[record];
    const std::uint32_t lead = r.offset > 0 ? 1 : 0;
    const bool longLine = r.length == msgindex::kLongLine;
    std::uint32_t wanted = longLine ? kLongLinePiece : r.length + 1u;
    std::vector<char> bytes;
    for (;;) {
        if (!msgfiles::ReadAt(m_messagePath.c_str(), r.offset - lead, lead + wanted, bytes) ||
            (lead && (bytes.empty() || !IsLineEnd(bytes[0]))))
            return false;
        const char* begin = bytes.data() + lead;
        const char* end = bytes.data() + bytes.size();
        const char* lineEnd = EndOfLine(begin, end);
        const bool complete = lineEnd < end || bytes.size() < lead + wanted;
        if (complete) {
            line.assign(begin, lineEnd);
            return longLine ? line.size() >= msgindex::kLongLine : line.size() == r.length;
        }
        if (!longLine || wanted >= kLongestLine)
            return false;
        wanted *= 2;
    }
}

// The text of the record's line, when the line still holds the record's code.
bool TMessageSystem::ReadText(std::size_t record, CachedText& text) const {
    std::string line;
    if (!ReadLine(record, line))
        return false;
    const MessageLine parsed = ParseMessageLine(line.data(), line.data() + line.size());
    if (parsed.kind != MessageLineKind::Message || parsed.code != m_index.records[record].code)
        return false;
    text.text.assign(parsed.text, parsed.textLength);
    text.needsOem = HasOemMacro(parsed.text, parsed.textLength);
    text.loaded = true;
    return true;
}

const TMessageSystem::CachedText* TMessageSystem::FindText(unsigned short origin,
                                                           unsigned short code) {
    EnsureOpen();
    if (!m_messagePath.empty())
        CheckForChanges();
    for (int attempt = 0; attempt < 2; ++attempt) {
        const long record = FindRecord(origin, code);
        if (record < 0)
            return nullptr;
        CachedText& text = m_texts[static_cast<std::size_t>(record)];
        if (text.loaded || ReadText(static_cast<std::size_t>(record), text))
            return &text;
        // The file changed under the index: read it again, then look once more.
        LoadIndex(true);
    }
    return nullptr;
}

TString TMessageSystem::GetMessage(unsigned short origin, unsigned short code, const TString& p1,
                                   const TString& p2, const TString& p3) {
    if (origin == kPassThroughOrigin && code == kPassThroughCode)
        return p1;
    MacroContext context{{&p1, &p2, &p3}, LANG_ENGLISH, m_oemTexts.load()};
    std::string expanded;
    std::string raw;
    {
        std::lock_guard<std::recursive_mutex> guard(m_lock);
        context.language = m_language;
        const CachedText* text = origin == kSystemOrigin ? nullptr : FindText(origin, code);
        if (text && !text->needsOem) {
            expanded.reserve(text->text.size() + p1.GetLength() + p2.GetLength() + p3.GetLength());
            ExpandMacros(text->text.data(), text->text.size(), context, expanded);
            return ToTString(expanded);
        }
        if (text)
            raw = text->text;
    }
    if (raw.empty()) {
        // The system's text and the not-found text go through the macros too.
        TString text;
        if (origin != kSystemOrigin || !SystemText(code, text))
            text = NotFoundText(origin, code, p1, p2, p3);
        raw.assign(static_cast<const char*>(text), static_cast<std::size_t>(text.GetLength()));
    }
    // The OEM text provider may ask the catalogue for texts itself: no lock here.
    ExpandMacros(raw.data(), raw.size(), context, expanded);
    return ToTString(expanded);
}

TMessageSystem& TheMessageSystem() {
    // Never destroyed: see the header.
    static TMessageSystem* const catalogue = new TMessageSystem();
    return *catalogue;
}

// ---------------------------------------------------------------------------
// The exported functions

TString GetMessage(unsigned short origin, unsigned short code, const TString& p1, const TString& p2,
                   const TString& p3) {
    return TheMessageSystem().GetMessage(origin, code, p1, p2, p3);
}

TString GetMessageNr(unsigned long number, unsigned short origin, unsigned short code,
                     const TString& p1, const TString& p2, const TString& p3,
                     unsigned int bAppendNumber) {
    TString text = GetMessage(origin, code, p1, p2, p3);
    if (bAppendNumber) {
        TString suffix;
        suffix.Format(" (0x%.8x)", static_cast<unsigned int>(static_cast<std::uint32_t>(number)));
        text += suffix;
    }
    return text;
}

unsigned short RegisterOrigin(const char* originName, const char* moduleName,
                              const char* sourceFile, unsigned long line) {
    return TheMessageSystem().RegisterOrigin(originName, moduleName, sourceFile, line);
}

unsigned short SearchOriginCode(const TString& name) {
    return TheMessageSystem().SearchOriginCode(name);
}

TString GetOriginString(unsigned short origin) {
    return TheMessageSystem().GetOriginString(origin);
}

TOperatorStatus GetOperatorStatus() {
    return TheMessageSystem().GetOperatorStatus();
}

TOperatorStatus SetOperatorStatus(TOperatorStatus status) {
    return TheMessageSystem().SetOperatorStatus(status);
}

void SetMessageFileName(const TString& name) {
    TheMessageSystem().SetMessageFile(TMessageSystem::FileRequest::Relative, name);
}

void SetMessageFileNameAbs(const TString& path) {
    TheMessageSystem().SetMessageFile(TMessageSystem::FileRequest::Absolute, path);
}

void SetProductRegistryKey(const TString& key) {
    TheMessageSystem().SetProductRegistryKey(key);
}

TString GetProductRegistryKey() {
    return TheMessageSystem().GetProductRegistryKey();
}

TLanguage GetCurrentLanguage() {
    return TheMessageSystem().GetCurrentLanguage();
}

TString GetMessageFileName() {
    return TheMessageSystem().GetMessageFileName();
}

TString GetLanguageExtension(TLanguage language) {
    return TString(".") + LanguageExtension(language);
}

TOemTextProvider SetOemTextProvider(TOemTextProvider provider) {
    return TheMessageSystem().SetOemTextProvider(provider);
}

TMessageBoxHandler SetMessageBoxHandler(TMessageBoxHandler handler) {
    return TheMessageSystem().SetMessageBoxHandler(handler);
}

// ---------------------------------------------------------------------------
// For the tests

void SetCatalogueExecutablePath(const char* path) {
    TheMessageSystem().SetExecutablePath(path);
}

unsigned long SetMessageFileCheckInterval(unsigned long milliseconds) {
    return TheMessageSystem().SetCheckInterval(static_cast<DWORD>(milliseconds));
}

int RebuildMessageIndex() {
    return TheMessageSystem().RebuildIndexNow() ? 1 : 0;
}
