// What every subcommand sees: its arguments, the output streams, the host (opened on first use),
// and the two kinds of failure that decide the exit status.
//
// Adding a subcommand is one new file, cli/commands/<name>.cpp:
//
//     namespace tagvera::cli {
//     namespace {
//     int Run(CommandContext& ctx, const Args& args) { ...; return kExitOk; }
//     }  // namespace
//     TAGVERA_REGISTER_COMMAND({"info", "show what a file holds", "info [--json] FILE...", Run});
//     }  // namespace tagvera::cli
//
// The build picks the file up; main() finds it by name and prints it in --help.
#ifndef TAGVERA_CLI_COMMAND_H
#define TAGVERA_CLI_COMMAND_H

#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/host.h"

namespace tagvera::cli {

enum ExitStatus : int {
    kExitOk = 0,
    kExitDataError = 1,   // a file or data error: unreadable, damaged, rejected by the library
    kExitUsageError = 2,  // the command line itself is wrong
};

// The command line is wrong: exit 2, with the command's usage after the message.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A file or its data is wrong: exit 1, reported as "tagvera: FILE: REASON".
class DataError : public std::runtime_error {
public:
    DataError(std::string file, const std::string& reason) : std::runtime_error(reason), file_(std::move(file)) {}
    const std::string& file() const { return file_; }

private:
    std::string file_;
};

using Args = std::vector<std::string>;

class CommandContext {
public:
    CommandContext(std::ostream& output, std::ostream& errors, std::string libraryPath)
        : out(output), err(errors), libraryPath_(std::move(libraryPath)) {}
    // Writes to its own streams and uses parent's host, which must be open already: what one file
    // of a batch run on several threads sees.
    CommandContext(std::ostream& output, std::ostream& errors, CommandContext& parent)
        : out(output), err(errors), libraryPath_(parent.libraryPath_), parent_(&parent) {}
    ~CommandContext();

    std::ostream& out;
    std::ostream& err;

    // Loads and initialises the library on first use; a library that cannot be loaded is a
    // DataError naming it.
    host::Host& host();
    const std::string& libraryPath() const { return libraryPath_; }

private:
    std::string libraryPath_;
    std::unique_ptr<host::Host> host_;
    CommandContext* parent_ = nullptr;
};

struct CommandSpec {
    std::string_view name;
    std::string_view summary;  // one line for the command list
    std::string_view usage;    // the argument synopsis after "tagvera "; lines after the first explain
    int (*run)(CommandContext& ctx, const Args& args);
};

}  // namespace tagvera::cli

#endif
