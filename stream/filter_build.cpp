// Building and copying filters.
#include "stream/filter_term.h"
#include "stream/logic_operator.h"

namespace {

template <typename... Value>
inline int AddComparison(ZELStream& to, std::uint32_t& count, short fieldId, const char* op,
                         const Value&... value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? zel::AddTerm(to, count, fieldId, code, value...) : -1;
}

}  // namespace

ZELFilter::ZELFilter() noexcept : count(0) {
    InitStream(zel::kStreamBlock);
    zel::StreamBuffer::ReserveCount(*this);
}

ZELFilter::~ZELFilter() noexcept {
    count = 0;
}

ZELFilter::ZELFilter(const ZELFilter& source) noexcept : ZELFilter() {
    *this = source;
}

ZELFilter& ZELFilter::operator=(const ZELFilter& source) noexcept {
    if (this != &source) {
        count = zel::StreamBuffer::Copy(*this, source) == 0 ? source.count : 0;
    }
    return *this;
}

int ZELFilter::AddFilter(short fieldId, const char* op, short value) noexcept {
    return AddComparison(*this, count, fieldId, op, value);
}

int ZELFilter::AddFilter(short fieldId, const char* op, long value) noexcept {
    return AddComparison(*this, count, fieldId, op, value);
}

int ZELFilter::AddFilter(short fieldId, const char* op, int value) noexcept {
    return AddComparison(*this, count, fieldId, op, value);
}

int ZELFilter::AddFilter(short fieldId, const char* op, float value) noexcept {
    return AddComparison(*this, count, fieldId, op, value);
}

int ZELFilter::AddFilter(short fieldId, const char* op, double value) noexcept {
    return AddComparison(*this, count, fieldId, op, value);
}

int ZELFilter::AddFilter(short fieldId, const char* op, const _money& value) noexcept {
    return AddComparison(*this, count, fieldId, op, value);
}

int ZELFilter::AddFilter(short fieldId, const char* op, const _datetime& value) noexcept {
    return AddComparison(*this, count, fieldId, op, value);
}

int ZELFilter::AddFilter(short fieldId, const char* op, const char* text, int length) noexcept {
    return AddComparison(*this, count, fieldId, op, text, length);
}

char* ZELFilter::GetStream() noexcept {
    return zel::StreamBuffer::GetStream(*this, count);
}
