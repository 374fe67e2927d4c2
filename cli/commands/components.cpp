// tagvera components: the package's eight components with their class ids, lists and whether
// this build can create them.
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/json.h"
#include "cli/text_table.h"
#include "host/guid_text.h"
#include "host/result_text.h"

namespace tagvera::cli {
namespace {

struct Row {
    const host::ComponentInfo* info;
    HRESULT created;  // what creating it answered: 0 built, E_NOTIMPL not yet
};

std::string Status(HRESULT created) {
    if (Succeeded(created)) return "ready";
    if (created == TV_E_NOTIMPL) return "not built";
    return host::ResultText(created);
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--json"});
    RequirePositional(parsed, 0, 0);
    host::Host& host = ctx.host();

    std::vector<Row> rows;
    for (const auto& c : host.components()) {
        ComPtr<IUnknown> object;
        rows.push_back({&c, host.Create(c.classId, object.put())});
    }
    const host::PluginDescription d = host.Describe();

    if (parsed.has("--json")) {
        JsonWriter json(ctx.out);
        json.beginObject().field("package", d.packageName).field("version", d.version);
        json.field("namespace", d.namespaceUri).key("components").beginArray();
        for (const Row& r : rows) {
            const host::ComponentInfo& c = *r.info;
            json.beginObject()
                .field("index", c.index)
                .field("class", c.className())
                .field("classId", host::GuidToString(c.classId))
                .field("handles", c.known ? c.known->handles : "")
                .field("loadMultiple", c.loadMultiple)
                .field("available", Succeeded(r.created))
                .field("status", Status(r.created))
                .field("mimeTypes", c.mimeTypes)
                .field("extensions", c.extensions)
                .endObject();
        }
        json.endArray().endObject();
        return kExitOk;
    }

    ctx.out << d.packageName << " " << d.version << ": " << rows.size() << " components\n\n";
    TextTable table({"#", "Class", "Class id", "Status", "Extensions", "MIME types"});
    for (const Row& r : rows) {
        const host::ComponentInfo& c = *r.info;
        table.add({std::to_string(c.index), c.className(), host::GuidToString(c.classId), Status(r.created),
                   JoinOrDash(c.extensions, ","), JoinOrDash(c.mimeTypes, ",")});
    }
    table.print(ctx.out);
    return kExitOk;
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{"components", "list the package's components, their class ids and file types",
                                     "components [--json]\n"
                                     "  Lists the eight components with class id, status (ready or not built),\n"
                                     "  extensions and MIME types; --json prints the same as JSON.",
                                     Run});

}  // namespace tagvera::cli
