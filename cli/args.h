// The one argument parser for subcommands: flags (--json), options with a value (--out FILE,
// --out=FILE, and a short one attached: -j4) and positional arguments; anything unknown is a usage error.
#ifndef TAGVERA_CLI_ARGS_H
#define TAGVERA_CLI_ARGS_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/command.h"

namespace tagvera::cli {

struct ParsedArgs {
    std::vector<std::string> positional;
    std::set<std::string> flags;
    std::map<std::string, std::string> options;

    bool has(const std::string& flag) const { return flags.count(flag) != 0; }
    std::optional<std::string> option(const std::string& name) const;
};

// flags and valueOptions are full spellings ("--json"). "--" ends option parsing.
ParsedArgs ParseArgs(const Args& args, const std::set<std::string>& flags,
                     const std::set<std::string>& valueOptions = {});

// Throws UsageError unless the positional count is within [min, max].
void RequirePositional(const ParsedArgs& parsed, size_t min, size_t max);

}  // namespace tagvera::cli

#endif
