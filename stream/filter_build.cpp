// The filter: its terms appended, its header written, itself copied.
#include "stream/logic_operator.h"
#include "stream/stream_buffer.h"

ZELFilter::ZELFilter() noexcept : count(0) {
    InitStream(zel::kStreamBlock);
    ReserveCount();
}

ZELFilter::~ZELFilter() noexcept {
    count = 0;
}

ZELFilter::ZELFilter(const ZELFilter& source) noexcept : ZELFilter() {
    *this = source;
}

ZELFilter& ZELFilter::operator=(const ZELFilter& source) noexcept {
    if (this != &source) {
        count = CopyCounted(source) == 0 ? source.count : 0;
    }
    return *this;
}

// A part of a term that finds no room takes the parts before it back.
inline int ZELFilter::PutTermHead(short fieldId, short code) noexcept {
    if (PutShort(fieldId) != 0) {
        return -1;
    }
    if (PutShort(code) != 0) {
        Unwrite(2);
        return -1;
    }
    return 0;
}

// `result` is that of the value behind the head.
inline int ZELFilter::EndTerm(int result) noexcept {
    if (result != 0) {
        Unwrite(4);
        return -1;
    }
    ++count;
    return 0;
}

int ZELFilter::AddFilter(short fieldId, short code, short value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutShort(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, long value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutLong(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, int value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutInt(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, float value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutFloat(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, double value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutDouble(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, const _money& value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutMoney(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, const _datetime& value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutDateTime(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, char value) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutInt(value)) : -1;
}

int ZELFilter::AddFilter(short fieldId, short code, const char* text, int length) noexcept {
    return PutTermHead(fieldId, code) == 0 ? EndTerm(PutString(text, length)) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, short value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, value) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, long value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, value) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, int value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, value) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, float value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, value) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, double value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, value) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, const _money& value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, value) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, const _datetime& value) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, value) : -1;
}

int ZELFilter::AddFilter(short fieldId, const char* op, const char* text, int length) noexcept {
    const short code = zel::OperatorCode(op);
    return code > 0 ? AddFilter(fieldId, code, text, length) : -1;
}

char* ZELFilter::GetStream() noexcept {
    return FinishCounted(count);
}
