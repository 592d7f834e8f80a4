#include "tools/io/error_lines.h"

#include <utility>

#include "tools/io/descriptor.h"

namespace zel::tools {

ErrorLines::ErrorLines(std::string input, ByteOutput& output) : input_(std::move(input)), output_(output) {}

void ErrorLines::AddForMessage(std::uint64_t offset, std::uint64_t number, const std::string& text) {
    Add("offset " + std::to_string(offset) + ", message " + std::to_string(number) + ": " + text);
}

void ErrorLines::Add(const std::string& text) {
    any_ = true;
    Flush(output_);
    const std::string line = input_ + ": " + text + '\n';
    // Where standard error cannot be written there is nobody to tell.
    (void)WriteAll(kStandardError, line.data(), line.size());
}

}  // namespace zel::tools
