// A node's path, kept as a chain of shared parts (the parent's path, then the node's own name) and
// spelled out only when asked for. Full strings in every node would cost depth x name length per
// node, which a hostile block with long names and many descendants turns into quadratic memory.
#ifndef TAGVERA_METAPROP_NODE_PATH_H
#define TAGVERA_METAPROP_NODE_PATH_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace tagvera {

class NodePath {
public:
    NodePath() = default;
    // A path given as text, as SetParentPath receives it.
    static NodePath FromText(std::string_view text);

    // The path of a node named name below a parent with this path: this path, ":" when this path is
    // not empty, then the name (so an unnamed child of "Track" has the path "Track:").
    NodePath Child(std::string_view name) const;

    // Whether this path was made by Child(name) (or, with flatten, is the very path) of parent, the
    // same parts and not just the same text; below an empty parent, whether it is what Child(name)
    // would spell.
    bool DerivesFrom(const NodePath& parent, std::string_view name, bool flatten) const;

    bool empty() const { return !part_; }
    size_t length() const;
    std::string Spell() const;

private:
    struct Part;
    explicit NodePath(std::shared_ptr<Part> part) : part_(std::move(part)) {}
    std::shared_ptr<Part> part_;
};

}  // namespace tagvera

#endif
