// The lines on standard error that say what is wrong in an input.
#ifndef ZEL_TOOLS_IO_ERROR_LINES_H
#define ZEL_TOOLS_IO_ERROR_LINES_H

#include <cstdint>
#include <string>

#include "tools/io/byte_output.h"

namespace zel::tools {

// Where complaints go: one line each, behind what was written so far.
class ErrorLines {
public:
    // `output` is flushed before each line, so that both stay in order on a terminal.
    ErrorLines(std::string input, ByteOutput& output);

    // "INPUT: offset 52, message 2: TEXT"
    void AboutMessage(std::uint64_t offset, std::uint64_t number, const std::string& text);
    // "INPUT: TEXT"
    void About(const std::string& text);

    [[nodiscard]] bool any() const { return any_; }

private:
    std::string input_;
    ByteOutput& output_;
    bool any_ = false;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_ERROR_LINES_H
