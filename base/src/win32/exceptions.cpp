// Vectored exception handlers on Linux, over one SIGSEGV/SIGBUS handler.
//
// The signal handler is installed when the first vectored handler is added,
// with SA_ONSTACK so that a thread with an alternate signal stack (the
// sanitizers give threads one) can still report a stack overflow, and the
// handlers it replaces are kept for the faults that no vectored handler
// resolves. Everything the signal handler does is safe there: the handler
// list is a fixed array read with atomic loads, the exception record lives on
// the stack, errno is saved and restored around the vectored handlers.
#if !defined(_WIN32)

#include "win32/layer.h"
#include "win32/mapping.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <ucontext.h>

namespace kelwin {
namespace {

constexpr int kMaxHandlers = 32;

struct HandlerEntry {
    std::atomic<PVECTORED_EXCEPTION_HANDLER> handler{nullptr};
    std::atomic<long> order{0}; // handlers run in ascending order
};

HandlerEntry g_handlers[kMaxHandlers];

// Adding and removing handlers: normal code only, never the signal handler.
std::mutex g_registration;
long g_firstOrder = 0;
long g_lastOrder = 0;
bool g_installed = false;

struct sigaction g_previousSegv;
struct sigaction g_previousBus;

// Whether the thread runs the vectored handlers. Thread-local storage of a
// library loaded with the program is static and safe to touch here.
thread_local int t_faultDepth = 0;

struct Ordered {
    long order;
    PVECTORED_EXCEPTION_HANDLER handler;
};

// The registered handlers in calling order; returns their number.
int ordered_handlers(Ordered (&out)[kMaxHandlers]) {
    int count = 0;
    for (HandlerEntry& entry : g_handlers) {
        PVECTORED_EXCEPTION_HANDLER handler = entry.handler.load(std::memory_order_acquire);
        if (!handler)
            continue;
        Ordered item{entry.order.load(std::memory_order_relaxed), handler};
        int at = count++;
        while (at > 0 && out[at - 1].order > item.order) {
            out[at] = out[at - 1];
            --at;
        }
        out[at] = item;
    }
    return count;
}

ULONG_PTR access_kind(void* context) {
#if defined(__x86_64__)
    // Bit 1 of the page-fault error code: the access was a write.
    const auto* uc = static_cast<ucontext_t*>(context);
    return (uc->uc_mcontext.gregs[REG_ERR] & 2) ? 1 : 0;
#elif defined(__i386__)
    const auto* uc = static_cast<ucontext_t*>(context);
    return (uc->uc_mcontext.gregs[REG_ERR] & 2) ? 1 : 0;
#else
    (void)context;
    return 0;
#endif
}

LPVOID instruction_address(void* context) {
    const auto* uc = static_cast<ucontext_t*>(context);
#if defined(__x86_64__)
    return reinterpret_cast<LPVOID>(uc->uc_mcontext.gregs[REG_RIP]);
#elif defined(__i386__)
    return reinterpret_cast<LPVOID>(uc->uc_mcontext.gregs[REG_EIP]);
#elif defined(__aarch64__)
    return reinterpret_cast<LPVOID>(uc->uc_mcontext.pc);
#else
    (void)uc;
    return nullptr;
#endif
}

// True when a vectored handler resolved the fault.
bool dispatch(int signal, siginfo_t* info, void* context) {
    EXCEPTION_RECORD record{};
    record.ExceptionCode = signal == SIGBUS ? EXCEPTION_IN_PAGE_ERROR : EXCEPTION_ACCESS_VIOLATION;
    record.ExceptionAddress = instruction_address(context);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = access_kind(context);
    record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(info->si_addr);
    CONTEXT hostContext{context};
    EXCEPTION_POINTERS pointers{&record, &hostContext};

    Ordered handlers[kMaxHandlers];
    const int count = ordered_handlers(handlers);
    ++t_faultDepth;
    bool resolved = false;
    for (int i = 0; i < count && !resolved; ++i)
        resolved = handlers[i].handler(&pointers) == EXCEPTION_CONTINUE_EXECUTION;
    --t_faultDepth;
    return resolved;
}

// Hands the signal to the handler that was there before ours; with none, the
// default action ends the process.
void chain(int signal, siginfo_t* info, void* context) {
    const struct sigaction& previous = signal == SIGBUS ? g_previousBus : g_previousSegv;
    if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
        if (previous.sa_flags & SA_SIGINFO)
            previous.sa_sigaction(signal, info, context);
        else
            previous.sa_handler(signal);
        return;
    }
    struct sigaction fallback {};
    fallback.sa_handler = SIG_DFL;
    sigemptyset(&fallback.sa_mask);
    sigaction(signal, &fallback, nullptr);
    // Returning repeats a faulting instruction, which now ends the process;
    // a signal that was sent rather than raised by a fault is sent again.
    if (info->si_code <= 0)
        raise(signal);
}

void on_fault(int signal, siginfo_t* info, void* context) {
    const int savedErrno = errno;
    // si_code > 0: raised by the kernel for a faulting instruction.
    const bool resolved = info->si_code > 0 && dispatch(signal, info, context);
    errno = savedErrno;
    if (!resolved)
        chain(signal, info, context);
}

void install_signal_handlers() {
    struct sigaction action {};
    action.sa_sigaction = &on_fault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, &g_previousSegv);
    sigaction(SIGBUS, &action, &g_previousBus);
}

} // namespace

bool in_fault_handler() {
    return t_faultDepth > 0;
}

} // namespace kelwin

using namespace kelwin;

LPVOID AddVectoredExceptionHandler(ULONG First, PVECTORED_EXCEPTION_HANDLER Handler) {
    if (!Handler) {
        fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    std::lock_guard<std::mutex> guard(g_registration);
    for (HandlerEntry& entry : g_handlers) {
        if (entry.handler.load(std::memory_order_relaxed))
            continue;
        entry.order.store(First ? --g_firstOrder : ++g_lastOrder, std::memory_order_relaxed);
        entry.handler.store(Handler, std::memory_order_release);
        if (!g_installed) {
            install_signal_handlers();
            g_installed = true;
        }
        return &entry;
    }
    fail(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

ULONG RemoveVectoredExceptionHandler(LPVOID Handle) {
    std::lock_guard<std::mutex> guard(g_registration);
    for (HandlerEntry& entry : g_handlers) {
        if (&entry == Handle && entry.handler.load(std::memory_order_relaxed)) {
            entry.handler.store(nullptr, std::memory_order_release);
            return 1;
        }
    }
    return 0;
}

#endif // !_WIN32
