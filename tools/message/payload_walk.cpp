#include "tools/message/payload_walk.h"

#include <algorithm>

#include "core/wire/compression.h"
#include "tools/text/findings.h"

namespace zel::tools {

namespace {

// Finds the value at the reader by what the dictionary says of its field.
template <short format>
bool LocateByCatalog(const CatalogField& field, Reader& payload, WireValue& value) {
    const FieldRule rule{field.id, field.type, field.length, field.version};
    return WithShape(ShapeOf(field.type), [&](auto shape) {
        if constexpr (shape() == Shape::kNone) {
            return false;
        } else {
            return LocateValue<format, shape()>(rule, payload, value);
        }
    });
}

// Whether a value of format 2 is longer than its type: the rest of it is not kept.
bool IsOverlong(const Catalog& catalog, const WireField& field) {
    const Shape shape = ShapeOf(catalog.Field(field.id).type);
    return IsFixed(shape) && field.value.length > FixedWireSize(shape);
}

class SetSlots {
public:
    explicit SetSlots(const ZelMsgStruct& message) : buffer_(*message.dataBuf) {}

    // The next slot that has a value, or null.
    const _field_data* Next() {
        while (at_ < buffer_.count) {
            const _field_data& slot = buffer_.fields[at_++];
            if (slot.isSet != 0) {
                return &slot;
            }
        }
        return nullptr;
    }

private:
    const ZELDataBuf& buffer_;
    int at_ = 0;
};

std::string LostFields(std::uint16_t announced, std::size_t found) {
    return "the header announces " + Counted(announced, "field") + ", the payload has " + std::to_string(found);
}

std::string LostBytes(std::size_t count) {
    return Counted(count, "byte") + " after the last field left out";
}

// The fields that a sender of this version packs in format 1: all that the version has.
std::size_t CountPacked(const Catalog& catalog, int version, const ZELDataBuf& buffer) {
    return static_cast<std::size_t>(std::count_if(
        buffer.fields, buffer.fields + buffer.count,
        [&](const _field_data& slot) { return version == 0 || catalog.Field(slot.id).version <= version; }));
}

void WalkValues(const Catalog& catalog, const ZelMsgStruct& header, Reader payload, const ZelMsgStruct& message,
                PayloadFindings& findings) {
    const auto announced = static_cast<std::uint16_t>(header.numFields);
    SetSlots slots(message);
    std::size_t found = 0;
    WireValue value{};
    for (const _field_data* slot = slots.Next(); slot != nullptr; slot = slots.Next(), ++found) {
        if (!NextValue(catalog.Field(slot->id), payload, value)) {
            return;
        }
    }
    const std::size_t packed = CountPacked(catalog, header.version, *message.dataBuf);
    if (found != announced) {
        findings.lost = LostFields(announced, found);
    } else if (Remaining(payload) != 0) {
        findings.lost = LostBytes(Remaining(payload));
    } else if (found != packed) {
        findings.lost =
            "the header announces " + Counted(announced, "field") + ", the message has " + std::to_string(packed);
    }
}

void ListOrder(const Catalog& catalog, unsigned format, std::uint16_t count, Reader payload,
               PayloadFindings& findings) {
    WireField field{};
    for (; count != 0 && NextWireField(catalog, format, payload, field); --count) {
        findings.order.push_back(field.id);
    }
}

// Moves the reader over the field that `locate` finds.
template <typename Locate>
bool NextField(Reader& payload, WireField& field, const Locate& locate) {
    Reader reader = payload;
    if (Remaining(reader) < 2) {
        return false;
    }
    field.id = LoadU16Be(reader.next);
    if (!locate(reader)) {
        return false;
    }
    field.bytes = {payload.next, static_cast<std::size_t>(reader.next - payload.next)};
    payload = reader;
    return true;
}

}  // namespace

bool NextCountedField(Reader& payload, WireField& field) {
    return NextField(payload, field, [&field](Reader& reader) {
        return LocateValue<kIdLengthAndValue, Shape::kNone>({}, reader, field.value);
    });
}

bool NextValue(const CatalogField& field, Reader& payload, WireValue& value) {
    Reader reader = payload;
    const bool isRead = LocateByCatalog<kValueOnly>(field, reader, value);
    payload = isRead ? reader : payload;
    return isRead;
}

bool NextWireField(const Catalog& catalog, unsigned format, Reader& payload, WireField& field) {
    if (format == kIdLengthAndValue) {
        return NextCountedField(payload, field);
    }
    return NextField(payload, field, [&](Reader& reader) {
        return LocateByCatalog<kIdAndValue>(catalog.Field(field.id), reader, field.value);
    });
}

void WalkPayload(const Catalog& catalog, const ZelMsgStruct& header, Reader payload, const ZelMsgStruct& message,
                 PayloadFindings& findings) {
    if (IsCompressed(header.packFlags)) {
        const std::size_t after = BytesAfterCompressed(payload);
        findings.lost = after == 0 ? "" : Counted(after, "byte") + " after the compressed fields left out";
        return;
    }
    if (header.format == kValueOnly) {
        return WalkValues(catalog, header, payload, message, findings);
    }
    const auto announced = static_cast<std::uint16_t>(header.numFields);
    SetSlots slots(message);
    Reader rest = payload;
    WireField field{};
    bool inOrder = true;
    std::size_t found = 0;
    for (; found < announced && Remaining(rest) != 0; ++found) {
        if (!NextWireField(catalog, header.format, rest, field)) {
            return;
        }
        const _field_data* slot = slots.Next();
        inOrder = inOrder && slot != nullptr && slot->id == field.id;
        if (header.format == kIdLengthAndValue && IsOverlong(catalog, field)) {
            findings.lost = "field " + catalog.Field(field.id).name + " has a value of " +
                            std::to_string(field.value.length) + " bytes; cut to its type";
        }
    }
    if (found != announced) {
        findings.lost = LostFields(announced, found);
    } else if (Remaining(rest) != 0) {
        findings.lost = LostBytes(Remaining(rest));
    }
    if (!inOrder) {
        ListOrder(catalog, header.format, announced, payload, findings);
    }
}

}  // namespace zel::tools
