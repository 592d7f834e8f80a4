// The header fields of a message: the ids that they occupy in the dictionary, their names and widths.
#ifndef ZEL_CORE_TABLES_HEADER_FIELDS_H
#define ZEL_CORE_TABLES_HEADER_FIELDS_H

#include "core/tables/dictionary.h"
#include "core/tables/field_shape.h"

namespace zel {

enum HeaderFieldId : unsigned short {
    kFlags = 1,
    kMsgType = 2,
    kServiceId = 3,
    kMsgId = 4,
    kNumFields = 5,
    kUserData = 6,
    kVarUserData = 7
};

inline constexpr int kHeaderFieldCount = 7;

// The fields 1 to 6 are numbers of this many bytes; field 7 carries its own length.
struct HeaderField {
    const char* name;
    std::uint16_t width;
};

inline constexpr HeaderField kHeaderFields[] = {
    {"", 0},
    {"ZEL_HDR_FLAGS", 2},
    {"ZEL_HDR_MSG_TYPE", 4},
    {"ZEL_HDR_SERVICEID", 4},
    {"ZEL_HDR_MSGID", 4},
    {"ZEL_HDR_NUMFIELDS", 2},
    {"ZEL_HDR_USER_DATA", 4},
    {"ZEL_HDR_VAR_USER_DATA", 0},
};

// Whether a field of this type has the form of that header field.
constexpr bool FitsHeaderField(unsigned short fieldId, std::uint16_t type) noexcept {
    if (fieldId == kVarUserData) {
        return ShapeOf(type) == Shape::kCounted;
    }
    return kHeaderFields[fieldId].width == 2 ? type == kZELShort : type == kZELLong || type == kZELInt;
}

// What a dictionary says of them.
struct HeaderRules {
    FieldRule rules[kHeaderFieldCount + 1];  // by id
    bool areUsual;                           // each number has the form and the length of its header field
};

// What the dictionary in use says. Reports nothing.
const HeaderRules& HeaderRulesInUse() noexcept;

// For UseTables and StopUsingTables: reads the rules anew.
void SetHeaderRules() noexcept;

}  // namespace zel

#endif  // ZEL_CORE_TABLES_HEADER_FIELDS_H
