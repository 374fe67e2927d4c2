// The command's JSON writer: escaping, invalid UTF-8, and what the commands' own tests never show.
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

// Numbers, booleans, string lists and nested objects are read back in every command's JSON test;
// here what no command's test output happens to hold: null and empty containers.
TEST(JsonOutput, NullAndEmptyContainersReadBack) {
    std::ostringstream out;
    JsonWriter json(out);
    json.beginObject().key("nothing").null().field("empty", std::vector<std::string>{}).key("objects").beginArray();
    json.beginObject().endObject().endArray().endObject();
    EXPECT_EQ(out.str().back(), '\n');
    const Json doc = JsonParser::Parse(out.str());
    EXPECT_EQ(doc["nothing"].kind, Json::Kind::Null);
    EXPECT_TRUE(doc["empty"].array.empty());
    EXPECT_EQ(doc["objects"].array.at(0).kind, Json::Kind::Object);
}
