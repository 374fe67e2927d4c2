#include "cli/structure_report.h"

#include <algorithm>
#include <string>

#include "cli/args.h"
#include "cli/tool_services.h"
#include "tagvera/buffer_text.h"
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

std::vector<LeftOutPart> LeftOutOf(const MediaFile& media) {
    auto structure = QueryAs<IMPAStructureReport>(media.importer.get(), IID_IMPAStructureReport);
    ComPtr<IKMABuffer> report;
    if (!structure || Failed(structure->GetStructureReport(media.path.c_str(), kStructureLeftOut, report.put(), nullptr)))
        return {};
    std::vector<LeftOutPart> parts;
    const std::string text = BufferText(report.get());
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        const size_t tab1 = line.find('\t');
        const size_t tab2 = tab1 == std::string::npos ? tab1 : line.find('\t', tab1 + 1);
        if (tab2 != std::string::npos)
            parts.push_back({line.substr(0, tab1), line.substr(tab1 + 1, tab2 - tab1 - 1), line.substr(tab2 + 1)});
        start = end + 1;
    }
    return parts;
}

}  // namespace tagvera::cli
