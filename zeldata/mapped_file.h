// A file in memory, read-only and shared: every process that maps it reads the same pages. One file per platform.
#ifndef ZEL_ZELDATA_MAPPED_FILE_H
#define ZEL_ZELDATA_MAPPED_FILE_H

#include <cstddef>

namespace zel::image {

// Invariant: bytes is null or the start of a mapping of `size` bytes, aligned to a page.
struct MappedFile {
    const void* bytes;
    std::size_t size;
};

// Why a file could not be mapped, as the end of a sentence that begins with its name.
struct MapFault {
    char text[160];
};

// True with `file` set, or false with `fault` set. Replacing the file by another of its name does not change the
// mapping; writing into the file does.
[[nodiscard]] bool MapFile(const char* path, MappedFile& file, MapFault& fault) noexcept;

void UnmapFile(const MappedFile& file) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_MAPPED_FILE_H
