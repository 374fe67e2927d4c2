// Hostile shapes of input: very long texts and values, very many attributes and siblings, deep
// nesting. Each must be read in time linear in its size (a quadratic reader would not finish
// these within the test time limit) and with the memory the unread tail needs.
#include <gtest/gtest.h>

#include "tagvera/xml.h"
#include "xml/event_log.h"

namespace tagvera::xml::testing {
namespace {

// Counts instead of logging, so the test measures the reader and not the log.
class Counter : public Handler {
public:
    size_t starts = 0;
    size_t ends = 0;
    size_t texts = 0;
    size_t textBytes = 0;
    size_t attributes = 0;
    size_t longestValue = 0;

    HRESULT startElement(std::string_view, std::span<const Attribute> list, Position) override {
        ++starts;
        attributes += list.size();
        for (const Attribute& a : list) longestValue = std::max(longestValue, a.value.size());
        return TV_S_OK;
    }
    HRESULT endElement(std::string_view) override {
        ++ends;
        return TV_S_OK;
    }
    HRESULT characterData(std::string_view text) override {
        ++texts;
        textBytes += text.size();
        return TV_S_OK;
    }
};

void FeedInPieces(Reader& reader, const std::string& doc, size_t piece) {
    for (size_t at = 0; at < doc.size(); at += piece)
        reader.feed(std::string_view(doc).substr(at, piece), at + piece >= doc.size());
}

TEST(XmlRobustness, LongTextRunsAndValuesWhateverThePieces) {
    const std::string doc = "<r>" + std::string(16 << 20, 'x') + "</r>";
    for (const size_t piece : {size_t{1} << 30, size_t{4096}, size_t{7}}) {
        Counter counter;
        Reader reader(counter, "", {});
        FeedInPieces(reader, doc, piece);
        EXPECT_EQ(counter.texts, 1u);
        EXPECT_EQ(counter.textBytes, size_t{16} << 20);
    }
    Counter counter;
    Reader reader(counter, "Big5", {});
    FeedInPieces(reader, "<r v='" + std::string(2 << 20, 'a') + "&amp;'/>", 1);
    EXPECT_EQ(counter.longestValue, (size_t{2} << 20) + 1);
}

TEST(XmlRobustness, ManyAttributesAreCheckedForRepeatsQuickly) {
    std::string doc = "<r";
    // Names sharing a long prefix make every comparison as expensive as it can be.
    const std::string prefix(40, 'p');
    for (int i = 0; i < 200000; ++i) doc += " " + prefix + std::to_string(i) + "='v'";
    Counter counter;
    Reader reader(counter, "", {});
    reader.feed(doc + "/>", true);
    EXPECT_EQ(counter.attributes, 200000u);

    EventLog log;
    Reader repeated(log, "", {});
    EXPECT_THROW(repeated.feed(doc + " " + prefix + "123456='again'/>", true), Error);
    EXPECT_EQ(repeated.failureCode(), TV_E_XML_DUPLICATEATTRIBUTE);
}

TEST(XmlRobustness, ManySiblings) {
    std::string doc = "<r>";
    for (int i = 0; i < 1000000; ++i) doc += "<s a='1'/>";
    doc += "</r>";
    Counter counter;
    Reader reader(counter, "", {});
    FeedInPieces(reader, doc, 65536);
    EXPECT_EQ(counter.starts, 1000001u);
    EXPECT_EQ(counter.ends, 1000001u);
}

TEST(XmlRobustness, DeepNestingUpToTheBound) {
    ReaderOptions options;
    options.maxDepth = 200000;
    std::string doc;
    for (uint32_t i = 0; i < options.maxDepth; ++i) doc += "<e>";
    for (uint32_t i = 0; i < options.maxDepth; ++i) doc += "</e>";
    Counter counter;
    Reader reader(counter, "", options);
    FeedInPieces(reader, doc, 1000);
    EXPECT_EQ(counter.ends, options.maxDepth);

    // The default bound stops a hostile document early.
    Counter hostile;
    Reader bounded(hostile, "", {});
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "<e>";
    EXPECT_THROW(bounded.feed(deep, false), Error);
    EXPECT_EQ(bounded.failureCode(), TV_E_XML_LIMIT);
    EXPECT_EQ(hostile.starts, ReaderOptions().maxDepth);
}

TEST(XmlRobustness, ManyLinesAndLongCommentsFedInSmallPieces) {
    const std::string line = "\n<!-- - -- -> <!- -> -->";
    std::string doc = "<r>";
    for (int i = 0; i < 500000; ++i) doc += line;
    const std::string last = "<!--" + std::string(1 << 20, '-') + "--><![CDATA[" + std::string(1 << 20, ']') + "]]></r>";
    doc += last;
    EventLog log;
    Reader reader(log, "", {});
    FeedInPieces(reader, doc, 3);
    EXPECT_EQ(log.events.size(), 1u + 2 * 500000u + 6);
    EXPECT_EQ(log.events.back(), "end-document @500001:" + std::to_string(line.size() + last.size()));
}

}  // namespace
}  // namespace tagvera::xml::testing
