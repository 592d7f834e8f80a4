// The six comparisons: their texts and codes.
#ifndef ZEL_STREAM_LOGIC_OPERATOR_H
#define ZEL_STREAM_LOGIC_OPERATOR_H

#include <cstring>

#include "include/zelstream.h"

namespace zel {

// The text of code n is entry n - 1.
inline constexpr char kOperatorTexts[][3] = {"=", "!=", ">", "<", ">=", "<="};
inline constexpr short kHighestOperatorCode = 6;

// The code of exactly this text, or -1. Does not read past the first character that differs from a comparison.
inline short OperatorCode(const char* text) noexcept {
    if (text == nullptr) {
        return -1;
    }
    short code = 0;
    for (const auto& known : kOperatorTexts) {
        ++code;
        if (text[0] == known[0] && text[1] == known[1] && (known[1] == '\0' || text[2] == '\0')) {
            return code;
        }
    }
    return -1;
}

// Returns 0, or -1 with nothing changed for a code outside 1 to 6.
inline int SetOperator(LogicOperator& logicOperator, short code) noexcept {
    if (code < 1 || code > kHighestOperatorCode) {
        return -1;
    }
    logicOperator.code = code;
    std::memcpy(logicOperator.text, kOperatorTexts[code - 1], sizeof logicOperator.text);
    return 0;
}

}  // namespace zel

#endif  // ZEL_STREAM_LOGIC_OPERATOR_H
