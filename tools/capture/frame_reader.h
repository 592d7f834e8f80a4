// A capture taken apart: frames back to back, read in large blocks, in constant memory whatever the capture's size.
#ifndef ZEL_TOOLS_CAPTURE_FRAME_READER_H
#define ZEL_TOOLS_CAPTURE_FRAME_READER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/wire/header.h"
#include "tools/io/byte_input.h"
#include "tools/message/frame_kind.h"

namespace zel::tools {

// No frame is longer.
inline constexpr std::size_t kMaxFrameRead = 6 + kLongestMessage;

struct Frame {
    const char* bytes;  // stay until the next one is read
    std::size_t size;
    FrameKind kind;
    std::uint64_t offset;  // in the capture
    std::uint64_t number;  // counted from 1

    // The bytes after the frame's own, of which not all are there when another frame begins among them.
    [[nodiscard]] std::string_view Message() const {
        return std::string_view(bytes, size).substr(std::min(FrameSize(kind), size));
    }
};

enum class FrameState {
    kFrame,
    kLost,  // there is none, and nothing tells where the next one begins
    kEnd
};

class FrameReader {
public:
    explicit FrameReader(ByteInput input);

    // The next frame. For kLost `fault` says why, the frame's offset and number where, and its bytes are what there is
    // of one that the capture's end cuts.
    FrameState Next(Frame& frame, std::string& fault);

    // Everything that is left as one message without a frame.
    FrameState Rest(Frame& frame, std::string& fault);

    // After kLost: goes on to the next bytes, one further at least, that look like the start of a frame. False: there
    // are none.
    bool Resynchronise();

    // Whether another frame, or the end, comes after the one handed out last.
    bool IsFollowedByFrame(const Frame& frame);

    // Ends the frame handed out last where another one begins inside it, and goes on there. False: none does.
    bool CutAtInnerFrame(Frame& frame);

    [[nodiscard]] std::uint64_t offset() const { return offset_; }

private:
    std::size_t Fill(std::size_t size);
    void Drop(std::size_t size);
    [[nodiscard]] const char* Bytes() const { return buffer_.data() + begin_; }
    [[nodiscard]] std::size_t Available() const { return end_ - begin_; }

    ByteInput input_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;  // buffer_[begin_, end_) is read and not yet dropped
    std::size_t end_ = 0;
    std::size_t pending_ = 0;   // of the frame handed out last
    std::uint64_t offset_ = 0;  // of begin_ in the capture
    std::uint64_t number_ = 0;
    bool atEnd_ = false;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_FRAME_READER_H
