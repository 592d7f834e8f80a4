#include "core/tables/dictionary.h"

#include <cstring>

#include "runtime/reports.h"

namespace zel {

namespace {

const ZELDictionaryHeader* zelDataDictionary = nullptr;

// The same while it may be read, else null.
const ZELDictionaryHeader* dictionaryInUse = nullptr;

// Record n, after the header, which is record 0. The caller has checked n against the count.
const ZELDictionaryField* RecordAt(const ZELDictionaryHeader* dictionary, int n) noexcept {
    return reinterpret_cast<const ZELDictionaryField*>(dictionary) + n;
}

}  // namespace

const ZELDictionaryHeader* zelGetDataDictionary() noexcept {
    return zelDataDictionary;
}

void SetDataDictionary(const ZELDictionaryHeader* dictionary) noexcept {
    zelDataDictionary = dictionary;
    dictionaryInUse = dictionary;
}

void CloseDataDictionary() noexcept {
    dictionaryInUse = nullptr;
}

bool HasDataDictionary() noexcept {
    return dictionaryInUse != nullptr;
}

const ZELDictionaryField* GetFldEntry(short fieldId) noexcept {
    if (fieldId == 0) {
        SendReport(reports::kGetFldEntryFailed);
        return nullptr;
    }
    if (dictionaryInUse == nullptr) {
        SendReport(reports::kNoDictionary);
        return nullptr;
    }
    return FindFldRecord(fieldId);
}

const ZELDictionaryField* FindFldRecord(short fieldId) noexcept {
    if (fieldId <= 0 || dictionaryInUse == nullptr || dictionaryInUse->count < fieldId) {
        return nullptr;
    }
    return RecordAt(dictionaryInUse, fieldId);
}

short GetFldByName(const char* name) noexcept {
    if (name == nullptr) {
        SendReport(reports::kGetFldByNameFailed);
        return -1;
    }
    if (dictionaryInUse == nullptr) {
        SendReport(reports::kNoDictionary);
        return -1;
    }
    for (int id = 1; id <= dictionaryInUse->count; ++id) {
        if (std::strncmp(RecordAt(dictionaryInUse, id)->name, name, kZELNameLength) == 0) {
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

FieldRule RuleOf(unsigned short fieldId) noexcept {
    (void)GetFldEntry(static_cast<short>(fieldId));
    return FindRule(fieldId);
}

FieldRule FindRule(unsigned short fieldId) noexcept {
    const ZELDictionaryField* record = FindFldRecord(static_cast<short>(fieldId));
    return record != nullptr ? FieldRule{fieldId, record->type, record->length, record->version}
                             : FieldRule{fieldId, kNoFieldType, -1, -1};
}

}  // namespace zel
