// The data dictionary as the core sees it: what a field id means.
// The provider owns the records; the core reads them and writes nothing.
#ifndef ZEL_CORE_DICTIONARY_H
#define ZEL_CORE_DICTIONARY_H

#include <cstdint>

#include "include/zelprovider.h"

namespace zel {

// The two process-wide tables: null while not initialised. Written by CZELMessage::init alone; tables that have changed
// in place are set again.
const ZELDictionaryHeader* zelGetDataDictionary() noexcept;
const ZELTypeNode* zelGetMessageTable() noexcept;
void SetDataDictionary(const ZELDictionaryHeader* dictionary) noexcept;
void SetMessageTable(const ZELTypeNode* table) noexcept;

// The field's record, or null. Reports 1001 for the id 0 and 1412 without a dictionary; an id above the highest one and
// a negative id are no record without a report.
const ZELDictionaryField* GetFldEntry(short fieldId) noexcept;

// The same without a report.
const ZELDictionaryField* FindFldRecord(short fieldId) noexcept;

// The lowest id whose name equals `name` in the first 64 characters, or -1. Reports 1001 for null, 1412.
short GetFldByName(const char* name) noexcept;

// One member of the field's record each; the second value is the answer when there is none. Reports as GetFldEntry.
const char* GetFldName(short fieldId) noexcept;    // null
const char* GetFldText(short fieldId) noexcept;    // null
short GetFldVersion(short fieldId) noexcept;       // -1
std::uint16_t GetFldType(short fieldId) noexcept;  // kNoFieldType
short GetFldLength(short fieldId) noexcept;        // -1

inline constexpr std::uint16_t kNoFieldType = 0xFFFF;

}  // namespace zel

#endif  // ZEL_CORE_DICTIONARY_H
