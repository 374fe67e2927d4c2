// tagvera prefs: the preferences that steer reading and writing, in the file the library reads.
#include <charconv>
#include <string>
#include <vector>

#include "base/error.h"
#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/json.h"
#include "cli/text_table.h"
#include "platform/preferences.h"
#include "platform/text.h"

namespace tagvera::cli {
namespace {

namespace prefs = platform::prefs;

const char* TypeName(prefs::ValueType t) { return t == prefs::ValueType::Dword ? "number" : "text"; }

// A damaged file is reported rather than silently read as defaults.
void RequireReadable() {
    const prefs::Status s = prefs::Check();
    if (s.ok) return;
    std::string where = s.line ? "line " + std::to_string(s.line) + ": " : "";
    throw DataError(s.path, where + s.message + " (tagvera prefs reset starts afresh)");
}

std::string KnownNames() {
    std::string out;
    for (const auto& d : prefs::KnownValues()) {
        if (!out.empty()) out += ", ";
        out += d.name;
    }
    return out;
}

uint32_t ParseNumber(const std::string& name, const std::string& text) {
    std::string_view digits = text;
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        digits.remove_prefix(2);
        base = 16;
    }
    uint32_t value = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size())
        throw UsageError(name + " takes a number from 0 to 4294967295 (or 0x hex), not \"" + text + "\"");
    return value;
}

template <class Body>
void Writing(Body&& body) {
    try {
        body();
    } catch (const Error& e) {
        throw DataError(prefs::PreferencesPath(), e.what());
    }
}

int List(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 1, 1);
    RequireReadable();
    const auto entries = prefs::List();
    if (parsed.has("--json")) {
        JsonWriter json(ctx.out);
        json.beginObject().field("file", prefs::PreferencesPath()).key("preferences").beginArray();
        for (const auto& e : entries) {
            json.beginObject().field("name", e.name).field("type", TypeName(e.type));
            if (e.type == prefs::ValueType::Dword)
                json.field("value", e.number);
            else
                json.field("value", e.text);
            json.field("default", e.isDefault).endObject();
        }
        json.endArray().endObject();
        return kExitOk;
    }
    TextTable table({"Name", "Type", "Value", "Source"});
    for (const auto& e : entries) table.add({e.name, TypeName(e.type), e.text, e.isDefault ? "default" : "set"});
    table.print(ctx.out);
    return kExitOk;
}

int Get(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 2, 2);
    RequireReadable();
    const std::string& name = parsed.positional[1];
    for (const auto& e : prefs::List()) {
        if (text::EqualsNoCase(e.name, name)) {
            ctx.out << e.text << '\n';
            return kExitOk;
        }
    }
    throw DataError(prefs::PreferencesPath(), name + " is not set, and is not one of " + KnownNames());
}

int Set(CommandContext&, const ParsedArgs& parsed) {
    RequirePositional(parsed, 3, 3);
    const std::string& name = parsed.positional[1];
    const std::string& value = parsed.positional[2];
    const prefs::Definition* known = prefs::FindKnown(name);
    if (!known) throw UsageError("unknown preference " + name + "; known: " + KnownNames());
    if (known->type == prefs::ValueType::Dword) {
        const uint32_t number = ParseNumber(std::string(known->name), value);
        Writing([&] { prefs::SetNumber(known->name, number); });
    } else {
        Writing([&] { prefs::SetString(known->name, value); });
    }
    return kExitOk;
}

int Reset(CommandContext& ctx, const ParsedArgs& parsed) {
    if (parsed.positional.size() == 1) {
        Writing([] { prefs::ResetAll(); });
        return kExitOk;
    }
    for (size_t i = 1; i < parsed.positional.size(); ++i) {
        const std::string& name = parsed.positional[i];
        bool removed = false;
        Writing([&] { removed = prefs::Remove(name); });
        if (!removed) ctx.err << "tagvera prefs: " << name << " was not set\n";
    }
    return kExitOk;
}

int Path(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 1, 1);
    ctx.out << prefs::PreferencesPath() << '\n';
    return kExitOk;
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--json"});
    if (parsed.positional.empty()) throw UsageError("say list, get, set, reset or path");
    const std::string& action = parsed.positional[0];
    if (parsed.has("--json") && action != "list") throw UsageError("--json goes with list");
    if (action == "list") return List(ctx, parsed);
    if (action == "get") return Get(ctx, parsed);
    if (action == "set") return Set(ctx, parsed);
    if (action == "reset") return Reset(ctx, parsed);
    if (action == "path") return Path(ctx, parsed);
    throw UsageError("unknown action " + action);
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{
    "prefs", "read and set the preferences that steer reading and writing",
    "prefs list [--json] | get NAME | set NAME VALUE | reset [NAME...] | path\n"
    "  list   every preference with its value, and whether it is the default\n"
    "  get    one value\n"
    "  set    changes a value (numbers in decimal or 0x hex)\n"
    "  reset  back to the defaults: the named values, or all of them\n"
    "  path   where the preferences file is ($TAGVERA_PREFERENCES overrides)",
    Run});

}  // namespace tagvera::cli
