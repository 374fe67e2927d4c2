// The one JSON writer for every subcommand's --json output: well-formed UTF-8 whatever the input
// (invalid sequences become U+FFFD), control characters escaped, two-space indentation.
//
//     JsonWriter json(ctx.out);
//     json.beginObject().field("package", "tagvera").key("components").beginArray();
//     ...
//     json.endArray().endObject();  // ends the line too
#ifndef TAGVERA_CLI_JSON_H
#define TAGVERA_CLI_JSON_H

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tagvera::cli {

// The quoted JSON string for text.
std::string JsonQuote(std::string_view text);

class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : out_(out) {}
    // Writes one value that sits depth levels deep in another writer's document, after that
    // writer's next(): its lines are indented to match and it ends without a line break.
    JsonWriter(std::ostream& out, size_t depth) : out_(out), baseDepth_(depth) {}

    size_t depth() const { return baseDepth_ + levels_.size(); }
    // Makes room for the next value of the array or object being written (its comma and line),
    // which a writer made with this one's depth() then writes to the same stream.
    JsonWriter& next();

    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();
    JsonWriter& key(std::string_view name);

    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }
    JsonWriter& value(const std::string& text) { return value(std::string_view(text)); }
    JsonWriter& value(bool b);
    JsonWriter& value(int64_t n);
    JsonWriter& value(uint64_t n);
    JsonWriter& value(int n) { return value(static_cast<int64_t>(n)); }
    JsonWriter& value(uint32_t n) { return value(static_cast<uint64_t>(n)); }
    JsonWriter& null();

    template <class T>
    JsonWriter& field(std::string_view name, const T& v) {
        key(name);
        return value(v);
    }
    JsonWriter& field(std::string_view name, const std::vector<std::string>& list);

private:
    struct Level {
        bool object;
        size_t count = 0;
    };
    // A value's (or key's) separator, line break and indentation, then piece and after, put
    // together and written once: a stream insertion per piece costs more than its bytes.
    void put(std::string_view piece, std::string_view after = {});
    void lineBreak(std::string& text) const;
    void write(const std::string& text);
    void close(char bracket);

    std::ostream& out_;
    size_t baseDepth_ = 0;
    std::vector<Level> levels_;
    bool afterKey_ = false;
};

}  // namespace tagvera::cli

#endif
