// One change between two dictionaries, and the field formats in which it keeps peers from understanding one another.
#ifndef ZEL_TOOLS_DICTIONARY_CHANGE_H
#define ZEL_TOOLS_DICTIONARY_CHANGE_H

#include <string>

namespace zel::tools {

// Sets of field formats: bit n stands for format n.
using Formats = unsigned;

inline constexpr Formats kNoFormat = 0;
inline constexpr Formats kFormat0 = 1U << 0U;
inline constexpr Formats kFormat1 = 1U << 1U;
inline constexpr Formats kFormat2 = 1U << 2U;
inline constexpr Formats kAllFormats = kFormat0 | kFormat1 | kFormat2;

enum class ChangeKind { kAdded, kRemoved, kChanged };

struct Change {
    ChangeKind kind;
    std::string subject;  // "field 25 QUANTITY", "message 10/1 NEW_ORDER"
    std::string text;     // what is there, or what it was and is
    Formats breaks;
    std::string reason;  // why peers break, or what else to mind; may be empty
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_CHANGE_H
