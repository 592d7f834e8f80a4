#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "zeldata/mapped_file.h"

namespace zel::image {

namespace {

bool RefuseFile(MapFault& fault, const char* reason) noexcept {
    (void)std::snprintf(fault.text, sizeof fault.text, "%s", reason);
    return false;
}

bool RefuseFileWithErrno(MapFault& fault, const char* attempt) noexcept {
    (void)std::snprintf(fault.text, sizeof fault.text, "%s: %s", attempt, std::strerror(errno));
    return false;
}

bool MapDescriptor(int descriptor, MappedFile& file, MapFault& fault) noexcept {
    struct stat status;
    if (fstat(descriptor, &status) != 0) {
        return RefuseFileWithErrno(fault, "cannot be examined");
    }
    if (!S_ISREG(status.st_mode)) {
        return RefuseFile(fault, "is not a regular file");
    }
    if (status.st_size == 0) {
        return RefuseFile(fault, "is empty");
    }
    if (static_cast<std::uintmax_t>(status.st_size) > SIZE_MAX) {
        return RefuseFile(fault, "is too long to be mapped");
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    const void* bytes = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (bytes == MAP_FAILED) {
        return RefuseFileWithErrno(fault, "cannot be mapped");
    }
    file = {bytes, size};
    return true;
}

}  // namespace

bool MapFile(const char* path, MappedFile& file, MapFault& fault) noexcept {
    // O_NONBLOCK: opening a named pipe must not wait for a writer.
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return RefuseFileWithErrno(fault, "cannot be opened");
    }
    const bool mapped = MapDescriptor(descriptor, file, fault);
    close(descriptor);
    return mapped;
}

void UnmapFile(const MappedFile& file) noexcept {
    munmap(const_cast<void*>(file.bytes), file.size);
}

}  // namespace zel::image
