// The subcommands, registered by their own files at start-up.
#ifndef TAGVERA_CLI_COMMAND_REGISTRY_H
#define TAGVERA_CLI_COMMAND_REGISTRY_H

#include <string_view>
#include <vector>

#include "cli/command.h"

namespace tagvera::cli {

class CommandRegistry {
public:
    static CommandRegistry& Instance();
    void Add(const CommandSpec& spec);
    const CommandSpec* Find(std::string_view name) const;
    // Sorted by name.
    std::vector<const CommandSpec*> All() const;

private:
    std::vector<CommandSpec> specs_;
};

struct CommandRegistration {
    explicit CommandRegistration(const CommandSpec& spec) { CommandRegistry::Instance().Add(spec); }
};

}  // namespace tagvera::cli

#define TAGVERA_CLI_CONCAT_(a, b) a##b
#define TAGVERA_CLI_CONCAT(a, b) TAGVERA_CLI_CONCAT_(a, b)
#define TAGVERA_REGISTER_COMMAND(...) \
    static const ::tagvera::cli::CommandRegistration TAGVERA_CLI_CONCAT(tagvera_command_, __LINE__)(__VA_ARGS__)

#endif
