// The data dictionary as the core sees it: what a field id means.
// The provider owns the records; the core reads them and writes nothing.
#ifndef ZEL_CORE_TABLES_DICTIONARY_H
#define ZEL_CORE_TABLES_DICTIONARY_H

#include <cstdint>

#include "include/zelprovider.h"

namespace zel {

// The dictionary that was set last. It stays after CloseDataDictionary, and may then not be read.
const ZELDictionaryHeader* zelGetDataDictionary() noexcept;

// For UseTables and StopUsingTables. Without a dictionary in use every lookup finds nothing.
void SetDataDictionary(const ZELDictionaryHeader* dictionary) noexcept;
void CloseDataDictionary() noexcept;
bool HasDataDictionary() noexcept;

// The field's record, or null. Reports 1001 for the id 0 and 1412 without a dictionary; an id above the highest one and
// a negative id are no record without a report.
const ZELDictionaryField* GetFldEntry(short fieldId) noexcept;

// The same without a report.
const ZELDictionaryField* FindFldRecord(short fieldId) noexcept;

// The lowest id whose name equals `name` in the first 64 characters, or -1. Reports 1001 for null, 1412.
short GetFldByName(const char* name) noexcept;

// One member of the field's record each; the second value is the result when there is none. Reports as GetFldEntry.
const char* GetFldName(short fieldId) noexcept;    // null
const char* GetFldText(short fieldId) noexcept;    // null
short GetFldVersion(short fieldId) noexcept;       // -1
std::uint16_t GetFldType(short fieldId) noexcept;  // kNoFieldType
short GetFldLength(short fieldId) noexcept;        // -1

inline constexpr std::uint16_t kNoFieldType = 0xFFFF;

// What encoding and decoding need of a field's record.
struct FieldRule {
    std::uint16_t id;
    std::uint16_t type;    // kNoFieldType: no record
    std::int16_t length;   // 0: the value carries its own; -1: no record
    std::int16_t version;  // -1: no record
};

// Reports as GetFldEntry.
FieldRule RuleOf(unsigned short fieldId) noexcept;

// The same without a report.
FieldRule FindRule(unsigned short fieldId) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_TABLES_DICTIONARY_H
