#pragma once

#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

/// Tables of filter texts.
namespace Tarsel::Test {

/// "<class id> <options> => <text> @ <remark>"; options and remark may be left out. What stands before the
/// arrow may have a line of its own.
struct TextRow {
    std::string classId;
    std::string options;
    std::string text;
    std::string remark;
};

/// `words` are replaced all over the table; lines that begin with "#" say what follows.
inline std::vector<TextRow> ReadTextRows(std::string table,
                                         std::map<std::string, std::string> const& words = {}) {
    for (auto const& [word, by] : words)
        boost::replace_all(table, word, by);
    boost::replace_all(table, "\n    =>", " =>");
    std::vector<TextRow> rows;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == '#')
            continue;
        std::size_t const space = line.find(' ');
        std::size_t const arrow = line.find("=>");
        std::size_t const remark = line.find(" @ ", arrow);
        rows.push_back({line.substr(0, space), boost::trim_copy(line.substr(space, arrow - space)),
                        boost::trim_copy(line.substr(arrow + 2, remark - arrow - 2)),
                        remark == std::string::npos ? "" : line.substr(remark + 3)});
    }
    return rows;
}

} // namespace Tarsel::Test
