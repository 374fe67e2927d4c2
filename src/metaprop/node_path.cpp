#include "metaprop/node_path.h"

#include <vector>

#include "tagvera/vocabulary.h"

namespace tagvera {

struct NodePath::Part {
    std::shared_ptr<Part> prefix;  // null: no separator before text
    std::string text;
    size_t length = 0;  // of the spelled path

    Part(std::shared_ptr<Part> before, std::string_view own, size_t total)
        : prefix(std::move(before)), text(own), length(total) {}
    // Parts no one else holds go one after the other here; the default would recurse once per level.
    ~Part() {
        std::shared_ptr<Part> next = std::move(prefix);
        while (next && next.use_count() == 1) next = std::move(next->prefix);
    }
};

NodePath NodePath::FromText(std::string_view text) {
    if (text.empty()) return {};
    return NodePath(std::make_shared<Part>(nullptr, text, text.size()));
}

NodePath NodePath::Child(std::string_view name) const {
    if (!part_) return name.empty() ? NodePath() : FromText(name);
    return NodePath(std::make_shared<Part>(part_, name, part_->length + 1 + name.size()));
}

bool NodePath::DerivesFrom(const NodePath& parent, std::string_view name, bool flatten) const {
    // Below an empty path a node's path is its name alone, or empty: the same text is the same path.
    if (!parent.part_) {
        if (flatten || name.empty()) return !part_;
        return part_ && !part_->prefix && part_->text == name;
    }
    if (!part_) return false;
    if (flatten) return part_ == parent.part_;
    return part_->prefix == parent.part_ && part_->text == name;
}

size_t NodePath::length() const { return part_ ? part_->length : 0; }

std::string NodePath::Spell() const {
    std::vector<const Part*> parts;
    for (const Part* at = part_.get(); at; at = at->prefix.get()) parts.push_back(at);
    std::string out;
    out.reserve(length());
    for (auto it = parts.rbegin(); it != parts.rend(); ++it) {
        if ((*it)->prefix) out += kPathSeparator;
        out += (*it)->text;
    }
    return out;
}

}  // namespace tagvera
