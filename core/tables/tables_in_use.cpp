#include "core/tables/tables_in_use.h"

#include "core/tables/header_fields.h"
#include "core/tables/message_table.h"

namespace zel {

void UseTables(const ZELDictionaryHeader* dictionary, const ZELTypeNode* messageTable) noexcept {
    tablesAreInUse = true;
    SetDataDictionary(dictionary);
    SetMessageTable(messageTable);
    SetHeaderRules();
}

void StopUsingTables() noexcept {
    tablesAreInUse = false;
    CloseDataDictionary();
    CloseMessageTable();
    SetHeaderRules();
}

}  // namespace zel
