// The lines on standard error that say what is wrong in an input.
#ifndef ZEL_TOOLS_TEXT_ERROR_LINES_H
#define ZEL_TOOLS_TEXT_ERROR_LINES_H

#include <cstdint>
#include <string>
#include <utility>

#include "tools/io/byte_output.h"

namespace zel::tools {

// Writes one line for each error, after all output so far.
class ErrorLines {
public:
    // `output` is flushed before each line. So both are in order on a terminal.
    ErrorLines(std::string input, ByteOutput& output);

    // What follows is about this input.
    void Begin(std::string input) { input_ = std::move(input); }

    // "INPUT: offset 52, message 2: TEXT"
    void AddForMessage(std::uint64_t offset, std::uint64_t number, const std::string& text);
    // "INPUT: TEXT"
    void Add(const std::string& text);

    [[nodiscard]] bool any() const { return any_; }

private:
    std::string input_;
    ByteOutput& output_;
    bool any_ = false;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_ERROR_LINES_H
