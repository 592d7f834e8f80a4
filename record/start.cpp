// Start, stop, and what the provider alone knows, for those who have no CZELMessage.
#include "core/tables/dictionary.h"
#include "core/tables/message_table.h"
#include "include/zelmessage.h"
#include "include/zelrecord.h"
#include "message/lifecycle.h"

extern "C" int ZELStart(void) noexcept {
    CZELMessage::init();
    const bool hasTables = zel::HasDataDictionary() && zel::HasMessageTable();
    return CZELMessage::getVormaZelData() != nullptr && hasTables ? 0 : ZEL_NOT_STARTED;
}

extern "C" int ZELFindMessage(const char* name, int16_t* msgType, int16_t* subType) noexcept {
    if (name == nullptr || msgType == nullptr || subType == nullptr) {
        return ZEL_BAD_ARGUMENT;
    }
    return zel::FindMessageByName(name, msgType, subType) == 0 ? ZEL_OK : ZEL_NO_SUCH_MESSAGE;
}

extern "C" void ZELStop(void) noexcept {
    CZELMessage::terminate();
}
