#include "tools/io/byte_input.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "tools/io/descriptor.h"

namespace zel::tools {

namespace {

namespace fs = std::filesystem;

int Open(const std::string& path) {
    if (path == "-") {
        return kStandardInput;
    }
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        throw InputError(path + ": cannot be read: it is a folder");
    }
    const int descriptor = OpenForReading(path.c_str());
    if (descriptor < 0) {
        throw InputError(path + ": cannot be read: " + std::strerror(errno));
    }
    return descriptor;
}

}  // namespace

InputFile::InputFile(const std::string& path)
    : path_(path), name_(path == "-" ? "standard input" : path), descriptor_(Open(path)) {}

InputFile::~InputFile() {
    if (descriptor_ != kStandardInput) {
        CloseDescriptor(descriptor_);
    }
}

std::size_t InputFile::Read(char* to, std::size_t size) {
    const long count = ReadSome(descriptor_, to, size);
    if (count < 0) {
        throw InputError(std::string("cannot be read further: ") + std::strerror(errno));
    }
    return static_cast<std::size_t>(count);
}

bool InputFile::IsFile() const {
    std::error_code ignored;
    return descriptor_ != kStandardInput && fs::is_regular_file(path_, ignored);
}

std::uint64_t InputFile::Size() const {
    std::error_code error;
    const std::uintmax_t size = IsFile() ? fs::file_size(path_, error) : 0;
    return error ? 0 : size;
}

ByteInput FollowedInput(InputFile& file, std::function<bool()> wait) {
    return [&file, wait = std::move(wait), offset = std::uint64_t{0}](char* to, std::size_t size) mutable {
        for (;;) {
            const std::size_t count = file.Read(to, size);
            offset += count;
            if (count != 0) {
                return count;
            }
            if (file.Size() < offset) {
                throw InputError("has become shorter; stopped at offset " + std::to_string(offset));
            }
            if (!wait()) {
                return std::size_t{0};
            }
        }
    };
}

}  // namespace zel::tools
