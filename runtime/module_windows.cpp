#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime/module.h"

namespace zel {

ModuleHandle LoadModule(const char* name) noexcept {
    char file[MAX_PATH];
    const int length = std::snprintf(file, sizeof file, "%s.dll", name);
    if (length < 0 || length >= static_cast<int>(sizeof file)) {
        return nullptr;
    }
    return LoadLibraryA(file);
}

void DescribeLoadError(char* text, std::size_t size) noexcept {
    const DWORD error = GetLastError();
    (void)std::snprintf(text, size, "the DLL cannot be loaded: system error %lu", error);
}

ModuleSymbol FindModuleSymbol(ModuleHandle module, const char* symbol) noexcept {
    return reinterpret_cast<ModuleSymbol>(GetProcAddress(static_cast<HMODULE>(module), symbol));
}

void UnloadModule(ModuleHandle module) noexcept {
    FreeLibrary(static_cast<HMODULE>(module));
}

const char* PathFromEnvironment(const char* variable) noexcept {
    return std::getenv(variable);
}

bool PathBeside(const void* address, const char* name, char* path, std::size_t size) noexcept {
    HMODULE self = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (GetModuleHandleExA(flags, static_cast<LPCSTR>(address), &self) == 0) {
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

}  // namespace zel
