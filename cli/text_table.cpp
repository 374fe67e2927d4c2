#include "cli/text_table.h"

#include <algorithm>

namespace tagvera::cli {

namespace {
// Width on a terminal, counting UTF-8 sequences rather than bytes.
size_t DisplayWidth(const std::string& s) {
    return static_cast<size_t>(std::count_if(s.begin(), s.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}
}  // namespace

void TextTable::print(std::ostream& out) const {
    std::vector<size_t> widths;
    for (const auto& row : rows_) {
        if (widths.size() < row.size()) widths.resize(row.size(), 0);
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
    for (const auto& row : rows_) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) line.append(widths[i] - DisplayWidth(row[i]) + 2, ' ');
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        out << line << '\n';
    }
}

std::string JoinOrDash(const std::vector<std::string>& items, const std::string& separator) {
    if (items.empty()) return "-";
    std::string out;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i) out += separator;
        out += items[i];
    }
    return out;
}

}  // namespace tagvera::cli
