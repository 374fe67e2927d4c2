#include "wm/asf_structure_text.h"

#include <cstdio>
#include <string_view>

#include "tags/id3v2/json_report.h"
#include "wm/asf_header_reader.h"
#include "wm/asf_objects.h"
#include "wm/wm_header_info.h"
#include "wm/wm_meta_property.h"

namespace tagvera::wm {
namespace {

struct Placed {
    Guid id;
    uint64_t offset, size;
    const char* in;  // "header", "header extension", "file"
};

struct Layout {
    AsfHeader header;
    std::vector<Placed> objects;
    std::vector<std::string> warnings;
};

Layout Read(ByteSource& file) {
    Layout l{ReadAsfHeader(file), {}, {}};
    l.objects.push_back({ids::kHeader, 0, l.header.headerSize, "file"});
    for (const auto& o : l.header.objects) {
        l.objects.push_back({o.id, o.offset, o.bytes.size(), "header"});
        if (o.id == ids::kHeaderExtension)
            for (const auto& c : l.header.extension) l.objects.push_back({c.id, c.offset, c.bytes.size(), "header extension"});
    }
    const TopObjects top = ReadTopObjects(file, l.header.headerSize);
    for (const auto& o : top.objects) l.objects.push_back({o.id, o.offset, o.size, "file"});
    if (!top.problem.empty()) l.warnings.push_back(top.problem);
    if (l.header.file.fileSize != file.size())
        l.warnings.push_back("the file properties give a size of " + std::to_string(l.header.file.fileSize) +
                             " bytes; the file has " + std::to_string(file.size()));
    return l;
}

std::string ValueText(const Attribute& a) {
    if (a.name == "WM/Picture" && a.type == AttrType::Binary)
        if (auto p = ParsePictureRecord(a.value, false)) return "picture " + p->mime + ", " + std::to_string(p->data.size()) + " bytes";
    switch (a.type) {
        case AttrType::Binary: return std::to_string(a.value.size()) + " bytes";
        case AttrType::Guid: return GuidText(GuidFrom(a.value));
        default: {
            std::string text;
            CWMMetaProperty(a).Text(&text);
            return text;
        }
    }
}

std::string Name(const Guid& id) {
    const char* name = ids::ObjectName(id);
    return name ? name : "(unknown)";
}

}  // namespace

std::string StructureText(ByteSource& file, const std::string& fileName) {
    const Layout l = Read(file);
    std::string out = fileName + ": ASF, header " + std::to_string(l.header.headerSize) + " bytes (" +
                      std::to_string(l.header.paddingBytes) + " padding), " + std::to_string(l.header.attributes.size()) +
                      " attributes\n";
    char line[160];
    for (const auto& o : l.objects) {
        const std::string_view in = o.in;
        const char* indent = in == "file" ? "" : in == "header extension" ? "    " : "  ";
        std::snprintf(line, sizeof line, "%s%-10llu %10llu  %s  ", indent, static_cast<unsigned long long>(o.offset),
                      static_cast<unsigned long long>(o.size), GuidText(o.id).c_str());
        out += line + Name(o.id) + "\n";
    }
    for (const auto& a : l.header.attributes) {
        out += "  " + a.name + " = " + (a.type == AttrType::String ? "\"" + ValueText(a) + "\"" : ValueText(a)) + "  (" +
               AttrTypeName(a.type) + ", " + HomeName(a.home);
        if (a.stream) out += ", stream " + std::to_string(a.stream);
        if (a.language) out += ", language " + std::to_string(a.language);
        out += ")\n";
    }
    for (const auto& w : l.warnings) out += "warning: " + w + "\n";
    return out;
}

std::string StructureJson(ByteSource& file) {
    const Layout l = Read(file);
    const auto q = [](std::string_view s) { return id3v2::JsonQuote(s); };
    std::string out = "{\"header_size\":" + std::to_string(l.header.headerSize) +
                      ",\"padding\":" + std::to_string(l.header.paddingBytes) + ",\"objects\":[";
    for (size_t i = 0; i < l.objects.size(); ++i) {
        const auto& o = l.objects[i];
        out += std::string(i ? "," : "") + "{\"guid\":" + q(GuidText(o.id)) + ",\"name\":" + q(Name(o.id)) +
               ",\"offset\":" + std::to_string(o.offset) + ",\"size\":" + std::to_string(o.size) + ",\"in\":" + q(o.in) + "}";
    }
    out += "],\"attributes\":[";
    for (size_t i = 0; i < l.header.attributes.size(); ++i) {
        const auto& a = l.header.attributes[i];
        out += std::string(i ? "," : "") + "{\"object\":" + q(HomeName(a.home)) + ",\"stream\":" + std::to_string(a.stream) +
               ",\"language\":" + std::to_string(a.language) + ",\"name\":" + q(a.name) + ",\"type\":" + q(AttrTypeName(a.type)) +
               ",\"value\":" + q(ValueText(a)) + "}";
    }
    out += "],\"warnings\":[";
    for (size_t i = 0; i < l.warnings.size(); ++i) out += (i ? "," : "") + q(l.warnings[i]);
    return out + "]}\n";
}

}  // namespace tagvera::wm
