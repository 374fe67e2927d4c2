#include "platform/fault_injection.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <signal.h>
#include <unistd.h>
#endif

#include <array>
#include <atomic>
#include <mutex>

namespace tagvera::platform::fault {
namespace {

constexpr size_t kSteps = static_cast<size_t>(Step::kCount);

struct Rule {
    unsigned nth = 0;  // 0: no failure for this step
    int osError = 0;
};

struct State {
    std::mutex mutex;
    std::array<Rule, kSteps> rules{};
    std::array<unsigned, kSteps> calls{};
};

// The fast path reads only this flag.
std::atomic<bool> g_active{false};

State& state() {
    static State s;
    return s;
}

}  // namespace

std::string_view StepName(Step step) {
    switch (step) {
        case Step::Open: return "open";
        case Step::Read: return "read";
        case Step::Write: return "write";
        case Step::Fsync: return "fsync";
        case Step::Rename: return "rename";
        case Step::Dirsync: return "dirsync";
        case Step::Journal: return "journal";
        case Step::Link: return "link";
        case Step::kCount: break;
    }
    return "?";
}

void FailNth(Step step, unsigned nth, int osError) {
    State& s = state();
    std::lock_guard lock(s.mutex);
    const auto i = static_cast<size_t>(step);
    s.rules[i] = Rule{nth, osError};
    s.calls[i] = 0;
    g_active.store(true, std::memory_order_relaxed);
}

void StartCounting() {
    State& s = state();
    std::lock_guard lock(s.mutex);
    s.calls.fill(0);
    g_active.store(true, std::memory_order_relaxed);
}

unsigned Calls(Step step) {
    State& s = state();
    std::lock_guard lock(s.mutex);
    return s.calls[static_cast<size_t>(step)];
}

void Reset() {
    State& s = state();
    std::lock_guard lock(s.mutex);
    s.rules.fill(Rule{});
    s.calls.fill(0);
    g_active.store(false, std::memory_order_relaxed);
}

int Check(Step step) {
    if (!g_active.load(std::memory_order_relaxed)) return 0;
    State& s = state();
    std::lock_guard lock(s.mutex);
    const auto i = static_cast<size_t>(step);
    const unsigned n = ++s.calls[i];
    const Rule& r = s.rules[i];
    if (r.nth == 0 || n != r.nth) return 0;
    if (r.osError == kKillProcess) {
#if defined(_WIN32)
        ::TerminateProcess(::GetCurrentProcess(), 128 + 9);  // as abrupt as SIGKILL, and as scripts see it
#else
        ::kill(::getpid(), SIGKILL);
#endif
    }
    return r.osError;
}

}  // namespace tagvera::platform::fault
