// Where this library lies. One file per platform.
#ifndef ZEL_ZELDATA_MODULE_PATH_H
#define ZEL_ZELDATA_MODULE_PATH_H

#include <cstddef>

namespace zel::image {

// Writes the path of the file `name` in the folder of the library or program that holds this function; false when that
// folder is not known or the path does not fit.
[[nodiscard]] bool PathBesideThis(const char* name, char* path, std::size_t size) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_MODULE_PATH_H
