// tagvera frames FILE [--json]: the ID3 frames of a file as they stand in it, in the ID3 fixtures'
// JSON form with --json, so that anyone can hold our reading against another reader's. The frames
// come from the MP3 importer's structure report, below any property mapping, for any file name.
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
    const auto structure = ctx.host().CreateAs<IMPAStructureReport>(CLSID_CImportMP3File, IID_IMPAStructureReport, &hr);
    if (!structure) throw DataError(path, "the MP3 importer gives no structure report: " + FailureText(hr, nullptr));
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

TAGVERA_REGISTER_COMMAND(CommandSpec{"frames", "list the ID3 frames of a file as they stand in it",
                                     "frames [--json] FILE\n"
                                     "  Reads the ID3v2 tags (and ID3v1 and Lyrics3 at the end) without the property\n"
                                     "  mapping; --json prints them in the ID3 fixtures' form (version, frames).",
                                     Run});

}  // namespace tagvera::cli
