// Where a library lies. One file per platform.
#ifndef ZEL_ZELDATA_MODULE_PATH_H
#define ZEL_ZELDATA_MODULE_PATH_H

#include <cstddef>

namespace zel::image {

// Writes the path of the file `name` in the folder of the library or program that holds the function `code`; false when
// that folder is not known or the path does not fit.
[[nodiscard]] bool PathBeside(const void* code, const char* name, char* path, std::size_t size) noexcept;

// The same beside the library or program that holds this function.
[[nodiscard]] bool PathBesideThis(const char* name, char* path, std::size_t size) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_MODULE_PATH_H
