// Makes chosen OS calls of the file layer fail, so that tests can prove a writer leaves the
// original untouched whatever step breaks. Always compiled in; one relaxed atomic load per call
// when nothing is armed.
//
// In a test:
//     platform::fault::Scoped fault(platform::fault::Step::Fsync, 1, EIO);  // 1st fsync fails
//     EXPECT_THROW(WriteMyTag(path), tagvera::Error);
//     // leaving the scope disarms everything
//
// To fail each call in turn, count the calls of a clean run first:
//     platform::fault::StartCounting();
//     WriteMyTag(path);
//     unsigned writes = platform::fault::Calls(platform::fault::Step::Write);
//     for (unsigned n = 1; n <= writes; ++n) { Scoped f(Step::Write, n, ENOSPC); ... }
//
// The counters are process-wide: tests that arm faults must not run file code on other threads.
#ifndef TAGVERA_PLATFORM_FAULT_INJECTION_H
#define TAGVERA_PLATFORM_FAULT_INJECTION_H

#include <string_view>

namespace tagvera::platform::fault {

// The OS calls that can be made to fail. Open covers every open and create of a named file;
// Read, Write and Fsync every File::readAt, writeAt, sync (and Fsync each file-system sync of
// FileSystemSyncs); Rename the safe-write helper's final rename, Dirsync its fsync of a
// directory; Journal each write, sync and removal of an undo journal (write_journal.h), apart
// from the file it protects; Link the creation and the naming of an anonymous temporary file
// (EOPNOTSUPP on its creation makes the helper use a named one, as where the file system cannot).
enum class Step { Open, Read, Write, Fsync, Rename, Dirsync, Journal, Link, kCount };

// An "error" for FailNth that kills the process with SIGKILL at that call instead, for crash tests
// run in a forked child: the call is never made.
inline constexpr int kKillProcess = -1;

std::string_view StepName(Step step);

// The nth call of step from now on (1 = the next one) fails with osError (EIO, ENOSPC, EACCES...).
// One rule per step; arming a step again replaces its rule and restarts its count. Counting of
// every step starts too.
void FailNth(Step step, unsigned nth, int osError);
// Counts calls of every step from zero without failing any.
void StartCounting();
// Calls of step since the last FailNth / StartCounting (0 when not counting).
unsigned Calls(Step step);
// Disarms every rule and stops counting.
void Reset();

// Called by platform code just before the real OS call: the errno to fail with, or 0.
int Check(Step step);

// Arms one rule for the life of the object; disarms everything when it goes.
class Scoped {
public:
    Scoped(Step step, unsigned nth, int osError) { FailNth(step, nth, osError); }
    ~Scoped() { Reset(); }
    Scoped(const Scoped&) = delete;
    Scoped& operator=(const Scoped&) = delete;
};

}  // namespace tagvera::platform::fault

#endif
