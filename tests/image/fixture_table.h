// What tools/make-image-fixtures.sh recorded of each fixture (expected.tsv) and how a property's
// value reads in its terms: shared by the Linux tests and the Windows check that runs under Wine,
// so both compare the importer with the same table. No test framework here.
#ifndef TAGVERA_TESTS_IMAGE_FIXTURE_TABLE_H
#define TAGVERA_TESTS_IMAGE_FIXTURE_TABLE_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace tagvera::image::testing {

// One line of expected.tsv: column name -> value ("-" where the tool found nothing).
using Expectation = std::map<std::string, std::string>;

inline std::vector<Expectation> ReadExpectations(const std::string& tsv) {
    std::ifstream in(tsv);
    std::vector<std::string> header;
    std::vector<Expectation> rows;
    for (std::string line; std::getline(in, line);) {
        std::vector<std::string> cells;
        std::stringstream split(line);
        for (std::string cell; std::getline(split, cell, '\t');) cells.push_back(cell);
        if (header.empty()) {
            header = cells;
            continue;
        }
        Expectation row;
        for (size_t i = 0; i < header.size() && i < cells.size(); ++i) row[header[i]] = cells[i];
        rows.push_back(row);
    }
    return rows;
}

enum class Kind { Text, Number, Rational };
struct Column {
    const char* tsv;  // the column of expected.tsv (exiftool's name for EXIF)
    const char* property;
    Kind kind;
};

// The picture's figures.
inline constexpr Column kFigureColumns[] = {
    {"width", "Statistics:Width", Kind::Number},
    {"height", "Statistics:Height", Kind::Number},
    {"xdpi", "Statistics:HorizontalResolution", Kind::Number},
    {"ydpi", "Statistics:VerticalResolution", Kind::Number},
    {"bpp", "Statistics:BitDepth", Kind::Number},
};

inline constexpr Column kExifColumns[] = {
    {"Make", "Statistics:EquipmentMake", Kind::Text},        {"Model", "Statistics:EquipmentModel", Kind::Text},
    {"Orientation", "Statistics:Orientation", Kind::Number}, {"ModifyDate", "Statistics:DateTime", Kind::Text},
    {"DateTimeOriginal", "Statistics:DateTimeOriginal", Kind::Text},
    {"ExposureTime", "Statistics:ExposureTime", Kind::Rational}, {"FNumber", "Statistics:FNumber", Kind::Rational},
    {"Flash", "Statistics:Flash", Kind::Number},             {"FocalLength", "Statistics:FocalLength", Kind::Rational},
    {"ResolutionUnit", "Statistics:ResolutionUnit", Kind::Number}, {"Software", "Statistics:SoftwareUsed", Kind::Text},
    {"ColorSpace", "Statistics:ColorSpace", Kind::Number},   {"ExifImageWidth", "Statistics:PixelXDimension", Kind::Number},
};

// A property's value as expected.tsv writes it: "-" when there is none, "?" when it has the
// wrong size for its kind.
inline std::string Shown(std::span<const uint8_t> v, Kind kind) {
    if (v.empty()) return "-";
    switch (kind) {
    case Kind::Text: return std::string(v.begin(), std::find(v.begin(), v.end(), 0));
    case Kind::Number: return v.size() == 4 ? std::to_string(v[0] | v[1] << 8 | v[2] << 16 | uint32_t(v[3]) << 24) : "?";
    case Kind::Rational: {
        if (v.size() != 8) return "?";
        uint32_t n, d;
        std::memcpy(&n, v.data(), 4);
        std::memcpy(&d, v.data() + 4, 4);
        char text[32];
        std::snprintf(text, sizeof text, "%g", double(n) / d);
        return text;
    }
    }
    return "?";
}

}  // namespace tagvera::image::testing

#endif
