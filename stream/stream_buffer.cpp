// The stream's block: made, grown, taken back, finished, loaded and copied.
#include "stream/stream_buffer.h"

#include "runtime/allocator.h"

namespace {

// Null when the blocks together are more than a stream may hold.
char* AllocateBlocks(std::uint32_t blockSize, std::uint32_t blockCount) noexcept {
    const std::uint64_t size = std::uint64_t{blockSize} * blockCount;
    return size <= zel::kMaxStream ? static_cast<char*>(zel::Allocate(static_cast<std::size_t>(size))) : nullptr;
}

}  // namespace

// Null leaves no stream and no position.
void ZELStream::Hold(char* block, std::size_t size, std::size_t writeAt, std::size_t readAt) noexcept {
    buffer = block;
    start = block;
    writePos = block != nullptr ? block + writeAt : nullptr;
    end = block != nullptr ? block + size : nullptr;
    readPos = block != nullptr ? block + readAt : nullptr;
}

void ZELStream::InitStream(int size) noexcept {
    zel::Release(buffer);
    blockSize = static_cast<std::uint32_t>(size);
    blockCount = 1;
    char* block = size >= zel::kLengthSize ? AllocateBlocks(blockSize, blockCount) : nullptr;
    Hold(block, blockSize, zel::kLengthSize, zel::kLengthSize);
    WriteLength();
}

// The copy is taken of the finished stream, so the source's length word is brought up to date.
ZELStream& ZELStream::operator=(const ZELStream& source) noexcept {
    if (this == &source) {
        return *this;
    }
    zel::Release(buffer);
    blockSize = source.blockSize;
    blockCount = source.blockCount;
    const char* bytes = source.WriteLength();
    char* block = bytes != nullptr ? AllocateBlocks(blockSize, blockCount) : nullptr;
    const auto used = static_cast<std::size_t>(source.GetLength());
    Hold(block, std::size_t{blockSize} * blockCount, used, zel::kLengthSize);
    if (block != nullptr) {
        std::memcpy(block, bytes, used);
    }
    return *this;
}

ZELStream::ZELStream(const ZELStream& source) noexcept : ZELStream() {
    *this = source;
}

// The bytes and positions of the source, its header as it stands.
int ZELStream::CopyCounted(const ZELStream& source) noexcept {
    zel::Release(buffer);
    char* block = source.buffer != nullptr ? AllocateBlocks(source.blockSize, source.blockCount) : nullptr;
    if (block == nullptr) {
        Hold(nullptr, 0, 0, 0);
        blockSize = UINT32_MAX;
        blockCount = 0;
        return -1;
    }
    blockSize = source.blockSize;
    blockCount = source.blockCount;
    const auto used = static_cast<std::size_t>(source.writePos - source.buffer);
    std::memcpy(block, source.buffer, used);
    // After a growth that failed the source's end is below its block count, and so is the copy's.
    Hold(block, static_cast<std::size_t>(source.end - source.buffer), used,
         static_cast<std::size_t>(source.readPos - source.buffer));
    return 0;
}

// Counts the block before it has it, and keeps the count when it gets none.
int ZELStream::Grow() noexcept {
    if (buffer == nullptr) {
        return -1;
    }
    if (blockCount != UINT32_MAX) {
        ++blockCount;
    }
    char* block = AllocateBlocks(blockSize, blockCount);
    if (block == nullptr) {
        return -1;
    }
    const auto used = static_cast<std::size_t>(writePos - buffer);
    std::memcpy(block, buffer, used);
    zel::Release(buffer);
    Hold(block, std::size_t{blockSize} * blockCount, used, zel::kLengthSize);
    return 0;
}

// Keeps at least one byte behind the length word.
void ZELStream::Unwrite(int n) noexcept {
    if (buffer != nullptr && n >= 0 && n < writePos - buffer - zel::kLengthSize) {
        writePos -= n;
    }
}

int ZELStream::GetString(char* out, int& length) noexcept {
    const char* bytes = nullptr;
    if (GetString(bytes, length) != 0) {
        return -1;
    }
    std::memcpy(out, bytes, static_cast<std::size_t>(length));
    return 0;
}

// Answers the stream, or null without one.
char* ZELStream::WriteLength() const noexcept {
    if (buffer != nullptr) {
        zel::StoreU16Be(start, static_cast<std::uint16_t>(writePos - start));
    }
    return buffer;
}

char* ZELStream::GetStream() noexcept {
    return WriteLength();
}

int ZELStream::SetStream(const char* bytes, int length) noexcept {
    return zel::HeaderHolds(bytes, length, zel::kLengthSize) ? Load(bytes, length, zel::kLengthSize) : -1;
}

// Makes room as if the data came behind what is written, then puts them in its place: more than needed in a stream that
// was written to.
int ZELStream::Load(const char* bytes, int length, int headerSize) noexcept {
    if (buffer == nullptr) {
        return -1;
    }
    while (length - headerSize > end - writePos) {
        if (Grow() != 0) {
            return -1;
        }
    }
    std::memcpy(buffer, bytes, static_cast<std::size_t>(length));
    writePos = buffer + length;
    return 0;
}

int ZELStream::LoadCounted(const char* bytes, int length, bool (*countFits)(std::uint16_t word, int size),
                           std::uint32_t& count) noexcept {
    if (!zel::HeaderHolds(bytes, length, zel::kCountedHeaderSize)) {
        return -1;
    }
    const std::uint16_t word = zel::CountWord(bytes);
    if (!countFits(word, length - zel::kCountedHeaderSize) || Load(bytes, length, zel::kCountedHeaderSize) != 0) {
        return -1;
    }
    count = word;
    return 0;
}

void ZELStream::ReserveCount() noexcept {
    if (buffer != nullptr) {
        readPos += zel::kCountedHeaderSize - zel::kLengthSize;
        writePos = readPos;
        // Growth puts the reader before it, whether it was finished or not.
        zel::StoreU16Be(start + zel::kLengthSize, 0);
    }
}

char* ZELStream::FinishCounted(std::uint32_t count) noexcept {
    char* stream = WriteLength();
    if (stream != nullptr) {
        zel::StoreU16Be(stream + zel::kLengthSize, static_cast<std::uint16_t>(count));
    }
    return stream;
}
