// Loading libraries at run time, and finding the files that go with one. One source per platform.
#ifndef ZEL_RUNTIME_MODULE_H
#define ZEL_RUNTIME_MODULE_H

#include <cstddef>

namespace zel {

using ModuleHandle = void*;
using ModuleSymbol = void (*)();

// Loads the library `name` (without the platform's prefix and suffix) from where the platform searches, then, on
// Linux, from the folder of this library. Null when there is none.
[[nodiscard]] ModuleHandle LoadModule(const char* name) noexcept;

// After LoadModule has failed, in the same thread: the system's reason, with a zero byte at the end.
void DescribeLoadError(char* text, std::size_t size) noexcept;

// The exported function, or null.
[[nodiscard]] ModuleSymbol FindModuleSymbol(ModuleHandle module, const char* symbol) noexcept;

void UnloadModule(ModuleHandle module) noexcept;

// The path in this variable of the environment, or null: also, on Linux, in a program that has more rights than who
// started it. The loader, too, takes no paths of such a user then.
[[nodiscard]] const char* PathFromEnvironment(const char* variable) noexcept;

// Writes the path of the file `name` in the folder of the library or program that holds `address`; false when that
// folder is not known or the path does not fit.
[[nodiscard]] bool PathBeside(const void* address, const char* name, char* path, std::size_t size) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_MODULE_H
