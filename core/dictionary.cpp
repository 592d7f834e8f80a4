#include "core/dictionary.h"

#include <cstring>

#include "core/plan_table.h"
#include "runtime/reports.h"

namespace zel {

namespace {

const ZELDictionaryHeader* zelDataDictionary = nullptr;
const ZELTypeNode* zelMessageTable = nullptr;

// Record n behind the header, which is record 0. The caller has checked n against the count.
const ZELDictionaryField* RecordAt(const ZELDictionaryHeader* dictionary, int n) noexcept {
    return reinterpret_cast<const ZELDictionaryField*>(dictionary) + n;
}

}  // namespace

const ZELDictionaryHeader* zelGetDataDictionary() noexcept {
    return zelDataDictionary;
}

const ZELTypeNode* zelGetMessageTable() noexcept {
    return zelMessageTable;
}

void SetDataDictionary(const ZELDictionaryHeader* dictionary) noexcept {
    zelDataDictionary = dictionary;
    RetirePlans();
}

void SetMessageTable(const ZELTypeNode* table) noexcept {
    zelMessageTable = table;
    RetirePlans();
}

const ZELDictionaryField* GetFldEntry(short fieldId) noexcept {
    if (fieldId == 0) {
        SendReport(reports::kGetFldEntryFailed);
        return nullptr;
    }
    if (zelDataDictionary == nullptr) {
        SendReport(reports::kNoDictionary);
        return nullptr;
    }
    return FindFldRecord(fieldId);
}

const ZELDictionaryField* FindFldRecord(short fieldId) noexcept {
    if (fieldId <= 0 || zelDataDictionary == nullptr || zelDataDictionary->count < fieldId) {
        return nullptr;
    }
    return RecordAt(zelDataDictionary, fieldId);
}

short GetFldByName(const char* name) noexcept {
    if (name == nullptr) {
        SendReport(reports::kGetFldByNameFailed);
        return -1;
    }
    if (zelDataDictionary == nullptr) {
        SendReport(reports::kNoDictionary);
        return -1;
    }
    for (int id = 1; id <= zelDataDictionary->count; ++id) {
        if (std::strncmp(RecordAt(zelDataDictionary, id)->name, name, kZELNameLength) == 0) {
            return static_cast<short>(id);
        }
    }
    return -1;
}

const char* GetFldName(short fieldId) noexcept {
    const ZELDictionaryField* record = GetFldEntry(fieldId);
    return record != nullptr ? record->name : nullptr;
}

const char* GetFldText(short fieldId) noexcept {
    const ZELDictionaryField* record = GetFldEntry(fieldId);
    return record != nullptr ? record->text : nullptr;
}

short GetFldVersion(short fieldId) noexcept {
    const ZELDictionaryField* record = GetFldEntry(fieldId);
    return record != nullptr ? record->version : static_cast<short>(-1);
}

std::uint16_t GetFldType(short fieldId) noexcept {
    const ZELDictionaryField* record = GetFldEntry(fieldId);
    return record != nullptr ? record->type : kNoFieldType;
}

short GetFldLength(short fieldId) noexcept {
    const ZELDictionaryField* record = GetFldEntry(fieldId);
    return record != nullptr ? record->length : static_cast<short>(-1);
}

}  // namespace zel
