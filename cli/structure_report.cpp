#include "cli/structure_report.h"

#include <string>

#include "cli/args.h"
#include "cli/tool_services.h"
#include "tagvera/structure_report.h"

namespace tagvera::cli {

int PrintStructureReport(CommandContext& ctx, const Args& args, const GUID& importer, const char* importerName) {
    const ParsedArgs parsed = ParseArgs(args, {"--json"});
    RequirePositional(parsed, 1, 1);
    const std::string& path = parsed.positional[0];
    HRESULT hr = TV_S_OK;
    const auto structure = ctx.host().CreateAs<IMPAStructureReport>(importer, IID_IMPAStructureReport, &hr);
    if (!structure)
        throw DataError(path, std::string(importerName) + " gives no structure report: " + FailureText(hr, nullptr));
    ComPtr<IKMABuffer> report, reason;
    hr = structure->GetStructureReport(path.c_str(), parsed.has("--json") ? kStructureJson : kStructureText, report.put(),
                                       reason.put());
    if (Failed(hr)) throw DataError(path, FailureText(hr, reason.get()));
    uint8_t* bytes = nullptr;
    uint32_t size = 0;
    if (Succeeded(report->Get(&bytes, &size)) && bytes) ctx.out.write(reinterpret_cast<const char*>(bytes), size);
    return kExitOk;
}

}  // namespace tagvera::cli
