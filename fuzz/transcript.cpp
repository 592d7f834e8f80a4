#include "fuzz/transcript.h"

#include <algorithm>

namespace zel::fuzz {

void Transcript::Record(int code, const char* text, void* transcript) {
    static_cast<Transcript*>(transcript)->text_.append(" !").append(std::to_string(code)).append(" ").append(text);
}

void Transcript::Tell(const char* what, long result) {
    text_.append(" ").append(what).append(" ").append(std::to_string(result));
}

void Transcript::Hex(const void* bytes, std::size_t size) {
    constexpr char kDigits[] = "0123456789abcdef";
    text_ += ' ';
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned byte = static_cast<const unsigned char*>(bytes)[i];
        text_ += kDigits[byte >> 4U];
        text_ += kDigits[byte & 15U];
    }
}

void Transcript::ShowSlot(const _field_data& slot) {
    Tell("slot", slot.id);
    Tell("presence", slot.presence);
    Tell("set", slot.isSet);
    Tell("length", slot.length);
    Tell("inline", slot.value == slot.inlineValue ? 1 : 0);
    // A value that was never set may be null.
    if (slot.value != nullptr) {
        // Of an inline value at most its eight bytes.
        const std::size_t room = slot.value == slot.inlineValue ? sizeof slot.inlineValue : slot.length;
        Hex(slot.value, std::min<std::size_t>(slot.length, room));
    }
}

void Transcript::Show(const CZELMessage& object) {
    Tell("type", object.msgType);
    Tell("sub", object.subType);
    Tell("service", object.serviceIdHigh);
    Tell("low", object.serviceIdLow);
    Tell("repeat", object.repeatCount);
    Tell("compress", object.compressMode);
    Tell("seq", object.sequence);
    ShowMessage(object.message);
}

void Transcript::ShowMessage(const ZelMsgStruct* message) {
    if (message == nullptr) {
        text_ += " none";
        return;
    }
    for (const long value :
         {long{message->msgType}, long{message->subType}, long{message->serviceIdHigh}, long{message->serviceIdLow},
          long{message->encryptFlag}, long{message->packFlags}, long{message->format}, long{message->version},
          long{message->msgIdSeq}, long{message->msgIdPart2}, long{message->msgIdPart3}, long{message->userData},
          long{message->varUserDataLen}, long{message->varUserDataOwned}, long{message->numFields},
          long{message->repeatCount}}) {
        Tell("", value);
    }
    if (message->varUserData != nullptr) {
        Hex(message->varUserData, message->varUserDataLen);
    }
    Tell("slots", message->dataBuf->count);
    for (int i = 0; i < message->dataBuf->count && i < kMostShown; ++i) {
        ShowSlot(message->dataBuf->fields[i]);
    }
}

}  // namespace zel::fuzz
