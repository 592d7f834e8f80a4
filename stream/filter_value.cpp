// The value of a term, and the term as a record.
#include "stream/filter_value.h"

#include <cstring>

#include "include/zelprovider.h"

namespace {

// The bytes before the first zero byte, or `limit` when the first `limit` bytes have none.
int TextLength(const char* text, int limit) noexcept {
    const void* terminator = std::memchr(text, '\0', static_cast<std::size_t>(limit));
    return terminator != nullptr ? static_cast<int>(static_cast<const char*>(terminator) - text) : limit;
}

// Copies the value if the source's type is valid. Programs may write the members, so a text without a terminator is cut
// to its capacity.
void CopyMember(FilterValue& to, const FilterValue& from) noexcept {
    switch (from.type) {
        case kZELShort:
            return to.SetShort(from.value.shortValue);
        case kZELLong:
            return to.SetLong(from.value.longValue);
        case kZELInt:
            return to.SetInt(from.value.intValue);
        case kZELChars:
            return to.SetChar(from.value.charValue);
        case kZELText:
            return zel::SetValueText(to, from.value.text, TextLength(from.value.text, FilterValue::kTextCapacity - 1));
        case kZELFloat:
            return to.SetFloat(from.value.floatValue);
        case kZELDouble:
            return to.SetDouble(from.value.doubleValue);
        case kZELDateTime:
            return to.SetDateTime(from.value.dateTimeValue);
        case kZELMoney:
            return to.SetMoney(from.value.moneyValue);
        default:
            return;
    }
}

}  // namespace

FilterValue::FilterValue() noexcept {
    Reset();
}

FilterValue::~FilterValue() noexcept {
    Reset();
}

FilterValue::FilterValue(const FilterValue& source) noexcept {
    Reset();
    *this = source;
}

FilterValue& FilterValue::operator=(const FilterValue& source) noexcept {
    if (this != &source) {
        type = source.type;
        CopyMember(*this, source);
    }
    return *this;
}

int FilterValue::SetString(const char* from) noexcept {
    const int length = from != nullptr ? TextLength(from, kTextCapacity) : kTextCapacity;
    if (length == kTextCapacity) {
        return -1;
    }
    zel::SetValueText(*this, from, length);
    return length + 1;
}

void FilterValue::Reset() noexcept {
    type = kZELText;
    static_assert(sizeof value.text == sizeof value);
    std::memset(value.text, 0, sizeof value.text);
}

ZELFilterItem::ZELFilterItem() noexcept : fieldId(-1) {}

ZELFilterItem::~ZELFilterItem() noexcept {
    fieldId = -1;
}

ZELFilterItem::ZELFilterItem(const ZELFilterItem& source) noexcept : ZELFilterItem() {
    *this = source;
}

ZELFilterItem& ZELFilterItem::operator=(const ZELFilterItem& source) noexcept {
    if (this != &source) {
        fieldId = source.fieldId;
        static_cast<void>(logicOperator.SetText(source.logicOperator.text));
        CopyMember(*this, source);
    }
    return *this;
}
