// The lines of a text, in memory that does not grow with it.
#ifndef ZEL_TOOLS_IO_LINE_READER_H
#define ZEL_TOOLS_IO_LINE_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/io/byte_input.h"

namespace zel::tools {

struct Line {
    std::string text;  // without its end
    std::uint64_t offset;
    std::uint64_t number;  // counted from 1
    bool isCut;            // the line is longer than kLongestLine: what is beyond is left out
};

class LineReader {
public:
    static constexpr std::size_t kLongestLine = std::size_t{16} << 20U;

    explicit LineReader(ByteInput input);

    // False at the end of the text.
    bool Next(Line& line);

private:
    ByteInput input_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;  // buffer_[begin_, end_) is read and not yet handed out
    std::size_t end_ = 0;
    std::uint64_t offset_ = 0;  // of begin_ in the text
    std::uint64_t number_ = 0;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_LINE_READER_H
