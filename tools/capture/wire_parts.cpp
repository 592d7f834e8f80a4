#include "tools/capture/wire_parts.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "core/wire/compression.h"
#include "core/wire/header_numbers.h"
#include "tools/message/payload_walk.h"
#include "tools/text/findings.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"
#include "tools/text/value_listing.h"

namespace zel::tools {

namespace {

// What the number of a header field says.
std::string HeaderMeaning(HeaderFieldId fieldId, std::uint32_t value) {
    ZelMsgStruct numbers{};
    std::string text;
    const auto add = [&text](const char* before, auto number) {
        text += before;
        AppendNumber(text, number);
    };
    switch (fieldId) {
        case kFlags:
            SplitFlags(value, numbers);
            add("encryption ", numbers.encryptFlag);
            add(", packing ", numbers.packFlags);
            text += IsCompressed(numbers.packFlags) ? " (compressed)" : "";
            add(", format ", numbers.format);
            add(", version ", numbers.version);
            break;
        case kMsgType:
            add("type ", HighHalf(value));
            add(", sub-type ", LowHalf(value));
            break;
        case kServiceId:
            add("", static_cast<std::uint16_t>(HighHalf(value)));
            add(".", static_cast<std::uint16_t>(LowHalf(value)));
            break;
        case kMsgId:
            SplitMsgId(value, numbers);
            add("", numbers.msgIdSeq);
            add(".", numbers.msgIdPart2);
            add(".", numbers.msgIdPart3);
            break;
        case kUserData:
            add("", static_cast<std::int32_t>(value));
            break;
        default:
            text = Counted(value, "field");
    }
    return text;
}

std::string HeaderName(HeaderFieldId fieldId) {
    return std::to_string(fieldId) + ' ' + kHeaderFields[fieldId].name;
}

// A value as a message holds it in memory.
struct StoredValue {
    alignas(8) char memory[8];
    _field_data slot;
};

void Store(const CatalogField& field, const WireValue& value, StoredValue& stored) {
    stored = {};
    stored.slot.value = const_cast<char*>(value.bytes);  // nobody writes there
    stored.slot.length = value.length;
    WithShape(ShapeOf(field.type), [&](auto shape) {
        if constexpr (IsFixed(shape())) {
            (void)StoreValue<shape()>(value, stored.memory);
            stored.slot.value = stored.memory;
        }
    });
}

// The repetitions that the value of the field in front of a group announces.
std::size_t RepeatCountOf(const CatalogField& field, const StoredValue& stored) {
    const auto count = field.type == kZELShort ? ValueAt<std::int16_t>(stored.memory)
                                               : static_cast<std::int16_t>(ValueAt<std::uint32_t>(stored.memory));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

class PartsTaker {
public:
    PartsTaker(const Catalog* catalog, std::string_view frame, ExpandedPayload& room)
        : catalog_(catalog), begin_(frame.data()), in_{frame.data(), frame.data() + frame.size()}, room_(room) {}

    std::vector<WirePart> Take(FrameKind kind) {
        if (TakeFrame(kind) && TakeHeader()) {
            TakePayload();
        }
        return std::move(parts_);
    }

private:
    // A part from there to the reader.
    void Add(const char* from, std::string name, std::string meaning) {
        parts_.push_back({static_cast<std::size_t>(from - begin_), isExpanded_, false,
                          std::string_view(from, static_cast<std::size_t>(in_.next - from)), std::move(name),
                          std::move(meaning)});
    }

    // All that is left.
    bool AddFault(std::string name, std::string fault) {
        const char* from = std::exchange(in_.next, in_.end);
        Add(from, std::move(name), std::move(fault));
        parts_.back().isFault = true;
        return false;
    }

    bool TakeFrame(FrameKind kind) {
        const char* from = in_.next;
        if (!Skip(in_, FrameSize(kind))) {
            return AddFault("frame", "another begins inside it");
        }
        if (kind != FrameKind::kNone) {
            const long length = FrameLengthOf(from, FrameFormatOf(from));
            Add(from, "frame",
                (kind == FrameKind::kShort ? "short, " : "long, ") + Counted(static_cast<std::size_t>(length), "byte"));
        }
        return true;
    }

    bool IsNext(HeaderFieldId fieldId) const { return Remaining(in_) >= 2 && LoadU16Be(in_.next) == fieldId; }

    bool TakeHeader() {
        const auto expect = [this](auto fieldId, std::uint32_t& value) {
            const char* from = in_.next;
            if (!IsNext(fieldId())) {
                return AddFault(HeaderName(fieldId()), "does not stand here");
            }
            if (!DecodeNumber<fieldId()>(in_, value)) {
                return AddFault(HeaderName(fieldId()), "runs past the end");
            }
            Add(from, HeaderName(fieldId()), HeaderMeaning(fieldId(), value));
            return true;
        };
        std::uint32_t userData = 0;
        if (!ReadNumbers(expect, header_)) {
            return false;
        }
        if (!IsNext(kVarUserData)) {
            return expect(HeaderFieldConstant<kUserData>{}, userData);
        }
        const char* from = in_.next;
        WireValue value{};
        Reader reader = in_;
        if (!LocateValue<kIdAndValue, Shape::kCounted>({}, reader, value)) {
            return AddFault(HeaderName(kVarUserData), "runs past the end");
        }
        in_ = reader;
        std::string text;
        AppendQuoted(text, {value.bytes, value.length});
        Add(from, HeaderName(kVarUserData), text);
        return true;
    }

    void TakePayload() {
        if (IsCompressed(header_.packFlags)) {
            const std::optional<Reader> expanded = Expand(header_, in_, room_);
            if (!expanded) {
                AddFault("compressed payload", "cannot be expanded");
                return;
            }
            const char* from = std::exchange(in_.next, in_.end);
            Add(from, "compressed payload", "expands to " + Counted(Remaining(*expanded), "byte"));
            begin_ = expanded->next;
            in_ = *expanded;
            isExpanded_ = true;
        }
        const bool isReadable = header_.format == kValueOnly ? TakeValues() : TakeFields();
        const std::size_t announced = static_cast<std::uint16_t>(header_.numFields);
        if (isReadable && Remaining(in_) != 0) {
            AddFault("", Counted(Remaining(in_), "byte") + " after the last field");
        } else if (isReadable && found_ != announced) {
            AddFault("", "the header announces " + Counted(announced, "field") + ", here the payload ends");
        }
    }

    // Whether another announced field may stand in the rest of the payload.
    bool IsMoreAnnounced() const {
        return found_ < static_cast<std::uint16_t>(header_.numFields) && Remaining(in_) != 0;
    }

    std::string FieldName(std::uint16_t id) const {
        const std::string digits = std::to_string(id);
        const std::string name = catalog_ != nullptr && catalog_->Field(id).type != 0 ? catalog_->Field(id).name : "";
        return name.empty() || name == digits ? digits : digits + ' ' + name;
    }

    // The value's text; what stands in `stored` is the value.
    std::string ValueText(const CatalogField& field, const WireValue& value, StoredValue& stored) const {
        Store(field, value, stored);
        std::string text;
        AppendValueListing(text, {field.type, field.length}, stored.slot);
        return text;
    }

    // Fields with ids, in the formats 0 and 2.
    bool TakeFields() {
        const bool isCounted = header_.format == kIdLengthAndValue;
        if (!isCounted && header_.format != kIdAndValue) {
            return AddFault("", "fields of format " + std::to_string(header_.format) + ", which is none");
        }
        if (!isCounted && catalog_ == nullptr) {
            return AddFault("", "without a dictionary nothing tells where the fields end");
        }
        StoredValue stored;
        for (; IsMoreAnnounced(); ++found_) {
            const char* from = in_.next;
            if (Remaining(in_) < 2) {
                return AddFault("", "a field runs past the end");
            }
            const std::uint16_t id = LoadU16Be(from);
            const CatalogField field = catalog_ != nullptr ? catalog_->Field(id) : CatalogField{};
            WireField found{};
            if (!isCounted && field.type == 0) {
                return AddFault(FieldName(id), "not in the dictionary: nothing tells where it ends");
            }
            Reader reader = in_;
            if (!(isCounted ? NextCountedField(reader, found)
                            : NextWireField(*catalog_, header_.format, reader, found))) {
                return AddFault(FieldName(id), "runs past the end");
            }
            const Shape shape = ShapeOf(field.type);
            if (isCounted && IsFixed(shape) && found.value.length < FixedWireSize(shape)) {
                return AddFault(FieldName(id), "has a value of " + Counted(found.value.length, "byte") +
                                                   "; its type has " + std::to_string(FixedWireSize(shape)));
            }
            in_ = reader;
            Add(from, FieldName(id), ValueText(field, found.value, stored));
        }
        return true;
    }

    // Fields without ids, in the order of the message table.
    bool TakeValues() {
        const CatalogMessage* kind =
            catalog_ != nullptr ? catalog_->FindMessage(header_.msgType, header_.subType) : nullptr;
        if (kind == nullptr) {
            return AddFault("", "fields without ids: only the message's type in a dictionary tells them");
        }
        const std::size_t groupEnd = kind->groupStart + kind->groupSize;
        std::size_t repetitions = 0;  // still to come
        StoredValue stored;
        for (std::size_t entry = 0; entry < kind->entries.size() && IsMoreAnnounced(); ++found_) {
            const CatalogField& field = *kind->entries[entry].field;
            const char* from = in_.next;
            WireValue value{};
            if (!NextValue(field, in_, value)) {
                return AddFault(FieldName(field.id), field.type == 0 ? "not in the dictionary" : "runs past the end");
            }
            Add(from, FieldName(field.id), ValueText(field, value, stored));
            ++entry;
            if (entry == kind->groupStart && kind->groupSize != 0) {
                repetitions = IsFixed(ShapeOf(field.type)) ? RepeatCountOf(field, stored) : 0;
            } else if (entry == groupEnd && kind->groupSize != 0 && repetitions != 0) {
                --repetitions;
            }
            if (kind->groupSize != 0 && (entry == kind->groupStart || entry == groupEnd)) {
                entry = repetitions != 0 ? kind->groupStart : groupEnd;
            }
        }
        return true;
    }

    const Catalog* catalog_;
    const char* begin_;  // of the frame, or of the expanded payload
    Reader in_;
    ExpandedPayload& room_;
    ZelMsgStruct header_{};
    bool isExpanded_ = false;
    std::size_t found_ = 0;
    std::vector<WirePart> parts_;
};

void AppendCell(std::string& out, std::string_view text, std::size_t width) {
    out += text;
    out.append(width - std::min(width, text.size()) + 2, ' ');
}

}  // namespace

std::vector<WirePart> TakeApart(const Catalog* catalog, std::string_view frame, FrameKind kind, ExpandedPayload& room) {
    return PartsTaker(catalog, frame, room).Take(kind);
}

void AppendParts(std::string& out, const std::vector<WirePart>& parts) {
    constexpr std::size_t kBytesPerLine = 8;
    constexpr std::size_t kBytesWidth = 3 * kBytesPerLine - 1;
    constexpr std::size_t kOffsetWidth = 6;
    std::size_t nameWidth = 0;
    for (const WirePart& part : parts) {
        nameWidth = std::max(nameWidth, part.name.size());
    }
    for (const WirePart& part : parts) {
        std::size_t at = 0;
        do {
            std::string offset(part.isExpanded ? 1 : 0, '+');
            AppendNumber(offset, part.offset + at);
            out += part.isFault && at == 0 ? "> " : "  ";
            out.append(kOffsetWidth - std::min(kOffsetWidth, offset.size()), ' ');
            AppendCell(out, offset, 0);
            std::string bytes;
            AppendSpacedHex(bytes, part.bytes.data() + at, std::min(kBytesPerLine, part.bytes.size() - at));
            AppendCell(out, bytes, kBytesWidth);
            if (at == 0) {
                AppendCell(out, part.name, nameWidth);
                out += part.meaning;
            }
            out.erase(out.find_last_not_of(' ') + 1);
            out += '\n';
            at += kBytesPerLine;
        } while (at < part.bytes.size());
    }
}

}  // namespace zel::tools
