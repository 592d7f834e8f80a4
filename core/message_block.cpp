#include "core/message_block.h"

#include <algorithm>
#include <atomic>

#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

std::atomic<int> liveMessages{0};

void CountMessages(int change) noexcept {
    if constexpr (kChecksContracts) {
        liveMessages.fetch_add(change, std::memory_order_relaxed);
    }
}

constexpr std::size_t kChunkSize = 4096;
static_assert(kChunkSize % kValueAlignment == 0);

// A block of up to this size is kept for the next message of its object; a larger one only if it is half used.
constexpr std::size_t kKeptSize = 65536;

constexpr std::size_t RoundUp(std::size_t size) noexcept {
    return (size + kValueAlignment - 1) & ~(kValueAlignment - 1);
}

// So few slots are kept as they start, for the next message of the same type and repeat count.
constexpr int kMostKeptSlots = 128;

constexpr _field_data kNoSlot = {0, 0, 0, nullptr, 0, {}, 0, static_cast<unsigned char>(SlotKind::kNotPlain), 0, 0};

void FreeChunks(MessageBlock& block) noexcept {
    while (ValueChunk* chunk = block.chunks) {
        block.chunks = chunk->next;
        Release(chunk);
    }
}

// A block of at least `size` bytes whose chunks are freed, or null.
MessageBlock* TakeBlock(MessageBlock* previous, std::size_t size) noexcept {
    if (previous != nullptr) {
        FreeChunks(*previous);
        if (previous->size >= size && (previous->size <= kKeptSize || previous->size / 2 <= size)) {
            return previous;
        }
        CountMessages(-1);
        Release(previous);
    }
    auto* block = static_cast<MessageBlock*>(Allocate(size));
    if (block != nullptr) {
        CountMessages(1);
        block->size = size;
    }
    return block;
}

}  // namespace

MessageBlock* NewMessageBlock(MessageBlock* previous, const MessagePlan& plan, int slotCount,
                              std::size_t valueRoom) noexcept {
    const std::size_t slotBytes = static_cast<std::size_t>(slotCount) * sizeof(_field_data);
    const std::size_t behindSlots = slotBytes + sizeof(_field_data);
    const std::size_t keptBytes = slotCount <= kMostKeptSlots ? slotBytes : 0;
    const std::size_t passedBytes = static_cast<std::size_t>(plan.entryCount) * sizeof(std::uint16_t);
    const std::size_t valuesAt = RoundUp(sizeof(MessageBlock) + behindSlots + keptBytes + passedBytes);
    MessageBlock* block = TakeBlock(previous, valuesAt + RoundUp(valueRoom));
    if (block == nullptr) {
        SendReport(reports::kModelAllocation);
        return nullptr;
    }
    char* next = reinterpret_cast<char*>(SlotsOf(*block)) + behindSlots;
    SlotsOf(*block)[slotCount] = kNoSlot;
    block->buffer.count = static_cast<short>(slotCount);
    block->buffer.fields = SlotsOf(*block);
    block->buffer.block = block;
    block->plan = &plan;
    block->table = plan.table;
    block->ids = plan.ids;
    block->idMultiplier = plan.idMultiplier;
    block->idMask = plan.idMask;
    block->hasKeptSlots = false;
    block->keptSlots = keptBytes != 0 ? reinterpret_cast<_field_data*>(next) : nullptr;
    block->passed = reinterpret_cast<std::uint16_t*>(next + keptBytes);
    block->values = reinterpret_cast<char*>(block) + valuesAt;
    block->chunks = nullptr;
    RestartMessageBlock(*block);
    return block;
}

void RestartMessageBlock(MessageBlock& block) noexcept {
    FreeChunks(block);
    block.message = {};
    block.expected = SlotsOf(block);
    block.nextValue = block.values;
    block.valuesEnd = block.values + ValueRoom(block);
}

void FreeMessageBlock(MessageBlock* block) noexcept {
    FreeChunks(*block);
    CountMessages(-1);
    Release(block);
}

int LiveMessages() noexcept {
    return liveMessages.load(std::memory_order_relaxed);
}

char* CarveFromNewChunk(MessageBlock& block, std::size_t size) noexcept {
    const std::size_t room = std::max(size, kChunkSize);
    auto* chunk = static_cast<ValueChunk*>(Allocate(sizeof(ValueChunk) + room));
    if (chunk == nullptr) {
        SendReport(reports::kValueAllocation);
        return nullptr;
    }
    chunk->next = block.chunks;
    block.chunks = chunk;
    char* value = reinterpret_cast<char*>(chunk + 1);
    // What is left of the old room is given up only for more of it.
    if (room - size > static_cast<std::size_t>(block.valuesEnd - block.nextValue)) {
        block.nextValue = value + size;
        block.valuesEnd = value + room;
    }
    return value;
}

}  // namespace zel
