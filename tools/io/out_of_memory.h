// Ends the command at once when memory runs out. Exceptions would not do: streams swallow them and lose output, and
// none may pass through the library.
#ifndef ZEL_TOOLS_IO_OUT_OF_MEMORY_H
#define ZEL_TOOLS_IO_OUT_OF_MEMORY_H

#include <cerrno>

namespace zel::tools {

// From here on a request for memory that cannot be met ends the process with one line on standard error and the status
// kStatusUnable. Unfinished files are removed.
void EndWhenMemoryIsOut() noexcept;

// Ends the process so if errno is ENOMEM.
void EndIfMemoryWasOut() noexcept;

// The result of a call that packs or unpacks. The message library goes on without compression's working memory, as if
// the data were bad or did not shrink: only errno tells.
template <typename Call>
[[nodiscard]] long WithMemory(Call call) {
    errno = 0;
    const long result = call();
    EndIfMemoryWasOut();
    return result;
}

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_OUT_OF_MEMORY_H
