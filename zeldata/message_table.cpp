#include "zeldata/message_table.h"

#include <new>

namespace zel::image {

namespace {

// Makes the node of every sub-type and links each to the next. The caller cuts the link after the last one of each
// type.
ZELSubTypeNode* LinkSubTypes(const ImageView& view, void* memory) noexcept {
    const std::uint32_t count = view.header->subTypeCount;
    auto* nodes = static_cast<ZELSubTypeNode*>(memory);
    for (std::uint32_t i = 0; i < count; ++i) {
        const ImageSubType& from = view.subTypes[i];
        const ZELSubTypeNode* next = i + 1 < count ? nodes + i + 1 : nullptr;
        new (nodes + i) ZELSubTypeNode{
            from.subType, from.repeatFieldId, from.groupSize, from.fieldCount, view.fieldLists + from.firstField, next};
    }
    return nodes;
}

}  // namespace

std::size_t MessageTableSize(const ImageView& view) noexcept {
    // Below 2^32 for the largest image.
    return view.header->typeCount * sizeof(ZELTypeNode) + view.header->subTypeCount * sizeof(ZELSubTypeNode);
}

const ZELTypeNode* LinkMessageTable(const ImageView& view, void* memory) noexcept {
    const std::uint32_t count = view.header->typeCount;
    auto* types = static_cast<ZELTypeNode*>(memory);
    ZELSubTypeNode* subTypes = LinkSubTypes(view, types + count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const ImageType& from = view.types[i];
        const ZELTypeNode* next = i + 1 < count ? types + i + 1 : nullptr;
        new (types + i) ZELTypeNode{from.type, subTypes + from.firstSubType, next};
        subTypes[from.firstSubType + from.subTypeCount - 1].next = nullptr;
    }
    return count == 0 ? nullptr : types;
}

}  // namespace zel::image
