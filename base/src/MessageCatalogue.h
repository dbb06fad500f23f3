// TMessageSystem: the process-wide message catalogue behind base/MessageSystem.h.
//
// It holds the origin registry and the operator status, chooses the message
// file of the user's language, keeps its index, and turns (origin, code,
// arguments) into texts. The message file is opened at the first lookup
// that needs it, not when the library is loaded: a box asking the operator
// about a missing file must not wait inside the loader.
#ifndef BASEKEL_SRC_MESSAGECATALOGUE_H
#define BASEKEL_SRC_MESSAGECATALOGUE_H

#include "MessageSystem.h"
#include "MessageFiles.h"
#include "MessageIndex.h"

#include <atomic>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

class TMessageSystem {
public:
    // Registers the built-in origins, so that they hold codes 0 to 4
    // whichever module asks for the catalogue first.
    TMessageSystem();
    TMessageSystem(const TMessageSystem&) = delete;
    TMessageSystem& operator=(const TMessageSystem&) = delete;

    unsigned short RegisterOrigin(const char* name, const char* module, const char* sourceFile,
                                  unsigned long line);
    unsigned short SearchOriginCode(const char* name);
    TString GetOriginString(unsigned short origin);

    TString GetMessage(unsigned short origin, unsigned short code, const TString& p1,
                       const TString& p2, const TString& p3);

    TOperatorStatus GetOperatorStatus();
    TOperatorStatus SetOperatorStatus(TOperatorStatus status);

    // Which message file to use; see base/MessageSystem.h.
    enum class FileRequest {
        Default,  // the executable's name with the language's extension
        Startup,  // as chosen at load, decided when the file is first needed
        Relative, // in the message directory
        Absolute
    };
    void SetMessageFile(FileRequest kind, const char* name);
    void SetProductRegistryKey(const char* key);
    TString GetProductRegistryKey();
    TLanguage GetCurrentLanguage();
    TString GetMessageFileName();

    TOemTextProvider SetOemTextProvider(TOemTextProvider provider);
    TMessageBoxHandler SetMessageBoxHandler(TMessageBoxHandler handler);

    // The choice made when the library is loaded: the executable's own
    // message file when "<exe>.eng" or "<exe>.ger" exists, else the
    // library's "kelmo_msg" in the directory of `library`. Only noted here;
    // the files are looked at when the first text is needed, so that loading
    // the library touches no file.
    void ChooseStartupFile(HMODULE library);

    // For the tests (src/TestHooks.h).
    void SetExecutablePath(const char* path);
    DWORD SetCheckInterval(DWORD milliseconds);
    bool RebuildIndexNow();

private:
    struct Origin {
        TString name;
        TString module;
        TString sourceFile;
        unsigned long line;
    };
    struct CachedText {
        std::string text;
        bool loaded = false;
        bool needsOem = false;
    };

    // Everything below is called with m_lock held.
    long IndexOf(const char* name) const;
    unsigned short Register(const char* name, const char* module, const char* sourceFile,
                            unsigned long line);
    std::string ExecutablePath() const;
    std::string ExecutableDirectory() const;
    TLanguage ChooseLanguage() const;
    void DecideStartupFile();
    std::string RequestedBase() const;
    void Forget();
    void EnsureOpen();
    void Resolve();
    bool FindExisting(const std::string& base, TLanguage wanted, std::string& path);
    void OfferCopy(const std::string& missing, const std::string& found, TLanguage language);
    void ReportMissing(const std::string& path, TLanguage language);
    int ShowBox(const TString& text, const char* caption, unsigned int type);
    void LoadIndex(bool forceRebuild);
    bool ReadIndexFile(const msgfiles::Stamp& message, msgindex::Index& index) const;
    bool BuildIndex(msgindex::Index& index);
    void UseIndex(msgindex::Index&& index);
    void CheckForChanges();
    const CachedText* FindText(unsigned short origin, unsigned short code);
    long FindRecord(unsigned short origin, unsigned short code) const;
    bool ReadLine(std::size_t record, std::string& line) const;
    bool ReadText(std::size_t record, CachedText& text) const;

    std::recursive_mutex m_lock;
    TOperatorStatus m_operatorStatus;
    std::vector<Origin> m_origins; // the code of an origin is its index
    std::unordered_map<std::string, unsigned short> m_codeOfName;

    FileRequest m_request;
    std::string m_requestedName;
    std::string m_productKey;
    std::string m_executablePath; // empty: the running executable
    HMODULE m_library;            // whose directory holds "kelmo_msg"
    std::atomic<TOemTextProvider> m_oemTexts;
    std::atomic<TMessageBoxHandler> m_boxHandler;

    // The open state: whether the file was chosen, the file, its index.
    bool m_resolved;
    bool m_busy; // choosing the file or rebuilding its index
    TLanguage m_language;
    std::string m_messagePath;
    std::string m_indexPath;
    msgfiles::Stamp m_messageStamp;
    bool m_haveIndex;
    msgindex::Index m_index;
    std::vector<long> m_slotOfOrigin; // index slot of each origin code, or -1
    std::vector<CachedText> m_texts;  // one per index record
    DWORD m_lastCheck;
    DWORD m_checkInterval;
};

// The catalogue, created on first use and kept until the process ends, so
// that static objects of any module may register origins and ask for texts
// while they are constructed and destroyed.
TMessageSystem& TheMessageSystem();

#endif
