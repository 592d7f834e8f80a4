#include "core/tables/message_table.h"

#include <bit>
#include <bitset>

#include "runtime/allocator.h"

namespace zel {

namespace {

const ZELTypeNode* zelMessageTable = nullptr;

// The same while it may be read, else null.
const ZELTypeNode* tableInUse = nullptr;

// A hash table at most half full. Its places follow this record in memory.
struct MessageIndex {
    std::size_t mask;
    int shift;
};

std::atomic<MessageIndex*> messageIndex{nullptr};

IndexedMessage* PlacesOf(MessageIndex& index) noexcept {
    return reinterpret_cast<IndexedMessage*>(&index + 1);
}

std::uint32_t KeyOf(short msgType, short subType) noexcept {
    return static_cast<std::uint32_t>(msgType) << 16 | static_cast<std::uint16_t>(subType);
}

// The message's place, or the free one where the search for it ends. Of the product the high bits count: those spread
// rows of types and of sub-types alike.
IndexedMessage& PlaceFor(MessageIndex& index, std::uint32_t key) noexcept {
    std::size_t at = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15U) >> index.shift);
    while (PlacesOf(index)[at].node != nullptr && PlacesOf(index)[at].key != key) {
        at = (at + 1) & index.mask;
    }
    return PlacesOf(index)[at];
}

std::size_t CountSubTypes(const ZELTypeNode* type) noexcept {
    std::size_t count = 0;
    for (; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            ++count;
        }
    }
    return count;
}

// The first node of a type hides later ones, and of its sub-types the first hides later ones.
void FillIndex(MessageIndex& index) noexcept {
    std::bitset<65536> seen;
    for (const ZELTypeNode* type = tableInUse; type != nullptr; type = type->next) {
        auto mark = seen[static_cast<std::uint16_t>(type->type)];
        if (mark) {
            continue;
        }
        mark = true;
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            const std::uint32_t key = KeyOf(type->type, node->subType);
            IndexedMessage& place = PlaceFor(index, key);
            if (place.node == nullptr) {
                place.node = node;
                place.key = key;
            }
        }
    }
}

MessageIndex* NewIndex() noexcept {
    const std::size_t size = std::bit_ceil(CountSubTypes(tableInUse) * 2 + 2);
    auto* index = static_cast<MessageIndex*>(AllocateZeroed(sizeof(MessageIndex) + size * sizeof(IndexedMessage)));
    if (index != nullptr) {
        index->mask = size - 1;
        index->shift = 64 - std::countr_zero(size);
        FillIndex(*index);
    }
    return index;
}

// Threads may make it at once: one of theirs holds. Null without memory.
MessageIndex* MakeIndex() noexcept {
    MessageIndex* held = nullptr;
    MessageIndex* made = NewIndex();
    if (made != nullptr && messageIndex.compare_exchange_strong(held, made, std::memory_order_acq_rel)) {
        return made;
    }
    Release(made);
    return held;
}

MessageIndex* Index() noexcept {
    MessageIndex* index = messageIndex.load(std::memory_order_acquire);
    return index != nullptr || tableInUse == nullptr ? index : MakeIndex();
}

void DropIndex() noexcept {
    Release(messageIndex.exchange(nullptr, std::memory_order_relaxed));
}

// What the index stands for, as long as there is no memory for it.
const ZELSubTypeNode* WalkToSubType(short msgType, short subType) noexcept {
    const ZELTypeNode* type = tableInUse;
    while (type != nullptr && type->type != msgType) {
        type = type->next;
    }
    const ZELSubTypeNode* node = type != nullptr ? type->subTypes : nullptr;
    while (node != nullptr && node->subType != subType) {
        node = node->next;
    }
    return node;
}

}  // namespace

const ZELTypeNode* zelGetMessageTable() noexcept {
    return zelMessageTable;
}

void SetMessageTable(const ZELTypeNode* table) noexcept {
    zelMessageTable = table;
    tableInUse = table;
    DropIndex();
}

void CloseMessageTable() noexcept {
    tableInUse = nullptr;
    DropIndex();
}

bool HasMessageTable() noexcept {
    return tableInUse != nullptr;
}

const ZELSubTypeNode* FindSubType(short msgType, short subType) noexcept {
    MessageIndex* index = Index();
    return index != nullptr ? PlaceFor(*index, KeyOf(msgType, subType)).node : WalkToSubType(msgType, subType);
}

IndexedMessage* FindIndexedMessage(short msgType, short subType) noexcept {
    MessageIndex* index = Index();
    IndexedMessage* place = index != nullptr ? &PlaceFor(*index, KeyOf(msgType, subType)) : nullptr;
    return place != nullptr && place->node != nullptr ? place : nullptr;
}

}  // namespace zel
