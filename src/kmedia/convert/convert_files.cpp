#include "kmedia/convert/convert_files.h"

#include <filesystem>

#include "platform/file.h"
#include "platform/interrupted_write.h"
#include "platform/safe_write.h"
#include "tagvera/kmedia_edit.h"

namespace tagvera::kmedia {

void ConvertFiles(const std::vector<std::string>& inputs, const std::string& output, const ConvertPlan& plan) {
    std::error_code ec;
    const bool created = !std::filesystem::exists(output, ec);
    std::vector<platform::File> files;
    std::vector<KmHeaders> headers;
    for (const std::string& path : inputs) {
        // The copiers' rule that the output is no input holds for another spelling or link of a name.
        if (!created && std::filesystem::equivalent(path, output, ec))
            throw Error(TV_KM_E_OUTPUTISINPUT, output + " is the input " + path);
        files.push_back(platform::OpenForReading(path));
        if (!files.back().regular()) throw Error(TV_E_FAIL, path + " is not a regular file");
        headers.push_back(ReadKmHeaders(files.back()));
    }
    std::vector<ConvertInput> list;
    for (size_t i = 0; i < files.size(); ++i) list.push_back({&files[i], &headers[i]});
    const platform::FileLayout layout = ConvertLayout(list, plan);
    // RewriteFile replaces a file; a new output starts empty so that there is one to replace.
    if (created) platform::WriteFileAtomically(output, {});
    try {
        platform::RewriteFile(output, layout);
    } catch (...) {
        if (created) platform::RemoveFile(output);
        throw;
    }
}

}  // namespace tagvera::kmedia
