#include <windows.h>

#include <cstdio>

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

ModuleSymbol FindModuleSymbol(ModuleHandle module, const char* symbol) noexcept {
    return reinterpret_cast<ModuleSymbol>(GetProcAddress(static_cast<HMODULE>(module), symbol));
}

void UnloadModule(ModuleHandle module) noexcept {
    FreeLibrary(static_cast<HMODULE>(module));
}

}  // namespace zel
