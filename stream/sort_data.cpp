// Sort data: keys appended, loaded and read back.
#include "stream/stream_buffer.h"

namespace {

constexpr int kKeySize = 4;

// The word holds the low 16 bits of the number of keys, which the size of the keys tells.
bool CountFits(std::uint16_t word, int size) noexcept {
    return size % kKeySize == 0 && static_cast<std::uint16_t>(size / kKeySize) == word;
}

}  // namespace

void ZELSortData::InitSortData() noexcept {
    count = 0;
    ReserveCount();
}

ZELSortData::ZELSortData(const ZELSortData& source) noexcept : ZELSortData() {
    *this = source;
}

ZELSortData& ZELSortData::operator=(const ZELSortData& source) noexcept {
    if (this != &source) {
        count = CopyCounted(source) == 0 ? source.count : 0;
    }
    return *this;
}

int ZELSortData::AddSortData(short fieldId, short sortOrder) noexcept {
    if (PutShort(fieldId) != 0) {
        return -1;
    }
    if (PutShort(sortOrder) != 0) {
        Unwrite(2);
        return -1;
    }
    ++count;
    return 0;
}

char* ZELSortData::GetStream() noexcept {
    return FinishCounted(count);
}

int ZELSortData::SetStream(const char* bytes, int length) noexcept {
    return LoadCounted(bytes, length, CountFits, count);
}

int ZELSortData::GetSortItem(SortItem& item) noexcept {
    short number = 0;
    if (GetShort(number) != 0) {
        return -1;
    }
    item.fieldId = number;
    return GetShort(item.sortOrder);
}
