// Documents written by Python's xml.etree in each character set, against the events expat reports
// for them (tools/make_xml_fixtures.py wrote both into tests/data/xml/etree).
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>

#include "platform/scratch_dir.h"
#include "tagvera/xml.h"
#include "xml/event_log.h"

namespace tagvera::xml::testing {
namespace {

namespace fs = std::filesystem;

// Our events in the fixtures' form: start tags with their line only; no CDATA markers, document
// types or end of document; no text outside the root element (expat reports none there); and
// character data with the five predefined entities replaced, as expat gives it (we give it raw).
std::vector<std::string> AsExpatSeesThem(const std::vector<std::string>& events) {
    static const std::regex column(R"(^(start \S+ @\d+):\d+)");
    static const std::pair<std::string, std::string> kEntities[] = {
        {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\\x22"}, {"&apos;", "'"}, {"&amp;", "&"}};
    std::vector<std::string> out;
    int depth = 0;
    for (std::string line : events) {
        if (line.rfind("cdata-", 0) == 0 || line.rfind("doctype ", 0) == 0 || line.rfind("end-document", 0) == 0)
            continue;
        if (line.rfind("text ", 0) == 0) {
            if (depth == 0) continue;
            for (const auto& [entity, c] : kEntities)
                for (size_t at = 0; (at = line.find(entity, at)) != std::string::npos; at += c.size())
                    line.replace(at, entity.size(), c);
        }
        depth += line.rfind("start ", 0) == 0 ? 1 : line.rfind("end ", 0) == 0 ? -1 : 0;
        out.push_back(std::regex_replace(line, column, "$1"));
    }
    return out;
}

TEST(XmlEtreeFixtures, EveryCharacterSetParsesToTheEventsExpatReports) {
    std::vector<fs::path> fixtures;
    for (const auto& entry : fs::directory_iterator(fs::path(TAGVERA_TEST_DATA_DIR) / "xml" / "etree"))
        if (entry.path().extension() == ".xml") fixtures.push_back(entry.path());
    std::sort(fixtures.begin(), fixtures.end());
    EXPECT_EQ(fixtures.size(), 9u) << "two KJMETADATA documents and seven character sets";
    for (const fs::path& path : fixtures) {
        fs::path events = path;
        std::istringstream in(test::ReadText(events.replace_extension(".events")));
        std::vector<std::string> expected;
        for (std::string line; std::getline(in, line);) expected.push_back(line);
        for (const bool strict : {true, false}) {
            ReaderOptions options;
            options.strict = strict;
            const Outcome r = Parse(test::ReadText(path.string()), options);
            ASSERT_EQ(r.code, TV_S_OK) << path << ": " << r.error;
            EXPECT_EQ(AsExpatSeesThem(r.events), expected) << path << (strict ? " strict" : " loose");
        }
    }
}

}  // namespace
}  // namespace tagvera::xml::testing
