// EXIF through exiv2 and into properties, then every property found written back as edited:
// nothing exiv2 throws escapes as anything but Error, and the mapping takes any item it gives.
#include <cstdint>
#include <cstdlib>

#include "base/error.h"
#include "image/exif_map.h"
#include "metaprop/metaprop_component.h"
#include "tagvera/com_ptr.h"
#include "tagvera/vocabulary.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace tagvera;
    using namespace tagvera::image;
    const std::span<const uint8_t> image(data, size);
    try {
        const auto items = ReadExifItems(image);
        ComPtr<IMPAMetaProperty> tree;
        if (Failed(CreateStandaloneMetaProperty(tree.put()))) return 0;
        AddExifProperties(tree.get(), items);
        ComPtr<IMPAMetaProperty> statistics, node;
        if (Succeeded(tree->FindByPath("Statistics", statistics.put())) && statistics)
            for (HRESULT hr = statistics->GetFirstChild(node.put()); Succeeded(hr) && node;
                 hr = statistics->GetNextChild(node.put()))
                node->SetChanged(kChanged);
        const auto edits = CollectExifEdits(tree.get());
        if (!edits.empty()) ApplyExifEdits(std::vector<uint8_t>(image.begin(), image.end()), edits);
    } catch (const Error&) {
    }
    return 0;
}
