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

// Several frames of any size: what is left of a block is moved to its start when another one is read.
constexpr std::size_t kBufferSize = std::size_t{1} << 20U;

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
    if (head.length < 0) {
        return "the frame's length is " + std::to_string(head.length);
    }
    if (static_cast<std::size_t>(head.length) > kLongestMessage) {
        return "the frame announces " + std::to_string(head.length) + " bytes, more than any message has";
    }
    return "";
}

// What LooksLikeFrame wants to see: a long frame, the numbers of a header, and the id after them.
constexpr std::size_t kFrameStartSize = 6 + 26 + 2;

bool LooksLikeFrame(const char* bytes, std::size_t size) {
    FrameHead head{};
    if (size == 0 || bytes[0] != kSoh || !ReadFrameHead(bytes, size, head).empty()) {
        return false;
    }
    Reader header{bytes + FrameSize(head.kind), bytes + size};
    const auto next = [&header] { return Remaining(header) >= 2 ? LoadU16Be(header.next) : std::uint16_t{0}; };
    const auto expect = [&](auto fieldId, std::uint32_t& value) {
        return next() == fieldId() && DecodeNumber<fieldId()>(header, value);
    };
    ZelMsgStruct numbers{};
    return ReadNumbers(expect, numbers) && (next() == kUserData || next() == kVarUserData);
}

// The first bytes from `from` on, before `to`, that look like the start of a frame: `to` when there are none. `size`
// bytes can be read.
std::size_t FindFrame(const char* bytes, std::size_t from, std::size_t to, std::size_t size) {
    while (from < to) {
        const void* found = std::memchr(bytes + from, kSoh, to - from);
        if (found == nullptr) {
            return to;
        }
        from = static_cast<std::size_t>(static_cast<const char*>(found) - bytes);
        if (LooksLikeFrame(bytes + from, size - from)) {
            return from;
        }
        ++from;
    }
    return to;
}

}  // namespace

FrameReader::FrameReader(ByteInput input) : input_(std::move(input)), buffer_(kBufferSize) {}

// Makes `size` bytes available, if the input has them: how many there are, at most `size`. What is available stays
// where it is until some of it is dropped.
std::size_t FrameReader::Fill(std::size_t size) {
    if (begin_ + kMaxFrameRead + kFrameStartSize > buffer_.size()) {
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
    available = Fill(frame.size);
    frame.bytes = Bytes();
    if (available < frame.size) {
        frame.size = available;
        fault = "the frame announces " + Counted(static_cast<std::size_t>(head.length), "byte") +
                "; the capture ends after " + std::to_string(available - FrameSize(head.kind));
        return FrameState::kLost;
    }
    pending_ = frame.size;
    return FrameState::kFrame;
}

FrameState FrameReader::Rest(Frame& frame, std::string& fault) {
    Drop(std::exchange(pending_, 0));
    const std::size_t size = Fill(kLongestMessage + 1);
    if (size == 0) {
        return FrameState::kEnd;
    }
    frame = {Bytes(), size, FrameKind::kNone, offset_, ++number_};
    pending_ = size;
    if (size > kLongestMessage) {
        fault = "the message has more than " + Counted(kLongestMessage, "byte");
        return FrameState::kLost;
    }
    return FrameState::kFrame;
}

bool FrameReader::Resynchronise() {
    for (Drop(Fill(1)); Fill(kFrameStartSize) != 0;) {
        // What is too short to tell is looked at again with what follows it.
        const std::size_t known = Available() >= kFrameStartSize ? Available() - kFrameStartSize + 1 : Available();
        const std::size_t found = FindFrame(Bytes(), 0, known, Available());
        Drop(found);
        if (found != known) {
            return true;
        }
    }
    return false;
}

bool FrameReader::IsFollowedByFrame(const Frame& frame) {
    const std::size_t available = Fill(frame.size + kFrameStartSize);
    return available <= frame.size || LooksLikeFrame(frame.bytes + frame.size, available - frame.size);
}

bool FrameReader::CutAtInnerFrame(Frame& frame) {
    const std::size_t available = Fill(frame.size + kFrameStartSize);
    pending_ = FindFrame(frame.bytes, 1, frame.size, available);
    return pending_ != std::exchange(frame.size, pending_);
}

}  // namespace zel::tools
