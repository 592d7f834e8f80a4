#include "tools/verbs/help_text.h"

#include <sstream>

namespace zel::tools {

bool IsExample(const std::string& line) {
    return line.starts_with("  ");
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace zel::tools
