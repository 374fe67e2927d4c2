#include "cli/command_registry.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "host/library.h"

namespace tagvera::cli {

CommandRegistry& CommandRegistry::Instance() {
    static CommandRegistry registry;
    return registry;
}

void CommandRegistry::Add(const CommandSpec& spec) {
    if (Find(spec.name)) {
        // Two files claiming one name is a build mistake; say so at once.
        std::cerr << "tagvera: subcommand \"" << spec.name << "\" is registered twice\n";
        std::abort();
    }
    specs_.push_back(spec);
}

const CommandSpec* CommandRegistry::Find(std::string_view name) const {
    for (const auto& s : specs_)
        if (s.name == name) return &s;
    return nullptr;
}

std::vector<const CommandSpec*> CommandRegistry::All() const {
    std::vector<const CommandSpec*> out;
    for (const auto& s : specs_) out.push_back(&s);
    std::sort(out.begin(), out.end(), [](const auto* a, const auto* b) { return a->name < b->name; });
    return out;
}

CommandContext::~CommandContext() = default;

host::Host& CommandContext::host() {
    if (parent_) return parent_->host();
    if (!host_) {
        host::HostOptions options;
        options.libraryPath = libraryPath_;
        try {
            host_ = std::make_unique<host::Host>(options);
        } catch (const host::HostError& e) {
            throw DataError(libraryPath_, e.what());
        }
    }
    return *host_;
}

}  // namespace tagvera::cli
