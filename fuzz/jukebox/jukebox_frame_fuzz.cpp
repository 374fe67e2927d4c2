// Any bytes as the data of a "KorvaJukebox:Metadata" frame: parsed, read into a tree, looked up
// for on-demand data, and rebuilt, as the MP3 importer and its writer do. Nothing may crash, and a
// block that was accepted must rebuild into one that is accepted again.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "metaprop/metaprop_component.h"
#include "tags/jukebox/jukebox_parser.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

using namespace tagvera;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ComPtr<IMPAKJMDParser> parser;
    if (Failed(CreateJukeboxParser(nullptr, parser.put()))) __builtin_trap();
    if (Failed(parser->Parse(data, static_cast<uint32_t>(size)))) return 0;

    ComPtr<IMPAMetaProperty> tree;
    if (Failed(CreateStandaloneMetaProperty(tree.put()))) __builtin_trap();
    parser->CopyToTree(tree.get());

    // On-demand data for the paths importers ask for, whatever the tree holds there.
    static const char* const kPaths[] = {"Album:Cover Art", "Track:Lyrics", "Track:Comments", "Cover Art"};
    std::vector<uint8_t> buffer(64);
    for (const char* path : kPaths) {
        ComPtr<IMPAMetaProperty> probe;
        if (Failed(CreateStandaloneMetaProperty(probe.put()))) __builtin_trap();
        if (Failed(probe->AddProperty(path, kTypeReference, 0, nullptr, 0, true, nullptr))) continue;
        ComPtr<IMPAMetaProperty> node;
        if (Failed(probe->FindFirstChild(path, node.put())) || !node) continue;
        parser->GetPropertyData(node.get(), buffer.data(), static_cast<uint32_t>(buffer.size()));
    }

    // Rebuilding from the tree read out of the block, every property forced.
    if (Succeeded(parser->Build(tree.get(), nullptr, 1))) {
        ComPtr<IKMABuffer> block;
        if (Failed(parser->GetBlock(block.put()))) __builtin_trap();
    }
    return 0;
}
