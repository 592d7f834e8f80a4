#include "tools/capture/frame_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/wire/frame.h"
#include "core/wire/header_numbers.h"
#include "runtime/reports.h"
#include "tools/text/findings.h"

namespace zel::tools {

namespace {

// The largest frame, and a block to read ahead.
constexpr std::size_t kBufferSize = 2 * kMaxFrameRead;

struct FrameHead {
    FrameKind kind;
    long length;  // of what follows
};

// Reads the frame's own bytes, of which there are `size`, at least 1. Returns what is wrong with them, or nothing.
std::string ReadFrameHead(const char* bytes, std::size_t size, FrameHead& head) {
    if (bytes[0] != kSoh) {
        return std::to_string(reports::kNoSoh.code) + ' ' + reports::kNoSoh.text;
    }
    const short format = size < 2 ? short{kLongFrame} : FrameFormatOf(bytes);
    if (format != kShortFrame && format != kLongFrame) {
        return "the frame's format is " + std::to_string(format) + "; expected 1 or 3";
    }
    head.kind = format == kShortFrame ? FrameKind::kShort : FrameKind::kLong;
    if (size < FrameSize(head.kind)) {
        return "the capture ends within a frame";
    }
    head.length = FrameLengthOf(bytes, format);
    return head.length < 0 ? "the frame's length is " + std::to_string(head.length) : "";
}

// What LooksLikeFrame wants to see: a long frame and the first two fields of a header.
constexpr std::size_t kFrameStartSize = 6 + 4 + 6;

bool LooksLikeFrame(const char* bytes, std::size_t size) {
    FrameHead head{};
    if (size < kFrameStartSize || bytes[0] != kSoh || !ReadFrameHead(bytes, size, head).empty()) {
        return false;
    }
    Reader header{bytes + FrameSize(head.kind), bytes + size};
    std::uint32_t flags = 0;
    return LoadU16Be(header.next) == kFlags && DecodeNumber<kFlags>(header, flags) &&
           LoadU16Be(header.next) == kMsgType;
}

}  // namespace

FrameReader::FrameReader(ByteInput input) : input_(std::move(input)), buffer_(kBufferSize) {}

// Makes `size` bytes available, if the input has them: how many there are, at most `size`.
std::size_t FrameReader::Fill(std::size_t size) {
    if (Available() >= size) {
        return size;
    }
    if (begin_ + size > buffer_.size()) {
        std::memmove(buffer_.data(), Bytes(), Available());
        end_ -= begin_;
        begin_ = 0;
    }
    while (Available() < size && !atEnd_) {
        const std::size_t count = input_(buffer_.data() + end_, buffer_.size() - end_);
        end_ += count;
        atEnd_ = count == 0;
    }
    return std::min(Available(), size);
}

void FrameReader::Drop(std::size_t size) {
    begin_ += size;
    offset_ += size;
    if (begin_ == end_) {
        begin_ = 0;
        end_ = 0;
    }
}

FrameState FrameReader::Next(Frame& frame, std::string& fault) {
    Drop(std::exchange(pending_, 0));
    std::size_t available = Fill(FrameSize(FrameKind::kLong));
    if (available == 0) {
        return FrameState::kEnd;
    }
    frame = {Bytes(), 0, FrameKind::kNone, offset_, ++number_};
    FrameHead head{};
    fault = ReadFrameHead(Bytes(), available, head);
    if (!fault.empty()) {
        return FrameState::kLost;
    }
    frame.kind = head.kind;
    frame.size = FrameSize(head.kind) + static_cast<std::size_t>(head.length);
    if (frame.size <= kMaxFrameRead) {
        available = Fill(frame.size);
        frame.bytes = Bytes();
        if (available < frame.size) {
            fault = "the frame announces " + Counted(static_cast<std::size_t>(head.length), "byte") +
                    "; the capture ends after " + std::to_string(available - FrameSize(head.kind));
            return FrameState::kLost;
        }
        pending_ = frame.size;
        return FrameState::kFrame;
    }
    fault = "the frame announces " + std::to_string(head.length) + " bytes, more than any message has";
    for (std::size_t left = frame.size; left != 0;) {
        const std::size_t step = Fill(std::min(left, kMaxFrameRead));
        if (step == 0) {
            return FrameState::kLost;
        }
        Drop(step);
        left -= step;
    }
    return FrameState::kBad;
}

FrameState FrameReader::Rest(Frame& frame, std::string& fault) {
    Drop(std::exchange(pending_, 0));
    const std::size_t size = Fill(kMaxFrameRead + 1);
    if (size == 0) {
        return FrameState::kEnd;
    }
    frame = {Bytes(), size, FrameKind::kNone, offset_, ++number_};
    pending_ = size;
    if (size > kMaxFrameRead) {
        fault = "the message has more than " + std::to_string(kMaxFrameRead) + " bytes";
        return FrameState::kLost;
    }
    return FrameState::kFrame;
}

bool FrameReader::Resynchronise() {
    while (Fill(1) != 0) {
        Drop(1);
        if (LooksLikeFrame(Bytes(), Fill(kFrameStartSize))) {
            return true;
        }
    }
    return false;
}

}  // namespace zel::tools
