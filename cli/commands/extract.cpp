// tagvera extract: the bytes of one property of a media file, such as its cover picture, which the
// importer hands out on demand, into a file or to standard output.
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/result_words.h"
#include "cli/command_registry.h"
#include "cli/media_file.h"
#include "cli/path_text.h"
#include "cli/property_view.h"
#include "cli/tool_services.h"
#include "host/result_text.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {
namespace {

// Values held in the tree itself: a string without its NUL, anything else as it is.
std::vector<uint8_t> HeldBytes(IMPAMetaProperty* node) {
    std::vector<uint8_t> bytes = ValueOf(node);
    const uint32_t type = TypeOf(node);
    const bool text = type == kTypeText || type == kTypeUrl || type == kTypeDate || type == kTypeFilename;
    if (text && !bytes.empty() && bytes.back() == 0) bytes.pop_back();
    return bytes;
}

void WriteBytes(CommandContext& ctx, const std::string& output, const std::vector<uint8_t>& bytes,
                const std::string& file) {
    if (output != "-") return WriteOutputFile(ctx, output, bytes);
    ctx.out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    ctx.out.flush();
    if (!ctx.out) throw DataError(file, "cannot write to standard output");
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(args, {}, {"-o", "--output"});
    RequirePositional(parsed, 2, 2);
    auto output = parsed.option("-o");
    if (!output) output = parsed.option("--output");
    if (!output || output->empty()) throw UsageError("name the output with -o FILE (or -o - for standard output)");
    const std::string& file = parsed.positional[0];
    const std::string& path = parsed.positional[1];
    if (const auto folder = Utf8Path(*output).parent_path(); *output != "-" && !folder.empty()) {
        std::error_code ec;
        if (!std::filesystem::is_directory(folder, ec)) throw DataError(*output, "no such folder: " + PathUtf8(folder));
    }

    const MediaFile media = ReadMediaFile(ctx.host(), file);
    // A full path ("Album:Cover Art"), or a plain name the tree finds under Track, Album, Artist...
    ComPtr<IMPAMetaProperty> node;
    if (Failed(media.tree->FindByPath(path.c_str(), node.put())) || !node)
        throw DataError(file, "has no property \"" + path + "\" (tagvera info lists them)");
    if (IsGroup(node.get())) throw DataError(file, "\"" + path + "\" is a group, not a value");

    if (TypeOf(node.get()) != kTypeReference) {
        WriteBytes(ctx, *output, HeldBytes(node.get()), file);
        return kExitOk;
    }
    // Type 10: the importer reads the bytes from the file now.
    auto handler = media.handler();
    if (!handler) throw DataError(file, "its importer does not hand out property data");
    if (*output != "-") {
        if (const HRESULT hr = handler->SavePropertyData(node.get(), output->c_str()); Failed(hr))
            throw DataError(file, "cannot save \"" + path + "\" into " + *output + ": " + Why(hr));
        return kExitOk;
    }
    auto size = ChildAt(node.get(), kPropDataSize);
    const auto bytes = size ? NumberOf(size.get()) : std::nullopt;
    if (!bytes) throw DataError(file, "\"" + path + "\" does not say how large it is");
    std::vector<uint8_t> buffer(*bytes);
    if (buffer.empty()) {
        WriteBytes(ctx, *output, buffer, file);
        return kExitOk;
    }
    if (const HRESULT hr = handler->GetPropertyData(node.get(), buffer.data(), *bytes); Failed(hr))
        throw DataError(file, "cannot read \"" + path + "\": " + Why(hr));
    WriteBytes(ctx, *output, buffer, file);
    return kExitOk;
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{
    "extract", "save one property of a media file, such as its cover picture",
    "extract FILE PROPERTY -o OUTPUT\n"
    "  Saves the bytes of PROPERTY (a path such as \"Album:Cover Art\" or \"Track:Lyrics\", as\n"
    "  `tagvera info` shows it) into OUTPUT; -o - writes them to standard output. Pictures and\n"
    "  lyrics are read from the file on demand; other values are written as the tree holds them.",
    Run});

}  // namespace tagvera::cli
