#include "tools/text/json_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace zel::tools {

JsonDocument ReadJsonFile(const std::string& path, Findings& findings) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        AddError(findings, "", "cannot be read: it is a folder");
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        AddError(findings, "", std::string("cannot be read: ") + std::strerror(errno));
        return {};
    }
    std::string text;
    std::array<char, 65536> block;
    // What is too long may have no end.
    while (text.size() <= kLongestJson && (file.read(block.data(), block.size()), file.gcount() > 0)) {
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (file.bad()) {
        AddError(findings, "", std::string("cannot be read further: ") + std::strerror(errno));
        return {};
    }
    return ParseJson(text, findings);
}

}  // namespace zel::tools
