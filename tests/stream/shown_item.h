// A term or a key as a line of text: "14 >= text ABC", "14 1". Shows every accessor that has a value, because only
// one may.
#ifndef ZEL_TESTS_STREAM_SHOWN_ITEM_H
#define ZEL_TESTS_STREAM_SHOWN_ITEM_H

#include <array>
#include <bit>
#include <sstream>
#include <string>

#include "include/zelstream.h"

namespace zel::test {

inline std::string Shown(const ZELFilterItem& item) {
    std::ostringstream line;
    line << item.fieldId << ' ' << item.logicOperator.text;
    const auto show = [&](const char* type, const auto* value) {
        if (value != nullptr) {
            line << ' ' << type << ' ' << *value;
        }
    };
    show("short", item.AsShort());
    show("long", item.AsLong());
    show("int", item.AsInt());
    show("char", item.AsChar());
    show("float", item.AsFloat());
    show("double", item.AsDouble());
    if (const char* text = item.AsText()) {
        line << " text " << text;
    }
    if (const _money* money = item.AsMoney()) {
        line << " money " << money->amount << ' ' << money->displayCode;
    }
    if (const _datetime* at = item.AsDateTime()) {
        line << " date-time";
        for (const unsigned byte : std::bit_cast<std::array<unsigned char, sizeof *at>>(*at)) {
            line << ' ' << byte;
        }
    }
    return line.str();
}

inline std::string Shown(const SortItem& key) {
    return std::to_string(key.fieldId) + ' ' + std::to_string(key.sortOrder);
}

}  // namespace zel::test

#endif  // ZEL_TESTS_STREAM_SHOWN_ITEM_H
