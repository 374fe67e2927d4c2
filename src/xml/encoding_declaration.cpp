#include "xml/encoding_declaration.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace tagvera::xml {

namespace {

bool IsSpace(uint8_t b) { return b == ' ' || b == '\t' || b == '\r' || b == '\n'; }

class Scan {
public:
    Scan(std::span<const uint8_t> head, bool complete)
        : data_(head.data()),
          size_(std::min(head.size(), kDeclarationSearchLimit)),
          // Past the limit more bytes would not be looked at anyway.
          final_(complete || head.size() >= kDeclarationSearchLimit) {}

    DeclaredEncoding run() {
        for (;;) {
            skipSpace();
            if (!startsWith("<!--")) break;
            const size_t end = find("-->", pos_ + 4);
            if (end == npos) return undecided();
            pos_ = end + 3;
        }
        if (!startsWith("<?xml")) return notDeclared();
        pos_ += 5;
        if (pos_ >= size_) return undecided();
        if (!IsSpace(data_[pos_])) return {};
        for (;;) {
            skipSpace();
            if (pos_ >= size_) return undecided();
            if (data_[pos_] == '?' || data_[pos_] == '>') return {};
            const size_t nameStart = pos_;
            while (pos_ < size_ && !IsSpace(data_[pos_]) && data_[pos_] != '=' && data_[pos_] != '?' &&
                   data_[pos_] != '>')
                ++pos_;
            const std::string_view name(reinterpret_cast<const char*>(data_ + nameStart), pos_ - nameStart);
            skipSpace();
            if (pos_ >= size_) return undecided();
            if (data_[pos_] != '=') return {};
            ++pos_;
            skipSpace();
            if (pos_ >= size_) return undecided();
            const uint8_t quote = data_[pos_];
            if (quote != '"' && quote != '\'') return {};
            const size_t valueStart = ++pos_;
            while (pos_ < size_ && data_[pos_] != quote) ++pos_;
            if (pos_ >= size_) return undecided();
            if (name == "encoding") {
                DeclaredEncoding found;
                found.status = DeclarationStatus::Found;
                found.name.assign(reinterpret_cast<const char*>(data_ + valueStart), pos_ - valueStart);
                return found;
            }
            ++pos_;
        }
    }

private:
    static constexpr size_t npos = static_cast<size_t>(-1);

    DeclaredEncoding undecided() const {
        DeclaredEncoding r;
        r.status = final_ ? DeclarationStatus::Absent : DeclarationStatus::NeedMore;
        return r;
    }
    // The head does not start with "<?xml": decided unless it may still turn into that prefix.
    DeclaredEncoding notDeclared() const {
        const size_t have = size_ - pos_;
        if (have < 5 && std::memcmp(data_ + pos_, "<?xml", have) == 0) return undecided();
        if (have < 4 && std::memcmp(data_ + pos_, "<!--", have) == 0) return undecided();
        return {};
    }
    void skipSpace() {
        while (pos_ < size_ && IsSpace(data_[pos_])) ++pos_;
    }
    bool startsWith(const char* text) const {
        const size_t n = std::strlen(text);
        return size_ - pos_ >= n && std::memcmp(data_ + pos_, text, n) == 0;
    }
    size_t find(const char* text, size_t from) const {
        const size_t n = std::strlen(text);
        for (size_t i = from; i + n <= size_; ++i)
            if (std::memcmp(data_ + i, text, n) == 0) return i;
        return npos;
    }

    const uint8_t* data_;
    size_t size_;
    bool final_;
    size_t pos_ = 0;
};

}  // namespace

DeclaredEncoding FindDeclaredEncoding(std::span<const uint8_t> head, bool complete) {
    return Scan(head, complete).run();
}

}  // namespace tagvera::xml
