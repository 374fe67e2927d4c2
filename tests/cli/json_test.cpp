// The command's JSON writer: escaping, invalid UTF-8, nesting; read back by a JSON reader.
#include <gtest/gtest.h>

#include <sstream>

#include "cli/json.h"
#include "id3v2/json_value.h"

using tagvera::cli::JsonQuote;
using tagvera::cli::JsonWriter;
using tagvera::testing::Json;
using tagvera::testing::JsonParser;

TEST(JsonOutput, QuotesEverythingThatNeedsIt) {
    EXPECT_EQ(JsonQuote("plain"), "\"plain\"");
    EXPECT_EQ(JsonQuote("a\"b\\c"), "\"a\\\"b\\\\c\"");
    EXPECT_EQ(JsonQuote("line\nnext\ttab"), "\"line\\nnext\\ttab\"");
    EXPECT_EQ(JsonQuote(std::string("nul\0x", 5)), "\"nul\\u0000x\"");
    EXPECT_EQ(JsonQuote("\x01\x1f\x7f"), "\"\\u0001\\u001F\\u007F\"");
    EXPECT_EQ(JsonQuote("Bj\xC3\xB6rk \xE2\x82\xAC"), "\"Bj\xC3\xB6rk \xE2\x82\xAC\"") << "valid UTF-8 passes";
    // Invalid bytes (a Latin-1 'o' umlaut, a truncated sequence) become U+FFFD, never raw bytes.
    EXPECT_EQ(JsonQuote("Bj\xF6rk"), "\"Bj\xEF\xBF\xBDrk\"");
    EXPECT_EQ(JsonQuote("\xE2\x82"), "\"\xEF\xBF\xBD\"") << "a broken sequence is one replacement";
}

TEST(JsonOutput, NestedDocumentsReadBack) {
    std::ostringstream out;
    JsonWriter json(out);
    json.beginObject()
        .field("name", "x\"y")
        .field("count", 3)
        .field("big", uint64_t{1} << 40)  // a size past 4 GB
        .field("yes", true)
        .field("list", std::vector<std::string>{"a", "b"})
        .field("empty", std::vector<std::string>{})
        .key("nothing")
        .null()
        .key("objects")
        .beginArray()
        .beginObject()
        .field("k", "v")
        .endObject()
        .beginObject()
        .endObject()
        .endArray()
        .endObject();
    const std::string text = out.str();
    EXPECT_EQ(text.back(), '\n');
    const Json doc = JsonParser::Parse(text);
    EXPECT_EQ(doc["name"].string, "x\"y");
    EXPECT_EQ(doc["count"].number, 3);
    EXPECT_EQ(doc["big"].number, int64_t{1} << 40);
    EXPECT_TRUE(doc["yes"].boolean);
    EXPECT_EQ(doc["list"].strings(), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(doc["empty"].array.empty());
    EXPECT_EQ(doc["nothing"].kind, Json::Kind::Null);
    EXPECT_EQ(doc["objects"].array.at(0)["k"].string, "v");
    EXPECT_EQ(doc["objects"].array.at(1).kind, Json::Kind::Object);
}
