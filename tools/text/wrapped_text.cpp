#include "tools/text/wrapped_text.h"

#include <algorithm>
#include <sstream>

namespace zel::tools {

std::size_t Columns(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

std::string Wrap(const std::string& paragraph, std::size_t width) {
    std::string wrapped;
    std::size_t used = 0;
    std::istringstream words(paragraph);
    for (std::string word; words >> word;) {
        const std::size_t columns = Columns(word);
        const bool fits = used == 0 || used + 1 + columns <= width;
        wrapped += used == 0 ? "" : fits ? " " : "\n";
        used = fits && used != 0 ? used + 1 + columns : columns;
        wrapped += word;
    }
    return wrapped;
}

}  // namespace zel::tools
