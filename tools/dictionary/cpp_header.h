// A dictionary as a C++ header: a constant for each field, and for each message a struct with its layout (zel.hpp).
#ifndef ZEL_TOOLS_DICTIONARY_CPP_HEADER_H
#define ZEL_TOOLS_DICTIONARY_CPP_HEADER_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/dictionary/dictionary_source.h"

namespace zel::tools {

struct CppHeaderOptions {
    std::string space;        // the namespace of everything
    std::size_t repetitions;  // that the array of a group has room for
};

// The header for these messages and the fields that they list; for all messages and all fields when there are none. It
// depends on what the dictionary says and on nothing else, and is formatted.
[[nodiscard]] std::string CppHeader(const DictionarySource& dictionary,
                                    const std::vector<const MessageSource*>& messages, const CppHeaderOptions& options);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_CPP_HEADER_H
