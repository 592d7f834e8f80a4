#include "core/wire/field_codec.h"

namespace zel {

namespace {

// Calls `handle` with the format as a constant, or returns `other` for one that is none.
template <typename Handle, typename Result>
Result WithFormat(short format, Result other, const Handle& handle) noexcept {
    switch (format) {
        case kIdAndValue:
            return handle(std::integral_constant<short, kIdAndValue>{});
        case kValueOnly:
            return handle(std::integral_constant<short, kValueOnly>{});
        case kIdLengthAndValue:
            return handle(std::integral_constant<short, kIdLengthAndValue>{});
        default:
            return other;
    }
}

bool IsFormat(short format) noexcept {
    return format >= kIdAndValue && format <= kIdLengthAndValue;
}

}  // namespace

bool PackZELField(const FieldRule& rule, const PlainValue& value, Writer& out, short format) noexcept {
    if (rule.id == 0 || out.next == nullptr) {
        SendReport(reports::kPackFieldFailed);
        return false;
    }
    if (!IsFormat(format)) {
        SendReport(reports::kPackFormatInvalid);
        return false;
    }
    if (value.at == nullptr) {
        return (!CarriesId(format) || WriteU16Be(out, rule.id)) &&
               (format != kIdLengthAndValue || WriteU16Be(out, value.size)) && PackZELEmptyField(rule, out, format);
    }
    const Shape shape = ShapeOf(rule.type);
    if (shape == Shape::kNone) {
        SendReportWith(reports::kPackTypeUnknown, rule.id, rule.type);
        return false;
    }
    return WithFormat(format, false,
                      [&](auto constant) { return EncodeAnyField<constant()>(shape, rule, value, out); });
}

bool PackZELEmptyField(const FieldRule& rule, Writer& out, short format) noexcept {
    if (format == kIdLengthAndValue) {
        return WriteZeros(out, 2);
    }
    if (rule.length < 0) {
        SendReportWith(reports::kPackEmptyUnknown, rule.id, -1);
        return false;
    }
    const bool isCounted = rule.type == kZELText || rule.type == kZELBytes11;
    return WriteZeros(out, isCounted ? 2 : static_cast<std::size_t>(rule.length));
}

int UnpackZELField(const FieldRule& rule, Reader in, void* value, std::size_t capacity, unsigned short* length,
                   short format) noexcept {
    if (rule.id == 0 || in.next == nullptr || value == nullptr || length == nullptr) {
        SendReport(reports::kUnpackFieldFailed);
        return -1;
    }
    if (!IsFormat(format)) {
        SendReport(reports::kUnpackFormatInvalid);
        return -1;
    }
    const Shape shape = ShapeOf(rule.type);
    // In format 2 a type that nobody knows passes as raw bytes.
    if (shape == Shape::kNone && format != kIdLengthAndValue) {
        SendReportWith(reports::kUnpackTypeUnknown, rule.type);
        return -1;
    }
    return WithFormat(format, -1, [&](auto formatConstant) {
        return WithShape(shape, [&](auto shapeConstant) {
            WireValue wire{};
            const std::size_t ending = rule.type == kZELText ? 1 : 0;
            if (!LocateValue<formatConstant(), shapeConstant()>(rule, in, wire) ||
                StoredSize<shapeConstant()>(wire) + ending > capacity) {
                return -1;
            }
            *length = StoreValue<shapeConstant()>(wire, value);
            if (ending != 0) {
                static_cast<char*>(value)[*length] = '\0';
            }
            return 0;
        });
    });
}

Step GetNextField(Reader& in, short format) noexcept {
    const unsigned short fieldId = UnpackZELFieldId(in);
    if (in.next == nullptr) {
        SendReport(reports::kGetNextFieldFailed);
        return Step::kLost;
    }
    if (Remaining(in) < 2) {
        return Step::kPastEnd;
    }
    if (format == kIdLengthAndValue) {
        return StepOverField<kIdLengthAndValue>({}, in);
    }
    return StepOverField<kIdAndValue>(RuleOf(fieldId), in);
}

}  // namespace zel
