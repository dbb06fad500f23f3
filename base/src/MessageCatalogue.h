// TMessageSystem: the process-wide message catalogue behind base/MessageSystem.h.
//
// It holds the origin registry and the operator status and turns (origin,
// code, arguments) into texts. The message file with its index and the macros
// inside message texts are read by the lookup step FindText; until then it
// knows the operating system's texts (origin 1) and the pass-through message.
#ifndef BASEKEL_SRC_MESSAGECATALOGUE_H
#define BASEKEL_SRC_MESSAGECATALOGUE_H

#include "MessageSystem.h"

#include <mutex>
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
    unsigned short SearchOriginCode(const char* name) const;
    TString GetOriginString(unsigned short origin) const;

    TString GetMessage(unsigned short origin, unsigned short code, const TString& p1,
                       const TString& p2, const TString& p3) const;

    TOperatorStatus GetOperatorStatus() const;
    TOperatorStatus SetOperatorStatus(TOperatorStatus status);

private:
    struct Origin {
        TString name;
        TString module;
        TString sourceFile;
        unsigned long line;
    };

    // The text of a known message, before macros are expanded; false when
    // the catalogue has none for the pair. Called with the lock held.
    bool FindText(unsigned short origin, unsigned short code, const TString& p1,
                  TString& text) const;
    long IndexOf(const char* name) const;

    mutable std::mutex m_lock;
    TOperatorStatus m_operatorStatus;
    std::vector<Origin> m_origins; // the code of an origin is its index
};

// The catalogue, created on first use and kept until the process ends, so
// that static objects of any module may register origins and ask for texts
// while they are constructed and destroyed.
TMessageSystem& TheMessageSystem();

#endif
