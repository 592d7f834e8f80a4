#include "core/message_table.h"

#include "core/dictionary.h"

namespace zel {

const ZELSubTypeNode* FindSubType(short msgType, short subType) noexcept {
    const ZELTypeNode* type = zelGetMessageTable();
    while (type != nullptr && type->type != msgType) {
        type = type->next;
    }
    if (type == nullptr) {
        return nullptr;
    }
    const ZELSubTypeNode* node = type->subTypes;
    while (node != nullptr && node->subType != subType) {
        node = node->next;
    }
    return node;
}

}  // namespace zel
