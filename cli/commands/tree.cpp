// tagvera tree: property trees stored on their own, as a jukebox metadata block or a KJMETADATA
// document. The form is told from the content, never from the file name.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/args.h"
#include "cli/command_registry.h"
#include "cli/result_words.h"
#include "cli/json.h"
#include "cli/path_text.h"
#include "cli/property_view.h"
#include "cli/tool_services.h"
#include "tagvera/metaprop_serialize.h"
#include "tagvera/vocabulary.h"

namespace tagvera::cli {
namespace {

using Bytes = std::vector<uint8_t>;

struct StoredForm {
    bool block = false;
    bool bigEndian = false;
    std::string magic;  // of a block
    std::string Describe(size_t size) const {
        if (!block) return "KJMETADATA document, " + std::to_string(size) + " bytes";
        return "jukebox metadata block (" + magic + ", " + (bigEndian ? "big" : "little") + "-endian, " +
               std::to_string(size) + " bytes)";
    }
};

Bytes ReadFile(const std::string& path) {
    std::ifstream in(Utf8Path(path), std::ios::binary);
    if (!in) throw DataError(path, "cannot open: " + std::string(std::strerror(errno)));
    Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) throw DataError(path, "cannot read");
    if (bytes.size() > UINT32_MAX - 1) throw DataError(path, "larger than 4 GB");
    return bytes;
}

uint32_t Load32(const uint8_t* p, bool big) {
    return big ? uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]
               : uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}

StoredForm Recognise(const std::string& path, const Bytes& bytes) {
    StoredForm form;
    if (bytes.size() >= 8 && (std::memcmp(bytes.data(), kBlockMagic, 4) == 0 ||
                              std::memcmp(bytes.data(), kBlockMagicVariant, 4) == 0)) {
        // The version field, 1 in the block's byte order, tells the byte order.
        form.block = true;
        form.magic.assign(bytes.begin(), bytes.begin() + 4);
        if (Load32(bytes.data() + 4, false) == kBlockVersion) return form;
        form.bigEndian = true;
        if (Load32(bytes.data() + 4, true) == kBlockVersion) return form;
        throw DataError(path, "metadata block of version " + std::to_string(Load32(bytes.data() + 4, false)) +
                                  ", only version 1 is known");
    }
    size_t at = bytes.size() >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF ? 3 : 0;
    while (at < bytes.size() && (bytes[at] == ' ' || bytes[at] == '\t' || bytes[at] == '\r' || bytes[at] == '\n'))
        ++at;
    if (at < bytes.size() && bytes[at] == '<') return form;
    throw DataError(path, "neither a jukebox metadata block nor a KJMETADATA document");
}

struct LoadedTree {
    StoredForm form;
    size_t size = 0;
    ComPtr<IMPAMetaProperty> tree;
};

LoadedTree Load(CommandContext& ctx, const std::string& path, const std::optional<std::string>& encoding) {
    const Bytes bytes = ReadFile(path);
    LoadedTree loaded;
    loaded.form = Recognise(path, bytes);
    loaded.size = bytes.size();
    const HRESULT created = ctx.host().NewPropertyTree(loaded.tree.put());
    if (Failed(created)) throw DataError(path, "no property tree from the library: " + Why(created));
    HRESULT hr;
    if (loaded.form.block) {
        auto serialize = QueryAs<IMPAMetaPropertySerialize>(loaded.tree, IID_IMPAMetaPropertySerialize);
        if (!serialize) throw DataError(path, "the library's property tree cannot read blocks");
        // References keep their bytes, so that converting a block to a block loses nothing.
        hr = serialize->ReadBinary(bytes.data(), uint32_t(bytes.size()), true, loaded.form.bigEndian);
    } else if (encoding) {
        auto serialize = QueryAs<IMPAMetaPropertySerialize2>(loaded.tree, IID_IMPAMetaPropertySerialize2);
        if (!serialize) throw DataError(path, "the library's property tree cannot read XML");
        hr = serialize->ReadXMLWithEncoding(reinterpret_cast<const char*>(bytes.data()), uint32_t(bytes.size()),
                                            encoding->c_str());
    } else {
        auto serialize = QueryAs<IMPAMetaPropertySerialize>(loaded.tree, IID_IMPAMetaPropertySerialize);
        if (!serialize) throw DataError(path, "the library's property tree cannot read XML");
        hr = serialize->ReadXML(reinterpret_cast<const char*>(bytes.data()), uint32_t(bytes.size()));
    }
    if (Failed(hr)) throw DataError(path, "not a valid " + loaded.form.Describe(bytes.size()) + ": " + Why(hr));
    return loaded;
}

// --- show ---

const char* TypeName(uint32_t type) {
    static const char* const kNames[] = {"none", "text", "textlist", "flag", "number", "binary", "url",
                                         "date", "filename", "group", "reference", "file reference",
                                         "data reference", "pointer", "interface"};
    return type < std::size(kNames) ? kNames[type] : "undefined";
}

std::vector<std::string> FlagNames(uint32_t flags) {
    static const std::pair<uint32_t, const char*> kFlags[] = {
        {kFlagReadOnly, "readonly"}, {kFlagPrivate, "private"},   {kFlagType, "type"},       {kFlagModified, "modified"},
        {kFlagShortcut, "shortcut"}, {kFlagStagnant, "stagnant"}, {kFlagFlatten, "flatten"}};
    std::vector<std::string> names;
    for (const auto& [bit, name] : kFlags)
        if (flags & bit) names.push_back(name);
    if (uint32_t rest = flags & ~0x7Fu) names.push_back("0x" + [rest] {
        char hex[12];
        std::snprintf(hex, sizeof hex, "%x", rest);
        return std::string(hex);
    }());
    return names;
}

uint32_t FlagsOf(IMPAMetaProperty* node) {
    uint32_t flags = 0;
    node->GetFlags(&flags);
    return flags;
}

std::string Hex(const Bytes& bytes, size_t max) {
    static const char kDigits[] = "0123456789abcdef";
    std::string out;
    for (size_t i = 0; i < bytes.size() && i < max; ++i) {
        if (i) out += ' ';
        out += kDigits[bytes[i] >> 4];
        out += kDigits[bytes[i] & 15];
    }
    if (bytes.size() > max) out += " ...";
    return out;
}

// A block stores "no value" as one zero byte; for types without a value of their own, that is none.
Bytes ShownValue(IMPAMetaProperty* node) {
    Bytes value = ValueOf(node);
    const uint32_t type = TypeOf(node);
    const bool valueless = type == kTypeNone || type == kTypeGroup || type == kTypeReference;
    if (valueless && value.size() == 1 && value[0] == 0) value.clear();
    return value;
}

// The value as people read it; "" for a node without one.
std::string ValueText(IMPAMetaProperty* node) {
    const uint32_t type = TypeOf(node);
    const Bytes value = ShownValue(node);
    if (value.empty()) return "";
    switch (type) {
        case kTypeText: case kTypeTextList: case kTypeUrl: case kTypeDate: case kTypeFilename:
            return "\"" + OneLine(TextOf(node)) + "\"";
        case kTypeNumber:
            if (auto n = NumberOf(node)) return std::to_string(*n);
            break;
        case kTypeFlag:
            if (value.size() == 1) return std::to_string(value[0]);
            break;
        default:
            break;
    }
    const std::string size = std::to_string(value.size()) + (value.size() == 1 ? " byte" : " bytes");
    return size + ": " + Hex(value, 16);
}

void PrintNode(std::ostream& out, IMPAMetaProperty* node, int depth) {
    out << std::string(size_t(depth) * 2, ' ') << OneLine(NameOf(node)) << " (" << TypeName(TypeOf(node));
    const std::vector<std::string> flags = FlagNames(FlagsOf(node));
    for (size_t i = 0; i < flags.size(); ++i) out << (i ? "," : "; ") << flags[i];
    out << ")";
    if (const std::string value = ValueText(node); !value.empty()) out << " = " << value;
    out << "\n";
    for (const auto& child : ChildrenOf(node)) PrintNode(out, child.get(), depth + 1);
}

void JsonNode(JsonWriter& json, IMPAMetaProperty* node) {
    json.beginObject().field("name", NameOf(node)).field("type", TypeName(TypeOf(node)));
    json.field("typeCode", TypeOf(node)).field("flags", FlagNames(FlagsOf(node)));
    const Bytes value = ShownValue(node);
    const uint32_t type = TypeOf(node);
    if (value.empty()) {
        json.key("value").null();
    } else if (type == kTypeText || type == kTypeTextList || type == kTypeUrl || type == kTypeDate ||
               type == kTypeFilename) {
        json.field("value", TextOf(node));
    } else if (auto n = NumberOf(node); n && type == kTypeNumber) {
        json.field("value", *n);
    } else {
        json.field("valueHex", Hex(value, value.size()));
    }
    json.key("children").beginArray();
    for (const auto& child : ChildrenOf(node)) JsonNode(json, child.get());
    json.endArray().endObject();
}

int Show(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 2, 2);
    const std::string& path = parsed.positional[1];
    const LoadedTree loaded = Load(ctx, path, parsed.option("--encoding"));
    const std::vector<ComPtr<IMPAMetaProperty>> top = ChildrenOf(loaded.tree.get());
    if (parsed.has("--json")) {
        JsonWriter json(ctx.out);
        json.beginObject().field("file", path).field("form", loaded.form.block ? "block" : "xml");
        if (loaded.form.block)
            json.field("magic", loaded.form.magic).field("byteOrder", loaded.form.bigEndian ? "big" : "little");
        json.field("size", uint64_t(loaded.size)).key("properties").beginArray();
        for (const auto& child : top) JsonNode(json, child.get());
        json.endArray().endObject();
        return kExitOk;
    }
    ctx.out << path << ": " << loaded.form.Describe(loaded.size) << "\n";
    if (top.empty()) ctx.out << "(no properties)\n";
    for (const auto& child : top) PrintNode(ctx.out, child.get(), 0);
    return kExitOk;
}

// --- convert ---

int Convert(CommandContext& ctx, const ParsedArgs& parsed) {
    RequirePositional(parsed, 3, 3);
    const std::string& in = parsed.positional[1];
    const std::string& out = parsed.positional[2];
    const std::optional<std::string> to = parsed.option("--to");
    if (!to || (*to != "xml" && *to != "block")) throw UsageError("convert needs --to xml or --to block");
    const std::string order = parsed.option("--byte-order").value_or("little");
    if (order != "little" && order != "big") throw UsageError("--byte-order is little or big");

    const LoadedTree loaded = Load(ctx, in, parsed.option("--encoding"));
    if (*to == "xml") {
        auto serialize = QueryAs<IMPAMetaPropertySerialize>(loaded.tree, IID_IMPAMetaPropertySerialize);
        char* text = nullptr;
        uint32_t length = 0;
        const HRESULT hr = serialize->WriteXML(&text, &length, !parsed.has("--compact"));
        if (Failed(hr)) throw DataError(in, "cannot write XML: " + Why(hr));
        std::unique_ptr<char[]> owned(text);
        WriteOutputFile(ctx, out, {reinterpret_cast<const uint8_t*>(text), length ? length - 1 : 0});
        ctx.out << out << ": KJMETADATA document, " << (length ? length - 1 : 0) << " bytes\n";
        return kExitOk;
    }
    auto serialize = QueryAs<IMPAMetaPropertySerialize2>(loaded.tree, IID_IMPAMetaPropertySerialize2);
    uint8_t* block = nullptr;
    uint32_t size = 0;
    const HRESULT hr = serialize->WriteBinaryEx(&block, &size, parsed.has("--keep-references"),
                                                parsed.has("--variant"), order == "big",
                                                !parsed.has("--no-database-fields"));
    if (Failed(hr)) throw DataError(in, "cannot write a block: " + Why(hr));
    std::unique_ptr<uint8_t[]> owned(block);
    WriteOutputFile(ctx, out, {block, size});
    ctx.out << out << ": jukebox metadata block (" << std::string(block, block + 4) << ", " << order << "-endian, "
            << size << " bytes)\n";
    return kExitOk;
}

int Run(CommandContext& ctx, const Args& args) {
    const ParsedArgs parsed = ParseArgs(
        args, {"--json", "--compact", "--keep-references", "--variant", "--no-database-fields"},
        {"--to", "--byte-order", "--encoding"});
    if (parsed.positional.empty()) throw UsageError("tree needs show or convert");
    const std::string& what = parsed.positional[0];
    if (what == "show") return Show(ctx, parsed);
    if (what == "convert") return Convert(ctx, parsed);
    throw UsageError("unknown tree command '" + what + "'");
}

}  // namespace

TAGVERA_REGISTER_COMMAND(CommandSpec{
    "tree", "show or convert a property tree stored as a metadata block or KJMETADATA XML",
    "tree show [--json] [--encoding NAME] FILE\n"
    "tree convert IN OUT --to xml|block [--byte-order little|big] [--keep-references] [--variant]\n"
    "                    [--no-database-fields] [--compact] [--encoding NAME]\n"
    "  FILE and IN are told apart by their content: a jukebox metadata block (\"KJMD\" or \"KJAD\",\n"
    "  either byte order) or a KJMETADATA document. XML is read in the character set --encoding\n"
    "  names, else the one of the XMLEncoding preference. convert writes XML pretty printed\n"
    "  unless --compact; a block little-endian unless --byte-order big, with the database fields\n"
    "  unless --no-database-fields, reference data with --keep-references, and with --variant\n"
    "  as well the \"KJAD\" variant that stores references as they are.",
    Run});

}  // namespace tagvera::cli
