#include "tools/text/error_lines.h"

#include <utility>

#include "tools/text/complaint.h"

namespace zel::tools {

ErrorLines::ErrorLines(std::string input, ByteOutput& output) : input_(std::move(input)), output_(output) {}

void ErrorLines::AddForMessage(std::uint64_t offset, std::uint64_t number, const std::string& text) {
    Add("offset " + std::to_string(offset) + ", message " + std::to_string(number) + ": " + text);
}

void ErrorLines::Add(const std::string& text) {
    any_ = true;
    Flush(output_);
    Complain(input_ + ": " + text);
}

}  // namespace zel::tools
