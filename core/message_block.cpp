#include "core/message_block.h"

#include <algorithm>

#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

constexpr std::size_t kChunkSize = 4096;

// A block of up to this size is kept for the next message of its object; a larger one only if it is half used.
constexpr std::size_t kKeptSize = 65536;

constexpr std::size_t RoundUp(std::size_t size) noexcept {
    return (size + kValueAlignment - 1) & ~(kValueAlignment - 1);
}

constexpr std::size_t kSlotsAt = RoundUp(sizeof(MessageBlock));

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
        Release(previous);
    }
    auto* block = static_cast<MessageBlock*>(Allocate(size));
    if (block != nullptr) {
        block->size = size;
    }
    return block;
}

}  // namespace

MessageBlock* NewMessageBlock(MessageBlock* previous, const MessagePlan& plan, int slotCount,
                              std::size_t valueRoom) noexcept {
    const std::size_t slotBytes = static_cast<std::size_t>(slotCount) * sizeof(_field_data);
    const std::size_t passedBytes = static_cast<std::size_t>(plan.entryCount) * sizeof(std::uint16_t);
    const std::size_t valuesAt = RoundUp(kSlotsAt + slotBytes + passedBytes);
    MessageBlock* block = TakeBlock(previous, valuesAt + RoundUp(valueRoom));
    if (block == nullptr) {
        SendReport(reports::kModelAllocation);
        return nullptr;
    }
    char* memory = reinterpret_cast<char*>(block);
    block->buffer.count = static_cast<short>(slotCount);
    block->buffer.fields = reinterpret_cast<_field_data*>(memory + kSlotsAt);
    block->buffer.block = block;
    block->message = {};
    block->plan = &plan;
    block->ids = plan.ids;
    block->idMultiplier = plan.idMultiplier;
    block->idMask = plan.idMask;
    block->passed = reinterpret_cast<std::uint16_t*>(memory + kSlotsAt + slotBytes);
    block->nextValue = memory + valuesAt;
    block->valuesEnd = memory + (block->size & ~(kValueAlignment - 1));
    block->chunks = nullptr;
    return block;
}

void FreeMessageBlock(MessageBlock* block) noexcept {
    FreeChunks(*block);
    Release(block);
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
