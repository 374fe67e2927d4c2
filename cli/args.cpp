#include "cli/args.h"

namespace tagvera::cli {

std::optional<std::string> ParsedArgs::option(const std::string& name) const {
    auto it = options.find(name);
    if (it == options.end()) return std::nullopt;
    return it->second;
}

ParsedArgs ParseArgs(const Args& args, const std::set<std::string>& flags, const std::set<std::string>& valueOptions) {
    ParsedArgs out;
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (optionsEnded || a.size() < 2 || a[0] != '-') {
            out.positional.push_back(a);
            continue;
        }
        if (a == "--") {
            optionsEnded = true;
            continue;
        }
        const size_t eq = a.find('=');
        const std::string name = a.substr(0, eq);
        if (a.size() > 2 && a[1] != '-' && valueOptions.count(a.substr(0, 2))) {
            out.options[a.substr(0, 2)] = a.substr(2);  // -j4, as make takes it
        } else if (valueOptions.count(name)) {
            if (eq != std::string::npos) {
                out.options[name] = a.substr(eq + 1);
            } else if (i + 1 < args.size()) {
                out.options[name] = args[++i];
            } else {
                throw UsageError(name + " needs a value");
            }
        } else if (flags.count(a)) {
            out.flags.insert(a);
        } else {
            throw UsageError("unknown option " + a);
        }
    }
    return out;
}

void RequirePositional(const ParsedArgs& parsed, size_t min, size_t max) {
    const size_t n = parsed.positional.size();
    if (n < min) throw UsageError(min == 1 && max == 1 ? "one argument expected" : "too few arguments");
    if (n > max) throw UsageError("unexpected argument " + parsed.positional[max]);
}

}  // namespace tagvera::cli
