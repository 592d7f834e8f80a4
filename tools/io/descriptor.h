// Files as descriptors. Reads return what is there; writes write everything; bytes are not translated. One source per
// platform.
#ifndef ZEL_TOOLS_IO_DESCRIPTOR_H
#define ZEL_TOOLS_IO_DESCRIPTOR_H

#include <cstddef>

namespace zel::tools {

inline constexpr int kStandardInput = 0;
inline constexpr int kStandardOutput = 1;
inline constexpr int kStandardError = 2;

// The file opened for reading; -1 with errno.
[[nodiscard]] int OpenForReading(const char* path) noexcept;

void CloseDescriptor(int descriptor) noexcept;

// At most `size` bytes, fewer when no more are there yet: how many, 0 at the end, -1 with errno.
[[nodiscard]] long ReadSome(int descriptor, char* to, std::size_t size) noexcept;

// False with errno when not all could be written.
[[nodiscard]] bool WriteAll(int descriptor, const char* from, std::size_t size) noexcept;

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_DESCRIPTOR_H
