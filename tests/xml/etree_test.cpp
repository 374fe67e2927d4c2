// Documents written by Python's xml.etree in each character set, against the events expat reports
// for them (tools/make_xml_fixtures.py wrote both into tests/data/xml/etree).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tagvera/xml.h"
#include "xml/event_log.h"

namespace tagvera::xml::testing {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// Character data comes raw; expat's comes with references replaced. Only the five predefined
// entities can differ: the fixtures keep other references as written.
std::string ReplaceEntities(std::string_view raw) {
    static const std::pair<std::string_view, char> kEntities[] = {
        {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
    std::string out;
    for (size_t i = 0; i < raw.size();) {
        bool replaced = false;
        for (const auto& [entity, c] : kEntities) {
            if (raw.substr(i, entity.size()) == entity) {
                out.push_back(c);
                i += entity.size();
                replaced = true;
                break;
            }
        }
        if (!replaced) out.push_back(raw[i++]);
    }
    return out;
}

// Renders events the way the fixture files hold them.
class FixtureLog : public Handler {
public:
    std::vector<std::string> lines;

    HRESULT startElement(std::string_view name, std::span<const Attribute> attributes, Position at) override {
        std::string line = "start " + Escaped(name) + " @" + std::to_string(at.line);
        for (const Attribute& a : attributes) line += " " + Escaped(a.name) + "=\"" + Escaped(a.value) + "\"";
        lines.push_back(line);
        ++depth_;
        return TV_S_OK;
    }
    HRESULT endElement(std::string_view name) override {
        --depth_;
        lines.push_back("end " + Escaped(name));
        return TV_S_OK;
    }
    HRESULT characterData(std::string_view text) override {
        // Outside the root element expat reports no text, only the white space ElementTree puts there.
        if (depth_ > 0) lines.push_back("text \"" + Escaped(ReplaceEntities(text)) + "\"");
        return TV_S_OK;
    }
    HRESULT processingInstruction(std::string_view target, std::span<const Attribute> attributes) override {
        std::string line = "pi " + Escaped(target);
        for (const Attribute& a : attributes) line += " " + Escaped(a.name) + "=\"" + Escaped(a.value) + "\"";
        lines.push_back(line);
        return TV_S_OK;
    }
    HRESULT comment(std::string_view text) override {
        lines.push_back("comment \"" + Escaped(text) + "\"");
        return TV_S_OK;
    }

private:
    int depth_ = 0;
};

std::vector<fs::path> Fixtures() {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(fs::path(TAGVERA_TEST_DATA_DIR) / "xml" / "etree"))
        if (entry.path().extension() == ".xml") found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

TEST(XmlEtreeFixtures, EveryCharacterSetParsesToTheEventsExpatReports) {
    std::vector<std::string> names;
    for (const fs::path& p : Fixtures()) names.push_back(p.stem().string());
    EXPECT_EQ(names, (std::vector<std::string>{"kjmetadata-flat", "kjmetadata-pretty", "library-big5",
                                               "library-euc-kr", "library-gb2312", "library-iso-8859-1",
                                               "library-shift-jis", "library-us-ascii", "library-utf-8"}));
    for (const fs::path& path : Fixtures()) {
        fs::path events = path;
        events.replace_extension(".events");
        const std::vector<std::string> expected = Lines(ReadFile(events));
        for (const bool strict : {true, false}) {
            FixtureLog log;
            ReaderOptions options;
            options.strict = strict;
            Reader reader(log, "", options);
            ASSERT_NO_THROW(reader.feed(ReadFile(path), true)) << path << ": " << reader.failureText();
            EXPECT_EQ(log.lines, expected) << path << (strict ? " strict" : " loose");
        }
    }
}

}  // namespace
}  // namespace tagvera::xml::testing
