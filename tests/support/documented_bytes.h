// The bytes that a page of docs/ shows.
#ifndef ZEL_TESTS_SUPPORT_DOCUMENTED_BYTES_H
#define ZEL_TESTS_SUPPORT_DOCUMENTED_BYTES_H

#include <fstream>
#include <string>

#include "tests/support/bytes.h"

namespace zel::test {

// The bytes in the page's indented blocks: the hex of each line, without the remark after two blanks.
inline std::string DocumentedBytes(const std::string& page) {
    std::ifstream file(ZEL_SOURCE_DIR "/docs/" + page);
    std::string bytes;
    for (std::string line; std::getline(file, line);) {
        bytes += line.starts_with("    ") ? FromHex(line.substr(4, line.find("  ", 4) - 4)) : "";
    }
    return bytes;
}

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_DOCUMENTED_BYTES_H
