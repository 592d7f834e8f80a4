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

std::string Wrap(const std::string& paragraph, std::size_t width) {
    std::string wrapped;
    std::size_t used = 0;
    std::istringstream words(paragraph);
    for (std::string word; words >> word;) {
        const bool fits = used == 0 || used + 1 + word.size() <= width;
        wrapped += used == 0 ? "" : fits ? " " : "\n";
        used = fits && used != 0 ? used + 1 + word.size() : word.size();
        wrapped += word;
    }
    return wrapped;
}

}  // namespace zel::tools
