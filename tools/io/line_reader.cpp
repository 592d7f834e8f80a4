#include "tools/io/line_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zel::tools {

LineReader::LineReader(ByteInput input) : input_(std::move(input)), buffer_(std::size_t{256} << 10U) {}

bool LineReader::Next(Line& line) {
    line.text.clear();
    line.offset = offset_;
    line.number = ++number_;
    line.isCut = false;
    for (;;) {
        if (begin_ == end_) {
            begin_ = 0;
            end_ = input_(buffer_.data(), buffer_.size());
            if (end_ == 0) {
                return offset_ != line.offset;
            }
        }
        const char* from = buffer_.data() + begin_;
        const char* to = buffer_.data() + end_;
        const auto* const lineFeed = static_cast<const char*>(std::memchr(from, '\n', end_ - begin_));
        const char* const lineEnd = lineFeed != nullptr ? lineFeed : to;
        const auto found = static_cast<std::size_t>(lineEnd - from);
        const std::size_t taken = std::min(found, kLongestLine - line.text.size());
        line.text.append(from, taken);
        line.isCut = line.isCut || taken != found;
        const std::size_t used = found + (lineEnd == to ? 0 : 1);
        begin_ += used;
        offset_ += used;
        if (lineEnd != to) {
            return true;
        }
    }
}

}  // namespace zel::tools
