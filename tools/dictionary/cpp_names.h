// C++ identifiers for the names of a dictionary: LIMIT_PRICE becomes limitPrice, NEW_ORDER becomes NewOrder.
#ifndef ZEL_TOOLS_DICTIONARY_CPP_NAMES_H
#define ZEL_TOOLS_DICTIONARY_CPP_NAMES_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "tools/dictionary/dictionary_source.h"

namespace zel::tools {

// Each name is unique in its map. Of names that would be the same, the lowest id keeps the plain one, so that a
// dictionary may grow: the others end with "_" and their id. What is chosen depends on the dictionary alone.
struct CppNames {
    std::map<std::uint16_t, std::string> fields;                            // by id: limitPrice
    std::map<std::pair<std::int16_t, std::int16_t>, std::string> messages;  // by type and sub-type: NewOrder
};

[[nodiscard]] CppNames NameForCpp(const DictionarySource& dictionary);

// With the first letter large: a name behind a "k", or of a type.
[[nodiscard]] std::string Capitalised(std::string name);

// The name, with as many "_" behind it as make it free of those taken, where it is put.
[[nodiscard]] std::string TakeName(std::set<std::string>& taken, std::string name);

// Whether the text can stand behind "namespace": identifiers that are no keywords, with "::" between them.
[[nodiscard]] bool IsNamespace(std::string_view text);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_CPP_NAMES_H
