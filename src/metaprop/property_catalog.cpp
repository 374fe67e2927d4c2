#include "metaprop/property_catalog.h"

namespace tagvera {

std::string CatalogText(std::span<const std::vector<CatalogEntry>> parts) {
    std::string text;
    for (const auto& part : parts)
        for (const auto& e : part)
            text += e.path + "\t" + e.type + "\t" + (e.writable ? "rw" : "r") + "\t" + e.where + "\n";
    return text;
}

}  // namespace tagvera
