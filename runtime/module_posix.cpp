#include <dlfcn.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime/module.h"

namespace zel {

namespace {

void* OpenLibrary(const char* path) noexcept {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

// The file `name` in the folder of the library or program that holds this function.
void* OpenLibraryBesideThis(const char* name) noexcept {
    char path[PATH_MAX];
    const bool found = PathBeside(reinterpret_cast<const void*>(&OpenLibraryBesideThis), name, path, sizeof path);
    // Without a slash dlopen would search again.
    return found && std::strchr(path, '/') != nullptr ? OpenLibrary(path) : nullptr;
}

}  // namespace

ModuleHandle LoadModule(const char* name) noexcept {
    char file[NAME_MAX + 1];
    const int length = std::snprintf(file, sizeof file, "lib%s.so", name);
    if (length < 0 || length >= static_cast<int>(sizeof file)) {
        return nullptr;
    }
    void* module = OpenLibrary(file);
    return module != nullptr ? module : OpenLibraryBesideThis(file);
}

void DescribeLoadError(char* text, std::size_t size) noexcept {
    const char* error = dlerror();
    (void)std::snprintf(text, size, "%s", error != nullptr ? error : "the library's folder is not known");
}

ModuleSymbol FindModuleSymbol(ModuleHandle module, const char* symbol) noexcept {
    return reinterpret_cast<ModuleSymbol>(dlsym(module, symbol));
}

void UnloadModule(ModuleHandle module) noexcept {
    dlclose(module);
}

const char* PathFromEnvironment(const char* variable) noexcept {
    return secure_getenv(variable);
}

bool PathBeside(const void* address, const char* name, char* path, std::size_t size) noexcept {
    Dl_info self;
    if (dladdr(address, &self) == 0 || self.dli_fname == nullptr) {
        return false;
    }
    const char* slash = std::strrchr(self.dli_fname, '/');
    const int folder = slash == nullptr ? 0 : static_cast<int>(slash - self.dli_fname) + 1;
    const int length = std::snprintf(path, size, "%.*s%s", folder, self.dli_fname, name);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

}  // namespace zel
