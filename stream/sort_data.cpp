// Building, copying and reading sort data.
#include "stream/stream_buffer.h"

void ZELSortData::InitSortData() noexcept {
    count = 0;
    zel::StreamBuffer::ReserveCount(*this);
}

ZELSortData::ZELSortData(const ZELSortData& source) noexcept : ZELSortData() {
    *this = source;
}

ZELSortData& ZELSortData::operator=(const ZELSortData& source) noexcept {
    if (this != &source) {
        count = zel::StreamBuffer::Copy(*this, source) == 0 ? source.count : 0;
    }
    return *this;
}

int ZELSortData::AddSortData(short fieldId, short sortOrder) noexcept {
    if (zel::StreamBuffer::PutPair(*this, fieldId, sortOrder) != 0) {
        return -1;
    }
    ++count;
    return 0;
}

char* ZELSortData::GetStream() noexcept {
    return zel::StreamBuffer::GetStream(*this, count);
}

int ZELSortData::SetStream(const char* bytes, int length) noexcept {
    return zel::StreamBuffer::SetStream(*this, count, bytes, length);
}

int ZELSortData::GetSortItem(SortItem& item) noexcept {
    short fieldId = 0;
    if (zel::StreamBuffer::Get(*this, fieldId) != 0) {
        return -1;
    }
    item.fieldId = fieldId;
    return zel::StreamBuffer::Get(*this, item.sortOrder);
}
