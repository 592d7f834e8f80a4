// The operations on a stream's block that are not inline.
#include "stream/stream_buffer.h"

#include <algorithm>

#include "runtime/allocator.h"

namespace {

// Null when the blocks together are more than a stream may hold.
char* AllocateBlocks(std::uint32_t blockSize, std::uint32_t blockCount) noexcept {
    const std::uint64_t size = std::uint64_t{blockSize} * blockCount;
    return size <= zel::kMaxStream ? static_cast<char*>(zel::Allocate(static_cast<std::size_t>(size))) : nullptr;
}

std::size_t Distance(const char* from, const char* to) noexcept {
    return static_cast<std::size_t>(to - from);
}

}  // namespace

void ZELStream::InitStream(int size) noexcept {
    blockSize = static_cast<std::uint32_t>(size);
    blockCount = 1;
    buffer = size >= zel::kLengthSize ? AllocateBlocks(blockSize, blockCount) : nullptr;
    if (buffer == nullptr) {
        return;
    }
    start = buffer;
    writePos = readPos = buffer + zel::kLengthSize;
    end = buffer + size;
    zel::StoreU16Be(start, zel::kLengthSize);
}

namespace zel {

// Null leaves no stream and no position.
void StreamBuffer::Hold(ZELStream& stream, char* block, std::size_t size, std::size_t writeAt,
                        std::size_t readAt) noexcept {
    stream.buffer = block;
    stream.start = block;
    stream.writePos = block != nullptr ? block + writeAt : nullptr;
    stream.end = block != nullptr ? block + size : nullptr;
    stream.readPos = block != nullptr ? block + readAt : nullptr;
}

// Counts the new block before allocating it, and keeps that count when there is no memory.
int StreamBuffer::Grow(ZELStream& stream) noexcept {
    if (stream.buffer == nullptr) {
        return -1;
    }
    if (stream.blockCount != UINT32_MAX) {
        ++stream.blockCount;
    }
    char* block = AllocateBlocks(stream.blockSize, stream.blockCount);
    if (block == nullptr) {
        return -1;
    }
    const std::size_t used = Distance(stream.buffer, stream.writePos);
    std::memcpy(block, stream.buffer, used);
    Release(stream.buffer);
    Hold(stream, block, std::size_t{stream.blockSize} * stream.blockCount, used, kLengthSize);
    return 0;
}

void StreamBuffer::Unwrite(ZELStream& stream, int n) noexcept {
    if (stream.buffer != nullptr && n >= 0 && n < stream.writePos - stream.buffer - kLengthSize) {
        stream.writePos -= n;
    }
}

char* StreamBuffer::GetStream(ZELStream& stream) noexcept {
    if (stream.buffer != nullptr) {
        StoreU16Be(stream.start, static_cast<std::uint16_t>(stream.writePos - stream.start));
    }
    return stream.buffer;
}

char* StreamBuffer::GetStream(ZELStream& stream, std::uint32_t count) noexcept {
    char* bytes = GetStream(stream);
    if (bytes != nullptr) {
        StoreU16Be(bytes + kLengthSize, static_cast<std::uint16_t>(count));
    }
    return bytes;
}

int StreamBuffer::SetStream(ZELStream& stream, std::uint32_t& count, const char* bytes, int length) noexcept {
    if (stream.buffer == nullptr || bytes == nullptr || length < kHeaderSize) {
        return -1;
    }
    // Makes room as if the data were appended, then puts them at the start: more than needed when the stream was
    // written to before.
    const std::ptrdiff_t written = std::max<std::ptrdiff_t>(stream.writePos - stream.buffer - kHeaderSize, 0);
    while (length > stream.end - stream.buffer - written) {
        if (Grow(stream) != 0) {
            return -1;
        }
    }
    std::memcpy(stream.buffer, bytes, static_cast<std::size_t>(length));
    stream.writePos = stream.buffer + length;
    count = LoadU16Be(bytes + kLengthSize);
    return 0;
}

int StreamBuffer::Copy(ZELStream& to, const ZELStream& from) noexcept {
    Release(to.buffer);
    char* block = from.buffer != nullptr ? AllocateBlocks(from.blockSize, from.blockCount) : nullptr;
    if (block == nullptr) {
        Hold(to, nullptr, 0, 0, 0);
        to.blockSize = UINT32_MAX;
        to.blockCount = 0;
        return -1;
    }
    to.blockSize = from.blockSize;
    to.blockCount = from.blockCount;
    const std::size_t used = Distance(from.buffer, from.writePos);
    std::memcpy(block, from.buffer, used);
    // After a failed growth the source's end is below its block count; the copy's is, too.
    Hold(to, block, Distance(from.buffer, from.end), used, Distance(from.buffer, from.readPos));
    return 0;
}

void StreamBuffer::ReserveCount(ZELStream& stream) noexcept {
    if (stream.buffer != nullptr) {
        stream.readPos += kHeaderSize - kLengthSize;
        stream.writePos = stream.readPos;
        // After a growth, a reader can reach this word before GetStream writes it.
        StoreU16Be(stream.start + kLengthSize, 0);
    }
}

}  // namespace zel
