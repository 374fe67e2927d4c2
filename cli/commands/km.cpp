// tagvera km FILE [--json]: the objects of a KorvaMedia file as they stand in it, each with its
// offset, size, version and fields, then the trailer, the ID3v1 tag and what is wrong. No other
// tool reads these files, so this is where a damaged one is looked at.
#include <string>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/tool_services.h"
#include "tagvera/components.h"
#include "tagvera/structure_report.h"

namespace tagvera::cli {
namespace {

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {"--json"});
    RequirePositional(parsed, 1, 1);
    const std::string& path = parsed.positional[0];
    HRESULT hr = TV_S_OK;
    const auto structure = ctx.host().CreateAs<IMPAStructureReport>(CLSID_CImportKMJFile, IID_IMPAStructureReport, &hr);
    if (!structure)
        throw DataError(path, "the KorvaMedia importer gives no structure report: " + FailureText(hr, nullptr));
    ComPtr<IKMABuffer> report, reason;
    hr = structure->GetStructureReport(path.c_str(), parsed.has("--json") ? kStructureJson : kStructureText, report.put(),
                                       reason.put());
    if (Failed(hr)) throw DataError(path, FailureText(hr, reason.get()));
    uint8_t* bytes = nullptr;
    uint32_t size = 0;
    if (Succeeded(report->Get(&bytes, &size)) && bytes) ctx.out.write(reinterpret_cast<const char*>(bytes), size);
    return kExitOk;
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{"km", "show the object layout of a KorvaMedia file",
                                     "km [--json] FILE\n"
                                     "  Lists every object (.KMF, PROP, CONT, MDPR, DATA, INDX) with its offset, size,\n"
                                     "  version and fields, the jukebox trailer and the ID3v1 tag, and warns of damage.",
                                     Run});

}  // namespace tagvera::cli
