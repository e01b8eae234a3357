#include "MarkerFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

namespace trace_test {

std::vector<MarkerLine> readMarkerLines(const std::string& path) {
    static const std::regex kLine(
            R"(^(.*)-(\d+) \((\d+)\) \[\d{3}\] \.\.\.\. \d+\.\d{6}: tracing_mark_write: (.*)$)");
    std::vector<MarkerLine> lines;
    std::ifstream file(path);
    std::string text;
    while (std::getline(file, text)) {
        if (text.rfind('#', 0) == 0) continue;
        std::smatch match;
        if (!std::regex_match(text, match, kLine)) {
            ADD_FAILURE() << "not a marker line: \"" << text << "\"";
            continue;
        }
        lines.push_back({match[1], std::stoi(match[2]), std::stoi(match[3]), match[4]});
    }
    return lines;
}

}  // namespace trace_test
