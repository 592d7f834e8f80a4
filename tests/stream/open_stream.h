// Streams whose positions a test can see.
#ifndef ZEL_TESTS_STREAM_OPEN_STREAM_H
#define ZEL_TESTS_STREAM_OPEN_STREAM_H

#include <cstddef>
#include <string>

#include "stream/stream_buffer.h"

namespace zel::test {

template <typename Stream>
struct Open : Stream {
    using ZELStream::blockCount;
    using ZELStream::blockSize;
    using ZELStream::buffer;
    using ZELStream::InitStream;
    using ZELStream::start;
    using ZELStream::writePos;

    std::ptrdiff_t Used() const { return this->writePos - this->buffer; }
    std::ptrdiff_t ReadAt() const { return this->readPos - this->buffer; }
    std::ptrdiff_t Room() const { return this->end - this->buffer; }
};

using OpenFilter = Open<ZELFilter>;
using OpenSort = Open<ZELSortData>;

// The base alone.
struct OpenStream : Open<ZELStream> {
    char* GetStream() { return StreamBuffer::GetStream(*this); }
};

// The finished stream's bytes; none without a stream.
template <typename Stream>
std::string Bytes(Stream& stream) {
    const char* bytes = stream.GetStream();
    return bytes != nullptr ? std::string(bytes, static_cast<std::size_t>(stream.GetLength())) : "";
}

}  // namespace zel::test

#endif  // ZEL_TESTS_STREAM_OPEN_STREAM_H
