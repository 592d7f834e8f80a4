#include <windows.h>

#include <cstdio>
#include <cstring>

#include "zeldata/module_path.h"

namespace zel::image {

bool PathBeside(const void* code, const char* name, char* path, std::size_t size) noexcept {
    HMODULE self = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (GetModuleHandleExA(flags, static_cast<LPCSTR>(code), &self) == 0) {
        return false;
    }
    char file[MAX_PATH];
    const DWORD fileLength = GetModuleFileNameA(self, file, sizeof file);
    if (fileLength == 0 || fileLength == sizeof file) {
        return false;
    }
    const char* slash = std::strrchr(file, '\\');
    const int folder = slash == nullptr ? 0 : static_cast<int>(slash - file) + 1;
    const int length = std::snprintf(path, size, "%.*s%s", folder, file, name);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

bool PathBesideThis(const char* name, char* path, std::size_t size) noexcept {
    return PathBeside(reinterpret_cast<const void*>(&PathBesideThis), name, path, size);
}

}  // namespace zel::image
