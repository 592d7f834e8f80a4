#include "tools/byte_output.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "tools/descriptor.h"

namespace zel::tools {

void Flush(ByteOutput& output) {
    const bool written = WriteAll(output.descriptor, output.text.data(), output.text.size());
    output.text.clear();
    if (written) {
        return;
    }
    if (IsClosedPipe(errno)) {
        throw OutputClosed();
    }
    throw std::runtime_error(std::string("cannot write to standard output: ") + std::strerror(errno));
}

}  // namespace zel::tools
