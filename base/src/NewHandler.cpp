// The library's handler for failed allocations.
#include "Error.h"

#include "TestHooks.h"
#include "ThreadErrorState.h"

namespace {

const unsigned short kSystemOrigin = 1;

// Marks the thread as inside the handler for as long as the object lives,
// also when it is left by the exception the handler throws.
class NewHandlerScope {
public:
    NewHandlerScope() { SetThreadInNewHandler(true); }
    ~NewHandlerScope() { SetThreadInNewHandler(false); }
    NewHandlerScope(const NewHandlerScope&) = delete;
    NewHandlerScope& operator=(const NewHandlerScope&) = delete;
};

} // namespace

// Pushes (1, ERROR_NOT_ENOUGH_MEMORY), whose text the system gives, with no
// texts to copy, and throws. It must throw even while an exception is
// pending: a handler that returns makes operator new try again for ever. A
// second failure while the first is being reported (the stack making room,
// say) throws at once.
void kelmo_new_handler() {
    if (IsThreadInNewHandler())
        throw TException();
    NewHandlerScope scope;
    TException* record = ThreadException();
    if (!record)
        throw TException();
    record->ThrowSeh(kSystemOrigin, static_cast<unsigned short>(ERROR_NOT_ENOUGH_MEMORY),
                     TString::NullString, TString::NullString, TString::NullString);
}

char* AllocateInLibrary(std::size_t bytes) {
    return new char[bytes];
}

void ReleaseInLibrary(char* block) {
    delete[] block;
}
