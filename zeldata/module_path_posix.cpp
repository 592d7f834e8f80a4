#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "zeldata/module_path.h"

namespace zel::image {

bool PathBeside(const void* code, const char* name, char* path, std::size_t size) noexcept {
    Dl_info self;
    if (dladdr(code, &self) == 0 || self.dli_fname == nullptr) {
        return false;
    }
    const char* slash = std::strrchr(self.dli_fname, '/');
    const int folder = slash == nullptr ? 0 : static_cast<int>(slash - self.dli_fname) + 1;
    const int length = std::snprintf(path, size, "%.*s%s", folder, self.dli_fname, name);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

bool PathBesideThis(const char* name, char* path, std::size_t size) noexcept {
    return PathBeside(reinterpret_cast<const void*>(&PathBesideThis), name, path, size);
}

}  // namespace zel::image
