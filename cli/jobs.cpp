#include "cli/jobs.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <ostream>
#include <sstream>
#include <thread>
#include <vector>

#include "cli/command.h"

namespace tagvera::cli {

unsigned JobsOf(const ParsedArgs& parsed) {
    std::optional<std::string> given = parsed.option("-j");
    if (!given) given = parsed.option("--jobs");
    if (!given) return std::max(1u, std::thread::hardware_concurrency());
    size_t used = 0;
    unsigned long n = 0;
    try {
        n = std::stoul(*given, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != given->size() || n < 1 || n > 1024) throw UsageError("-j takes a number of jobs from 1 to 1024");
    return static_cast<unsigned>(n);
}

namespace {

struct Slot {
    std::ostringstream out, err;
    std::exception_ptr failure;
    bool done = false;
};

}  // namespace

void RunInOrder(size_t count, unsigned jobs, std::ostream& out, std::ostream& err,
                const std::function<void(size_t, std::ostream&, std::ostream&)>& work,
                const std::function<void(size_t)>& shown) {
    if (jobs <= 1 || count <= 1) {
        for (size_t i = 0; i < count; ++i) {
            if (shown) shown(i);
            work(i, out, err);
        }
        return;
    }
    std::vector<Slot> slots(count);
    std::mutex mutex;
    std::condition_variable finished;
    size_t next = 0;
    bool stop = false;
    const auto worker = [&] {
        for (;;) {
            size_t i;
            {
                std::lock_guard lock(mutex);
                if (stop || next == count) return;
                i = next++;
            }
            Slot& slot = slots[i];
            try {
                work(i, slot.out, slot.err);
            } catch (...) {
                slot.failure = std::current_exception();
            }
            {
                std::lock_guard lock(mutex);
                slot.done = true;
            }
            finished.notify_all();
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned t = 0; t < std::min<size_t>(jobs, count); ++t) threads.emplace_back(worker);
    for (size_t i = 0; i < count; ++i) {
        Slot& slot = slots[i];
        {
            std::unique_lock lock(mutex);
            finished.wait(lock, [&] { return slot.done; });
        }
        if (shown) shown(i);
        out << std::move(slot.out).str();
        if (const std::string errors = std::move(slot.err).str(); !errors.empty()) {
            out.flush();  // a file's failure follows its own lines, as it would without jobs
            err << errors;
        }
        if (slot.failure) {
            {
                std::lock_guard lock(mutex);
                stop = true;
            }
            threads.clear();  // joins
            std::rethrow_exception(slot.failure);
        }
        slot.out = std::ostringstream();
        slot.err = std::ostringstream();
    }
}

}  // namespace tagvera::cli
