#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "tools/io/descriptor.h"

namespace zel::tools {

int OpenForReading(const char* path) noexcept {
    return _open(path, _O_RDONLY | _O_BINARY | _O_NOINHERIT);
}

void CloseDescriptor(int descriptor) noexcept {
    _close(descriptor);
}

long ReadSome(int descriptor, char* to, std::size_t size) noexcept {
    const int count = _read(descriptor, to, static_cast<unsigned>(size));
    if (count == 0) {
        // The end is remembered; moving forgets it, so that more can be read from a file that grows.
        (void)_lseeki64(descriptor, 0, SEEK_CUR);
    }
    // The end of a pipe whose writer has gone.
    return count < 0 && errno == EPIPE ? 0 : count;
}

bool WriteAll(int descriptor, const char* from, std::size_t size) noexcept {
    // Pipes and consoles refuse large blocks.
    constexpr std::size_t kBlock = 32768;
    while (size != 0) {
        const int count = _write(descriptor, from, static_cast<unsigned>(std::min(size, kBlock)));
        if (count < 0) {
            return false;
        }
        from += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace zel::tools
