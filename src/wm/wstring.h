// WString: an owned wide string, as the attribute layer holds names and text (UTF-16), made from
// and turned back into the interfaces' 8-bit text.
#ifndef TAGVERA_WM_WSTRING_H
#define TAGVERA_WM_WSTRING_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tagvera::wm {

class WString {
public:
    WString() = default;
    explicit WString(std::string_view narrow);
    explicit WString(std::u16string wide) : wide_(std::move(wide)) {}
    // From UTF-16LE bytes; a NUL ends the text.
    static WString FromUtf16le(std::span<const uint8_t> bytes);

    const std::u16string& wide() const { return wide_; }
    std::string narrow() const;
    // UTF-16LE with its NUL, as attribute values hold text.
    std::vector<uint8_t> utf16le() const;
    bool empty() const { return wide_.empty(); }
    bool contains(std::string_view ascii) const;

private:
    std::u16string wide_;
};

}  // namespace tagvera::wm

#endif
