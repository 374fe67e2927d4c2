// One node record of a jukebox metadata block, read in place. Parsing checks the record's own fields
// against the bytes it may use; the value and the children are checked when they are asked for.
#ifndef TAGVERA_METAPROP_BLOCK_RECORD_H
#define TAGVERA_METAPROP_BLOCK_RECORD_H

#include <cstdint>
#include <span>
#include <string_view>

#include "metaprop/block_format.h"

namespace tagvera::block {

class Record {
public:
    Record() = default;
    // The record at the start of available. Throws Error(E_FAIL) when its length is below its own
    // fields or beyond available, or when name, value offset or child table do not fit in it.
    static Record Parse(std::span<const uint8_t> available, bool bigEndian);

    // Exactly the record's bytes (its length field), children included.
    std::span<const uint8_t> bytes() const { return bytes_; }
    uint32_t length() const { return static_cast<uint32_t>(bytes_.size()); }
    uint32_t type() const { return type_; }
    uint32_t flags() const { return flags_; }
    // NUL-terminated inside the block.
    const char* name() const { return name_.data(); }
    std::string_view nameView() const { return name_; }
    bool bigEndian() const { return bigEndian_; }

    // The value's declared length and whether its bytes lie inside the record.
    uint32_t valueLength() const { return valueLength_; }
    bool valueInBounds() const;
    // The value bytes; throws Error(E_FAIL) when they do not lie inside the record.
    std::span<const uint8_t> value() const;

    uint32_t entryCount() const { return entryCount_; }
    // The first byte after the child table: no child record may start before it.
    uint32_t tableEnd() const { return tableEnd_; }
    struct Entry {
        uint32_t offset;  // of the first record of the name
        uint32_t count;   // records of the name, one after the other
    };
    // Entry i < entryCount() of the child table.
    Entry entry(uint32_t i) const;
    // The record at offset inside this one, bounded by this record's end; throws Error(E_FAIL)
    // when the offset is inside this record's own fields or past its end.
    Record childAt(uint32_t offset) const;

private:
    std::span<const uint8_t> bytes_;
    uint32_t type_ = 0;
    uint32_t flags_ = 0;
    std::string_view name_;
    uint32_t valueOffset_ = 0;
    uint32_t valueLength_ = 0;
    uint32_t tableOffset_ = 0;
    uint32_t entryCount_ = 0;
    uint32_t tableEnd_ = 0;
    bool bigEndian_ = false;
};

// Visits every child record of a record in table order: the records of one name follow each other
// and no record may start before the end of the one visited before it. Each record is visited once
// and nested records lie strictly inside their parent, so walking a whole block costs time in
// proportion to its size whatever its offsets and counts claim.
class ChildWalker {
public:
    explicit ChildWalker(const Record& parent) : parent_(parent), cursor_(parent.tableEnd()) {}

    // The next child record, or false after the last one. firstOfName is true for the first
    // record of a table entry. Throws Error(E_FAIL) on an entry that breaks the rules above.
    bool next(Record* child, bool* firstOfName);
    // The table entry of the record visited last.
    uint32_t entryIndex() const { return entry_ - 1; }

private:
    const Record& parent_;
    uint32_t entry_ = 0;      // the table entry being visited
    uint32_t left_ = 0;       // records of that entry still to visit
    uint32_t nextAt_ = 0;     // where the next record of that entry starts
    uint32_t cursor_;         // no child may start before this
};

}  // namespace tagvera::block

#endif
