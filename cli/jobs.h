// Running one piece of work per file on several threads while the output reads as if they had run
// one after the other: each file's lines are held until the files before it are printed.
#ifndef TAGVERA_CLI_JOBS_H
#define TAGVERA_CLI_JOBS_H

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <set>
#include <string>

#include "cli/args.h"

namespace tagvera::cli {

// -j N / -jN / --jobs N: how many files a batch works on at once.
inline const std::set<std::string> kJobsOptions = {"-j", "--jobs"};
// The number given, or the machine's cores when none is; a number below 1 is a usage error.
unsigned JobsOf(const ParsedArgs& parsed);

// Calls work(i, out, err) for every i below count on up to jobs threads and writes each call's
// out and err to out and err in the order of i, calling shown(i) just before. With one job the
// calls write straight through. An exception thrown by work is rethrown here at its turn, after
// the work still running has finished and without starting any more.
void RunInOrder(size_t count, unsigned jobs, std::ostream& out, std::ostream& err,
                const std::function<void(size_t i, std::ostream& out, std::ostream& err)>& work,
                const std::function<void(size_t i)>& shown = {});

}  // namespace tagvera::cli

#endif
