#include "fuzz/received_bytes.h"

namespace zel::fuzz {

std::string Big(std::uint32_t value, int size) {
    std::string bytes;
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

std::size_t FrameSize(std::string_view bytes) {
    return static_cast<unsigned char>(bytes[1]) >> 4U == 1 ? 4 : 6;
}

bool SetFrameLength(std::string& bytes) {
    const std::size_t frameSize = FrameSize(bytes);
    const auto size = static_cast<std::uint32_t>(bytes.size() - frameSize);
    for (std::size_t at = 2; at < frameSize; ++at) {
        bytes[at] = static_cast<char>(size >> 8 * (at - 2) & 0xFF);
    }
    return frameSize == 6 || size <= 32767;
}

namespace {

std::string PayloadField(Input& input, const GeneratedTables& tables, int subType, int format) {
    const std::uint16_t id = tables.FieldId(input, subType);
    const std::string front = format == 1 ? "" : Big(id, 2);
    constexpr int kSizes[] = {0, 2, 4, 4, 0, 0, 4, 8, 8, 6, 0, 0, 0};
    const ZELDictionaryField& record = tables.Field(id);
    const int type = id == 0 ? 0 : record.type;
    std::size_t size = static_cast<std::size_t>(type < 13 ? kSizes[type] : 0);
    if (type == kZELChars) {
        size = record.length > 0 ? static_cast<std::size_t>(record.length) : 0;
    }
    const bool counted = type == kZELText || type == kZELBytes10 || type == kZELBytes11;
    if (counted || size == 0 || input.OneIn(16)) {
        size = static_cast<std::size_t>(input.Below(20));
    }
    const std::string value = input.Bytes(size);
    const bool lies = input.OneIn(32);
    const auto stated = static_cast<std::uint32_t>(lies ? input.Byte() : size);
    return front + (format == 2 || counted ? Big(stated, 2) : "") + value;
}

}  // namespace

std::string ForeignMessage(Input& input, const GeneratedTables& tables, int subType) {
    const int format = input.Below(input.OneIn(16) ? 16 : 3);
    const int packFlags = input.OneIn(8) ? input.Below(16) : 1;
    const int encrypt = input.OneIn(8) ? input.Below(16) : 0;
    std::string payload;
    int fields = input.Below(24);
    const ZELSubTypeNode& node = tables.Node(subType);
    const int count = node.repeatFieldId != 0 ? input.Below(6) : 0;
    if (node.repeatFieldId != 0 && format != 1 && input.Below(4) != 0) {
        const int size = tables.Field(node.repeatFieldId).type == kZELInt ? 4 : 2;
        payload = Big(node.repeatFieldId, 2) + (format == 2 ? Big(static_cast<std::uint32_t>(size), 2) : "") +
                  Big(static_cast<std::uint32_t>(count), size);
    }
    for (int field = 0; field < fields; ++field) {
        payload += PayloadField(input, tables, subType, format);
    }
    fields += (payload.empty() ? 0 : 1) + (input.OneIn(8) ? input.Below(3) - 1 : 0);
    const int version = input.Below(4);
    std::string message = std::string("\x01\x30\0\0\0\0", 6) + Big(1, 2);
    message += Big(static_cast<std::uint32_t>(encrypt << 12 | packFlags << 8 | format << 4 | version), 2);
    message += Big(2, 2) + Big(static_cast<std::uint32_t>(GeneratedTables::kType << 16 | subType), 4);
    message += Big(3, 2) + input.Bytes(4);
    message += Big(4, 2) + input.Bytes(4);
    message += Big(5, 2) + Big(static_cast<std::uint32_t>(fields), 2);
    if (input.OneIn(8)) {
        const auto size = static_cast<std::size_t>(input.Below(10));
        message += Big(7, 2) + Big(static_cast<std::uint32_t>(size), 2) + input.Bytes(size);
    } else {
        message += Big(6, 2) + input.Bytes(4);
    }
    return message + payload;
}

}  // namespace zel::fuzz
