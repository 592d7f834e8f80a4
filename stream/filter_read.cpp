// The filter received: taken over when its header does not contradict its length, and read term by term.
#include "core/tables/dictionary.h"
#include "stream/filter_value.h"
#include "stream/logic_operator.h"
#include "stream/stream_buffer.h"

namespace {

// Field id, code and the shortest values, a short and an empty text.
constexpr int kShortestTerm = 6;

// Whether `size` bytes of terms can be as many as the count word says. The word holds the low 16 bits of the number, so
// 0 with bytes behind it stands for 65536 at the least.
bool CountFits(std::uint16_t word, int size) noexcept {
    const int fewest = word == 0 && size > 0 ? 0x10000 : word;
    return fewest <= size / kShortestTerm;
}

}  // namespace

int ZELFilter::SetStream(const char* bytes, int length) noexcept {
    return LoadCounted(bytes, length, CountFits, count);
}

// Reads a value as its field's type says: the stream itself does not tell. `into` is as it was when this fails.
inline int ZELFilter::GetValue(FilterValue& into, std::uint16_t fieldType) noexcept {
    switch (fieldType) {
        case kZELShort: {
            short read = 0;
            if (GetShort(read) != 0) {
                return -1;
            }
            into.SetShort(read);
            return 0;
        }
        case kZELLong: {
            long read = 0;
            if (GetLong(read) != 0) {
                return -1;
            }
            into.SetLong(read);
            return 0;
        }
        case kZELInt: {
            int read = 0;
            if (GetInt(read) != 0) {
                return -1;
            }
            into.SetInt(read);
            return 0;
        }
        case kZELChars:
        case kZELText: {
            const char* bytes = nullptr;
            int length = 0;
            if (GetString(bytes, length) != 0 || length >= FilterValue::kTextCapacity) {
                return -1;
            }
            zel::SetValueText(into, bytes, length);
            return 0;
        }
        case kZELFloat: {
            float read = 0;
            if (GetFloat(read) != 0) {
                return -1;
            }
            into.SetFloat(read);
            return 0;
        }
        case kZELDouble: {
            double read = 0;
            if (GetDouble(read) != 0) {
                return -1;
            }
            into.SetDouble(read);
            return 0;
        }
        case kZELDateTime: {
            _datetime read{};
            if (GetDateTime(read) != 0) {
                return -1;
            }
            into.SetDateTime(read);
            return 0;
        }
        case kZELMoney: {
            _money read{};
            if (GetMoney(read) != 0) {
                return -1;
            }
            into.SetMoney(read);
            return 0;
        }
        default:
            return -1;
    }
}

int ZELFilter::GetFilterItem(ZELFilterItem& item) noexcept {
    short fieldId = 0;
    short code = 0;
    if (GetShort(fieldId) != 0) {
        return -1;
    }
    const int codeRead = GetShort(code);
    item.fieldId = fieldId;
    if (codeRead != 0) {
        return -1;
    }
    // A code that is none leaves the item the comparison that it has.
    static_cast<void>(zel::SetOperator(item.logicOperator, code));
    return GetValue(item, zel::GetFldType(fieldId));
}
