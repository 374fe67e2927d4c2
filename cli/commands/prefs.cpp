// tagvera prefs: the preferences that steer reading and writing, in the store the library reads,
// through the package's tool services.
#include <charconv>
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/json.h"
#include "cli/text_table.h"
#include "cli/tool_services.h"
#include "host/component_info.h"
#include "host/names.h"
#include "tagvera/buffer_text.h"

namespace tagvera::cli {
namespace {

struct Preference {
    std::string name;
    std::string text;  // a number in decimal
    uint32_t flags = 0;
    bool number() const { return flags & kPreferenceNumber; }
};

std::string Location(CommandContext& ctx) {
    ComPtr<IKMABuffer> location;
    ToolServices(ctx)->GetPreferencesLocation(location.put());
    return BufferText(location.get());
}

// Throws DataError naming the store when hr is a failure.
void Check(CommandContext& ctx, HRESULT hr, IKMABuffer* reason, const std::string& advice = "") {
    if (Failed(hr)) throw DataError(Location(ctx), FailureText(hr, reason) + advice);
}

// Every known preference, then the others the store holds. A damaged store is reported rather than
// silently read as defaults.
std::vector<Preference> ListPreferences(CommandContext& ctx) {
    ComPtr<IKMAValues> list;
    ComPtr<IKMABuffer> reason;
    Check(ctx, ToolServices(ctx)->GetPreferences(list.put(), reason.put()), reason.get(),
          " (tagvera prefs reset starts afresh)");
    const host::ValueSnapshot values = host::SnapshotValues(list.get());
    std::vector<Preference> out;
    for (const auto& [name, text] : values.strings) {
        const uint32_t* flags = values.number(name);
        out.push_back({name, text, flags ? *flags : 0});
    }
    return out;
}

const Preference* FindPreference(const std::vector<Preference>& all, const std::string& name) {
    for (const auto& p : all)
        if (host::EqualsNoCase(p.name, name)) return &p;
    return nullptr;
}

const char* TypeName(const Preference& p) { return p.number() ? "number" : "text"; }

std::string KnownNames(const std::vector<Preference>& all) {
    std::string out;
    for (const auto& p : all) {
        if (!(p.flags & kPreferenceKnown)) continue;
        if (!out.empty()) out += ", ";
        out += p.name;
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

int List(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 1, 1);
    const auto all = ListPreferences(ctx);
    if (parsed.has("--json")) {
        JsonWriter json(ctx.out);
        json.beginObject().field("file", Location(ctx)).key("preferences").beginArray();
        for (const auto& p : all) {
            json.beginObject().field("name", p.name).field("type", TypeName(p));
            if (p.number())
                json.field("value", ParseNumber(p.name, p.text));
            else
                json.field("value", p.text);
            json.field("default", !(p.flags & kPreferenceSet)).endObject();
        }
        json.endArray().endObject();
        return kExitOk;
    }
    TextTable table({"Name", "Type", "Value", "Source"});
    for (const auto& p : all) table.add({p.name, TypeName(p), p.text, p.flags & kPreferenceSet ? "set" : "default"});
    table.print(ctx.out);
    return kExitOk;
}

int Get(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 2, 2);
    const std::string& name = parsed.positional[1];
    const auto all = ListPreferences(ctx);
    if (const Preference* p = FindPreference(all, name)) {
        ctx.out << p->text << '\n';
        return kExitOk;
    }
    throw DataError(Location(ctx), name + " is not set, and is not one of " + KnownNames(all));
}

int Set(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 3, 3);
    const std::string& name = parsed.positional[1];
    const std::string& value = parsed.positional[2];
    const auto all = ListPreferences(ctx);
    const Preference* known = FindPreference(all, name);
    if (!known || !(known->flags & kPreferenceKnown))
        throw UsageError("unknown preference " + name + "; known: " + KnownNames(all));
    const auto services = ToolServices(ctx);
    const char* canonical = known->name.c_str();
    ComPtr<IKMABuffer> reason;
    const HRESULT hr = known->number()
                           ? services->SetPreferenceNumber(canonical, ParseNumber(known->name, value), reason.put())
                           : services->SetPreferenceText(canonical, value.c_str(), reason.put());
    Check(ctx, hr, reason.get());
    return kExitOk;
}

int Reset(CommandContext& ctx, const ParsedArgs& parsed) {
    ComPtr<IKMABuffer> reason;
    if (parsed.positional.size() == 1) {
        Check(ctx, ToolServices(ctx)->RemovePreference(nullptr, reason.put()), reason.get());
        return kExitOk;
    }
    for (size_t i = 1; i < parsed.positional.size(); ++i) {
        const std::string& name = parsed.positional[i];
        const HRESULT hr = ToolServices(ctx)->RemovePreference(name.c_str(), reason.put());
        Check(ctx, hr, reason.get());
        if (hr == TV_S_FALSE) ctx.err << "tagvera prefs: " << name << " was not set\n";
    }
    return kExitOk;
}

int Path(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 1, 1);
    ctx.out << Location(ctx) << '\n';
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
