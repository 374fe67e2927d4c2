// tagvera names: the properties the library reads and writes, where each format keeps them, and
// the short names `set` and `rm` take for them.
#include <ostream>
#include <string>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/json.h"
#include "cli/property_names.h"
#include "cli/text_table.h"

namespace tagvera::cli {
namespace {

std::string Places(const KnownProperty& p) {
    std::string text, format;
    for (const auto& [f, where] : p.places) {
        if (f != format) text += (text.empty() ? "" : "; ") + f + ": " + where;
        else text += ", " + where;
        format = f;
    }
    return text;
}

std::string AliasesOf(const std::string& path) {
    std::string text;
    for (const auto& [alias, target] : PropertyAliases())
        if (path == target) text += (text.empty() ? "" : ", ") + std::string(alias);
    return text;
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--json"});
    RequirePositional(parsed, 0, 1);
    const std::string format = parsed.positional.empty() ? "" : parsed.positional[0];
    const PropertyNames names(ctx.host(), format);
    if (names.known().empty() && names.openFormats().empty())
        throw UsageError("no importer of \"" + format + "\" files is built (tagvera components lists them)");

    if (parsed.has("--json")) {
        JsonWriter json(ctx.out);
        json.beginObject().key("properties").beginArray();
        for (const auto& [path, p] : names.known()) {
            json.beginObject().field("name", path).field("type", p.type).field("writable", p.writable);
            json.key("places").beginArray();
            for (const auto& [f, where] : p.places) json.beginObject().field("format", f).field("where", where).endObject();
            json.endArray().endObject();
        }
        json.endArray().field("anyName", names.openFormats()).key("aliases").beginObject();
        for (const auto& [alias, path] : PropertyAliases()) json.field(alias, path);
        json.endObject().endObject();
        return kExitOk;
    }
    TextTable table({"Property", "Type", "Alias", "Where it is kept"});
    for (const auto& [path, p] : names.known())
        table.add({path, p.writable ? p.type : p.type + " (read only)", AliasesOf(path), Places(p)});
    table.print(ctx.out);
    if (!names.openFormats().empty()) {
        ctx.out << "\nEvery property, and any other GROUP:NAME you set with --custom, is also kept in:\n";
        for (const auto& where : names.openFormats()) ctx.out << "  " << where << '\n';
    }
    return kExitOk;
}

}  // namespace

TAGVERA_REGISTER_COMMAND({"names", "list the properties tagvera reads and writes, and their short names",
                          "names [FORMAT] [--json]\n"
                          "  Each property (GROUP:NAME), its type, the short name set and rm take for it (title,\n"
                          "  artist, cover ...), and what keeps it in each kind of file; FORMAT narrows the list\n"
                          "  to one kind (mp3, korvamedia). --json prints the same as JSON.",
                          Run});

}  // namespace tagvera::cli
