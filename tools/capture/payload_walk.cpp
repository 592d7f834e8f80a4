#include "tools/capture/payload_walk.h"

#include "tools/text/findings.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

constexpr unsigned kValueOnly = 1;
constexpr unsigned kIdLengthAndValue = 2;

// The size of a value without id and length of its own field format; false when it does not fit.
bool ValueSize(const CatalogField& field, std::string_view rest, std::size_t& size) {
    if (field.type == 0 || field.length < 0) {
        return false;
    }
    size = static_cast<std::size_t>(field.length);
    if (size == 0) {
        if (rest.size() < 2) {
            return false;
        }
        size = std::size_t{2} + LoadU16(rest.data());
    }
    return size <= rest.size();
}

// Whether a value of format 2 is longer than its type: the rest of it is not kept.
bool IsOverlong(const Catalog& catalog, const WireField& field) {
    const CatalogField& known = catalog.Field(field.id);
    const image::FieldTypeRule* rule = image::FindFieldTypeRule(known.type);
    return rule != nullptr && rule->length > 0 && field.size - 4 > static_cast<std::size_t>(rule->length);
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
    return Counted(count, "byte") + " behind the last field left out";
}

// The fields that a sender of this version packs in format 1: all that the version has.
std::size_t CountPacked(const Catalog& catalog, unsigned version, const ZELDataBuf& buffer) {
    std::size_t count = 0;
    for (int i = 0; i < buffer.count; ++i) {
        const bool isNewer = catalog.Field(buffer.fields[i].id).version > static_cast<int>(version);
        count += version == 0 || !isNewer ? 1U : 0U;
    }
    return count;
}

void WalkValues(const Catalog& catalog, const HeaderNumbers& header, std::string_view payload,
                const ZelMsgStruct& message, PayloadFindings& findings) {
    SetSlots slots(message);
    std::size_t found = 0;
    std::size_t size = 0;
    for (const _field_data* slot = slots.Next(); slot != nullptr; slot = slots.Next(), ++found) {
        if (!ValueSize(catalog.Field(slot->id), payload, size)) {
            return;
        }
        payload.remove_prefix(size);
    }
    const std::size_t packed = CountPacked(catalog, Version(header.flags), *message.dataBuf);
    if (found != header.numFields) {
        findings.lost = LostFields(header.numFields, found);
    } else if (!payload.empty()) {
        findings.lost = LostBytes(payload.size());
    } else if (found != packed) {
        findings.lost = "the header announces " + Counted(header.numFields, "field") + ", the message has " +
                        std::to_string(packed);
    }
}

void ListOrder(const Catalog& catalog, unsigned format, std::uint16_t count, std::string_view payload,
               PayloadFindings& findings) {
    WireField field{};
    for (; count != 0 && NextWireField(catalog, format, payload, field); --count) {
        findings.order.push_back(field.id);
        payload.remove_prefix(field.size);
    }
}

}  // namespace

bool NextWireField(const Catalog& catalog, unsigned format, std::string_view rest, WireField& field) {
    if (rest.size() < 2) {
        return false;
    }
    field.id = LoadU16(rest.data());
    if (format != kIdLengthAndValue) {
        std::size_t size = 0;
        const bool known = ValueSize(catalog.Field(field.id), rest.substr(2), size);
        field.size = 2 + size;
        return known;
    }
    if (rest.size() < 4) {
        return false;
    }
    field.size = std::size_t{4} + LoadU16(rest.data() + 2);
    return field.size <= rest.size();
}

void WalkPayload(const Catalog& catalog, const HeaderNumbers& header, std::string_view payload,
                 const ZelMsgStruct& message, PayloadFindings& findings) {
    const unsigned format = FieldFormat(header.flags);
    if (format == kValueOnly) {
        return WalkValues(catalog, header, payload, message, findings);
    }
    SetSlots slots(message);
    std::string_view rest = payload;
    WireField field{};
    bool inOrder = true;
    std::size_t found = 0;
    for (; found < header.numFields && !rest.empty(); ++found) {
        if (!NextWireField(catalog, format, rest, field)) {
            return;
        }
        const _field_data* slot = slots.Next();
        inOrder = inOrder && slot != nullptr && slot->id == field.id;
        if (format == kIdLengthAndValue && IsOverlong(catalog, field)) {
            findings.lost = "field " + catalog.Field(field.id).name + " has a value of " +
                            std::to_string(field.size - 4) + " bytes; cut to its type";
        }
        rest.remove_prefix(field.size);
    }
    if (found != header.numFields) {
        findings.lost = LostFields(header.numFields, found);
    } else if (!rest.empty()) {
        findings.lost = LostBytes(rest.size());
    }
    if (!inOrder) {
        ListOrder(catalog, format, header.numFields, payload, findings);
    }
}

}  // namespace zel::tools
