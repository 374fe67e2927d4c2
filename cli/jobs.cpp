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
    std::string out, err;
    std::exception_ptr failure;
    bool done = false;
};

// One thread's streams, emptied into a file's slot after each file: a stream is dear to make,
// dearer than many a file's whole work.
struct Streams {
    std::ostringstream out, err;
    void emptyInto(Slot& slot) {
        slot.out = std::move(out).str();
        slot.err = std::move(err).str();
        out.str({}), err.str({});
        out.clear(), err.clear();
    }
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
    std::condition_variable printable;
    size_t next = 0;     // the next file to work on
    size_t awaited = 0;  // the next file to print: only its end wakes the printer
    bool stop = false;
    // Works on the next file into its slot; false when there is none left to take.
    const auto workOne = [&](Streams& streams) {
        size_t i;
        {
            std::lock_guard lock(mutex);
            if (stop || next == count) return false;
            i = next++;
        }
        Slot& slot = slots[i];
        try {
            work(i, streams.out, streams.err);
        } catch (...) {
            slot.failure = std::current_exception();
        }
        streams.emptyInto(slot);
        bool wake;
        {
            std::lock_guard lock(mutex);
            slot.done = true;
            wake = i == awaited;
        }
        if (wake) printable.notify_one();
        return true;
    };
    // The printing thread is one of the jobs: it works on files while the next to print is not done.
    std::vector<std::jthread> threads;
    for (unsigned t = 1; t < std::min<size_t>(jobs, count); ++t) {
        threads.emplace_back([&] {
            Streams streams;
            while (workOne(streams)) {
            }
        });
    }
    Streams own;
    for (size_t i = 0; i < count; ++i) {
        Slot& slot = slots[i];
        for (;;) {
            {
                std::lock_guard lock(mutex);
                awaited = i;
                if (slot.done) break;
            }
            if (!workOne(own)) {
                std::unique_lock lock(mutex);
                printable.wait(lock, [&] { return slot.done; });
                break;
            }
        }
        if (shown) shown(i);
        out << slot.out;
        if (!slot.err.empty()) {
            out.flush();  // a file's failure follows its own lines, as it would without jobs
            err << slot.err;
        }
        if (slot.failure) {
            {
                std::lock_guard lock(mutex);
                stop = true;
            }
            threads.clear();  // joins
            std::rethrow_exception(slot.failure);
        }
        std::string().swap(slot.out);
        std::string().swap(slot.err);
    }
}

}  // namespace tagvera::cli
