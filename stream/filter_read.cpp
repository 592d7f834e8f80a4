// Reading received filters term by term.
#include "core/tables/dictionary.h"
#include "stream/filter_value.h"
#include "stream/logic_operator.h"
#include "stream/stream_buffer.h"

namespace {

// Results are 0, or -1 with `into` unchanged.
template <typename Value, auto kSetter>
inline int ReadValue(ZELStream& from, FilterValue& into) noexcept {
    Value value{};
    if (zel::StreamBuffer::Get(from, value) != 0) {
        return -1;
    }
    (into.*kSetter)(value);
    return 0;
}

inline int ReadText(ZELStream& from, FilterValue& into) noexcept {
    const char* bytes = nullptr;
    int length = 0;
    if (zel::StreamBuffer::Get(from, bytes, length) != 0 || length >= FilterValue::kTextCapacity) {
        return -1;
    }
    zel::SetValueText(into, bytes, length);
    return 0;
}

// Reads a value by its field's type, which the stream does not state.
inline int ReadTyped(ZELStream& from, FilterValue& into, std::uint16_t fieldType) noexcept {
    switch (fieldType) {
        case kZELShort:
            return ReadValue<short, &FilterValue::SetShort>(from, into);
        case kZELLong:
            return ReadValue<long, &FilterValue::SetLong>(from, into);
        case kZELInt:
            return ReadValue<int, &FilterValue::SetInt>(from, into);
        case kZELChars:
        case kZELText:
            return ReadText(from, into);
        case kZELFloat:
            return ReadValue<float, &FilterValue::SetFloat>(from, into);
        case kZELDouble:
            return ReadValue<double, &FilterValue::SetDouble>(from, into);
        case kZELDateTime:
            return ReadValue<_datetime, &FilterValue::SetDateTime>(from, into);
        case kZELMoney:
            return ReadValue<_money, &FilterValue::SetMoney>(from, into);
        default:
            return -1;
    }
}

}  // namespace

int ZELFilter::SetStream(const char* bytes, int length) noexcept {
    return zel::StreamBuffer::SetStream(*this, count, bytes, length);
}

int ZELFilter::GetFilterItem(ZELFilterItem& item) noexcept {
    short fieldId = 0;
    short code = 0;
    if (zel::StreamBuffer::Get(*this, fieldId) != 0) {
        return -1;
    }
    item.fieldId = fieldId;
    if (zel::StreamBuffer::Get(*this, code) != 0) {
        return -1;
    }
    // An invalid code leaves the item's comparison unchanged.
    static_cast<void>(zel::SetOperator(item.logicOperator, code));
    return ReadTyped(*this, item, zel::GetFldType(fieldId));
}
