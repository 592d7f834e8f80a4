// Loading of libraries at run time.
#ifndef ZEL_RUNTIME_MODULE_H
#define ZEL_RUNTIME_MODULE_H

namespace zel {

using ModuleHandle = void*;
using ModuleSymbol = void (*)();

// Loads the library `name` (without the platform's prefix and suffix) from where the platform searches, then, on
// Linux, from the folder of this library. Null when there is none.
[[nodiscard]] ModuleHandle LoadModule(const char* name) noexcept;

// The exported function, or null.
[[nodiscard]] ModuleSymbol FindModuleSymbol(ModuleHandle module, const char* symbol) noexcept;

void UnloadModule(ModuleHandle module) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_MODULE_H
