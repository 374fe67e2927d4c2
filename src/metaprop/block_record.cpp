#include "metaprop/block_record.h"

#include <cstring>

#include "base/error.h"
#include "tagvera/vocabulary.h"

namespace tagvera::block {
namespace {

[[noreturn]] void Malformed(const char* what) { throw Error(TV_E_FAIL, std::string("metadata block: ") + what); }

}  // namespace

Record Record::Parse(std::span<const uint8_t> available, bool bigEndian) {
    if (available.size() < kNameAt) Malformed("record shorter than its fields");
    const uint8_t* p = available.data();
    const uint32_t length = Load32(p + kLengthAt, bigEndian);
    if (length > available.size()) Malformed("record longer than the bytes that remain");

    Record r;
    r.bigEndian_ = bigEndian;
    r.bytes_ = available.first(length);
    r.type_ = Load32(p + kTypeAt, bigEndian);
    r.flags_ = Load32(p + kFlagsAt, bigEndian);

    // 64-bit sums: no field can wrap around to look small.
    const uint32_t nameLength = Load32(p + kNameLengthAt, bigEndian);
    if (nameLength == 0 || uint64_t(kNameAt) + nameLength > length) Malformed("name outside its record");
    const char* name = reinterpret_cast<const char*>(p + kNameAt);
    if (name[nameLength - 1] != '\0') Malformed("name not terminated");
    r.name_ = std::string_view(name, std::strlen(name));

    r.valueOffset_ = Load32(p + kValueOffsetAt, bigEndian);
    if (r.valueOffset_ < kNameAt + nameLength || uint64_t(r.valueOffset_) + 4 > length)
        Malformed("value offset outside its record");
    r.valueLength_ = Load32(p + r.valueOffset_, bigEndian);

    // A file name stored in a block is only data: every view of a block (reader, in-place node)
    // sees a plain reference without a value, so nothing downstream can open the named file.
    if (r.type_ == kTypeFileReference) {
        r.type_ = kTypeReference;
        r.valueLength_ = 0;
    }

    r.tableOffset_ = Load32(p + kTableOffsetAt, bigEndian);
    r.entryCount_ = Load32(p + kEntryCountAt, bigEndian);
    const uint64_t tableEnd = uint64_t(r.tableOffset_) + uint64_t(r.entryCount_) * kEntrySize;
    if (r.tableOffset_ < r.valueOffset_ + 4 || tableEnd > length) Malformed("child table outside its record");
    r.tableEnd_ = static_cast<uint32_t>(tableEnd);
    return r;
}

bool Record::valueInBounds() const { return uint64_t(valueOffset_) + 4 + valueLength_ <= bytes_.size(); }

std::span<const uint8_t> Record::value() const {
    if (!valueInBounds()) Malformed("value longer than its record");
    return bytes_.subspan(valueOffset_ + 4, valueLength_);
}

Record::Entry Record::entry(uint32_t i) const {
    if (i >= entryCount_) Malformed("child table entry out of range");
    const uint8_t* e = bytes_.data() + tableOffset_ + size_t(i) * kEntrySize;
    return {Load32(e, bigEndian_), Load32(e + 4, bigEndian_)};
}

Record Record::childAt(uint32_t offset) const {
    if (offset < tableEnd_ || offset >= bytes_.size()) Malformed("child record outside its parent");
    return Parse(bytes_.subspan(offset), bigEndian_);
}

bool ChildWalker::next(Record* child, bool* firstOfName) {
    if (left_ == 0) {
        if (entry_ == parent_.entryCount()) return false;
        const Record::Entry e = parent_.entry(entry_++);
        if (e.count == 0) Malformed("child table entry without records");
        if (e.offset < cursor_) Malformed("child records overlap");
        left_ = e.count;
        nextAt_ = e.offset;
        *firstOfName = true;
    } else {
        *firstOfName = false;
    }
    *child = parent_.childAt(nextAt_);
    // The child lies inside the parent, so its end cannot wrap.
    cursor_ = nextAt_ + child->length();
    nextAt_ = cursor_;
    --left_;
    return true;
}

}  // namespace tagvera::block
