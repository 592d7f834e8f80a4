#include "tools/io/terminal.h"

#include <cstdlib>

namespace zel::tools {

bool TakesColor(Stream stream) noexcept {
    const char* refused = std::getenv("NO_COLOR");
    return (refused == nullptr || refused[0] == '\0') && EnableEscapes(stream);
}

}  // namespace zel::tools
