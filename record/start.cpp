// Start and stop for those who have no CZELMessage.
#include "core/tables/dictionary.h"
#include "core/tables/message_table.h"
#include "include/zelmessage.h"
#include "include/zelrecord.h"

extern "C" int ZELStart(void) noexcept {
    CZELMessage::init();
    const bool hasTables = zel::HasDataDictionary() && zel::HasMessageTable();
    return CZELMessage::getVormaZelData() != nullptr && hasTables ? 0 : ZEL_NOT_STARTED;
}

extern "C" void ZELStop(void) noexcept {
    CZELMessage::terminate();
}
