#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "tools/io/descriptor.h"

namespace zel::tools {

int OpenForReading(const char* path) noexcept {
    return open(path, O_RDONLY | O_CLOEXEC);
}

void CloseDescriptor(int descriptor) noexcept {
    close(descriptor);
}

long ReadSome(int descriptor, char* to, std::size_t size) noexcept {
    ssize_t count = 0;
    do {
        count = read(descriptor, to, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

bool WriteAll(int descriptor, const char* from, std::size_t size) noexcept {
    while (size != 0) {
        const ssize_t count = write(descriptor, from, size);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0) {
            from += count;
            size -= static_cast<std::size_t>(count);
        }
    }
    return true;
}

}  // namespace zel::tools
