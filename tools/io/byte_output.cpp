#include "tools/io/byte_output.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "tools/io/descriptor.h"
#include "tools/io/terminal.h"

namespace zel::tools {

void Flush(ByteOutput& output) {
    const bool written = WriteAll(output.descriptor, output.text.data(), output.text.size());
    output.text.clear();
    if (written) {
        return;
    }
    const int error = errno;
    if (IsReaderGone()) {
        throw OutputClosed();
    }
    throw std::runtime_error(std::string("cannot write to standard output: ") + std::strerror(error));
}

}  // namespace zel::tools
