#include "tools/io/file_output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "tools/io/temporary_file.h"

namespace zel::tools {

namespace {

namespace fs = std::filesystem;

void WriteFile(const fs::path& path, const std::vector<char>& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error(std::strerror(errno));
    }
}

}  // namespace

void WriteFileAtomically(const std::string& path, const std::vector<char>& bytes) {
    // A rename would replace a device, too.
    if (fs::exists(path) && !fs::is_regular_file(path)) {
        throw std::runtime_error("cannot write " + path + ": it is there and is not a regular file");
    }
    const TemporaryFile partial(path + ".partial-" + std::to_string(std::random_device()()));
    try {
        WriteFile(partial.path(), bytes);
        fs::rename(partial.path(), path);
    } catch (const std::exception& error) {
        throw std::runtime_error("cannot write " + path + ": " + error.what());
    }
}

}  // namespace zel::tools
