// Columns aligned for people: a header, rows, two spaces between columns, the last one unpadded.
#ifndef TAGVERA_CLI_TEXT_TABLE_H
#define TAGVERA_CLI_TEXT_TABLE_H

#include <ostream>
#include <string>
#include <vector>

namespace tagvera::cli {

class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) { rows_.push_back(std::move(header)); }
    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    void print(std::ostream& out) const;

private:
    std::vector<std::vector<std::string>> rows_;
};

// Items joined with a separator; "-" for none.
std::string JoinOrDash(const std::vector<std::string>& items, const std::string& separator);

}  // namespace tagvera::cli

#endif
