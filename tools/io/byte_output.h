// What a verb writes to standard output or standard error: collected in memory, written in large blocks.
#ifndef ZEL_TOOLS_IO_BYTE_OUTPUT_H
#define ZEL_TOOLS_IO_BYTE_OUTPUT_H

#include <cstddef>
#include <exception>
#include <string>

namespace zel::tools {

// The reader closed the pipe. The verb ends without a complaint.
struct OutputClosed : std::exception {};

// Append to `text`, then call FlushWhenLarge. Both throw OutputClosed, and std::runtime_error for other failures.
struct ByteOutput {
    int descriptor;
    std::string text;
};

void Flush(ByteOutput& output);

inline void FlushWhenLarge(ByteOutput& output) {
    constexpr std::size_t kBlock = std::size_t{256} << 10U;
    if (output.text.size() >= kBlock) {
        Flush(output);
    }
}

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_BYTE_OUTPUT_H
