#include "core/tables/tables_in_use.h"

#include "core/tables/header_fields.h"
#include "core/tables/message_table.h"

namespace zel {

namespace {

bool areInUse = false;

}  // namespace

void UseTables(const ZELDictionaryHeader* dictionary, const ZELTypeNode* messageTable) noexcept {
    areInUse = true;
    SetDataDictionary(dictionary);
    SetMessageTable(messageTable);
    SetHeaderRules();
}

void StopUsingTables() noexcept {
    areInUse = false;
    CloseDataDictionary();
    CloseMessageTable();
    SetHeaderRules();
}

bool TablesAreInUse() noexcept {
    return areInUse;
}

}  // namespace zel
