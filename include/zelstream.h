// Filter and sort streams: byte strings that travel as field values of messages. ZELFilter builds and reads a list of
// terms (field, comparison, value), ZELSortData a list of sort keys (field, order).
//
// What holds for every operation here:
//  - No exception leaves the library. An int result is 0 on success and -1 on failure. Nothing is reported to the error
//    sink, except by the dictionary lookup of ZELFilter::GetFilterItem.
//  - Arguments are read during the call only; the object keeps copies. They must not point into the object's own
//    stream.
//  - An object belongs to one thread at a time, also as the source of a copy. Different objects are independent.
//  - An object that found no memory has no stream: every operation fails, GetStream returns null.
//  - A stream grows by whole blocks of 16384 bytes. Growth moves it: what GetStream returned is invalid, and the read
//    position is at byte 2, before the first term or key, so call Rewind. Growth that fails loses nothing. A stream
//    never exceeds 2147483647 bytes.
//  - The first two bytes of a stream are its length, the next two the number of its terms or keys. Both words hold the
//    low 16 bits of the true number: peers cannot rely on them beyond 65535.
//  - A long carries a 32-bit value: of a wider one, the low 32 bits are sent.
//  - Members marked [library] are written by the library alone.
#ifndef ZEL_ZELSTREAM_H
#define ZEL_ZELSTREAM_H

#include <limits.h>
#include <stddef.h>
#include <stdint.h>

#include "zelmessage.h"

namespace zel {
struct StreamBuffer;  // the library's own operations on streams
}  // namespace zel

// ---- The growing buffer under both ----------------------------------------------------------------------------------

class ZELStream {
public:
    // The length of the stream in bytes, its header included; 0 without a stream. This is the length to send, also
    // where the length word cannot hold it.
    int GetLength() const noexcept { return buffer != nullptr ? static_cast<int>(writePos - start) : 0; }

    // Sets the read position to byte 4: the first term or key.
    void Rewind() noexcept {
        if (buffer != nullptr) {
            readPos = start + 4;
        }
    }

    // Filters and sort data are copied; the buffer alone is not.
    ZELStream(const ZELStream&) = delete;
    ZELStream& operator=(const ZELStream&) = delete;

protected:
    ZELStream() noexcept
        : buffer(nullptr),
          start(nullptr),
          writePos(nullptr),
          end(nullptr),
          readPos(nullptr),
          blockSize(0),
          blockCount(0) {}
    ~ZELStream() noexcept { ZELFree(buffer); }

    // For constructors of classes that derive from ZELStream itself. Allocates a block of `size` bytes, at least 2,
    // which is also what the stream grows by; the stream then holds the length word alone. A stream that the object had
    // before is ignored and not released. Without memory `buffer` is null and the positions keep their values.
    ZEL_API void InitStream(int size) noexcept;

    char* buffer;         // [library] the block; null: no stream
    char* start;          // [library] first byte of the stream: the block's
    char* writePos;       // [library] end of what is written
    char* end;            // [library] end of the block
    char* readPos;        // [library] next byte to read
    uint32_t blockSize;   // [library] what the stream grows by, in bytes
    uint32_t blockCount;  // [library] blocks held, and one more for each growth that failed

    friend struct zel::StreamBuffer;
};

// ---- Comparisons ----------------------------------------------------------------------------------------------------

// A comparison: 1 "=", 2 "!=", 3 ">", 4 "<", 5 ">=", 6 "<=".
struct LogicOperator {
    short code;    // 1 to 6; -1: unset
    char text[3];  // ends with a zero byte

    ZEL_API LogicOperator() noexcept;
    ZEL_API ~LogicOperator() noexcept;
    ZEL_API LogicOperator(const LogicOperator& source) noexcept;
    ZEL_API LogicOperator& operator=(const LogicOperator& source) noexcept;

    // Set code and text together. -1, with nothing changed, for a text that is not exactly one of the six and for a
    // code outside 1 to 6.
    ZEL_API int SetText(const char* operatorText) noexcept;
    ZEL_API int SetCode(short operatorCode) noexcept;

    // Unset.
    ZEL_API void Reset() noexcept;
};

// ---- The value of a term --------------------------------------------------------------------------------------------

// A value and its type. The types are those of fields in the dictionary (zelprovider.h) from 1 to 9.
struct FilterValue {
    static constexpr int kTextCapacity = 2048;  // the terminating zero byte included

    union alignas(8) Value {
        short shortValue;          // type 1
        ZELLong longValue;         // type 2
        int intValue;              // type 3
        char charValue;            // type 4
        char text[kTextCapacity];  // type 5; ends with a zero byte
        float floatValue;          // type 6
        double doubleValue;        // type 7
        _datetime dateTimeValue;   // type 8
        _money moneyValue;         // type 9
    };

    int type;
    Value value;

    // An empty text.
    ZEL_API FilterValue() noexcept;
    ZEL_API ~FilterValue() noexcept;
    // Copies the type and, for the types 1 to 9, the member that it selects.
    ZEL_API FilterValue(const FilterValue& source) noexcept;
    ZEL_API FilterValue& operator=(const FilterValue& source) noexcept;

    // The value, when it has the type that the name says; else null. The pointers lead into this object.
    const short* AsShort() const noexcept { return type == 1 ? &value.shortValue : nullptr; }
    const ZELLong* AsLong() const noexcept { return type == 2 ? &value.longValue : nullptr; }
    const int* AsInt() const noexcept { return type == 3 ? &value.intValue : nullptr; }
    const char* AsChar() const noexcept { return type == 4 ? &value.charValue : nullptr; }
    const char* AsText() const noexcept { return type == 5 ? value.text : nullptr; }
    const float* AsFloat() const noexcept { return type == 6 ? &value.floatValue : nullptr; }
    const double* AsDouble() const noexcept { return type == 7 ? &value.doubleValue : nullptr; }
    const _datetime* AsDateTime() const noexcept { return type == 8 ? &value.dateTimeValue : nullptr; }
    const _money* AsMoney() const noexcept { return type == 9 ? &value.moneyValue : nullptr; }

    // Each sets the type and the value together.
    void SetShort(short from) noexcept { type = 1, value.shortValue = from; }
    void SetLong(long from) noexcept { type = 2, value.longValue = static_cast<ZELLong>(from); }
    void SetInt(int from) noexcept { type = 3, value.intValue = from; }
    void SetChar(char from) noexcept { type = 4, value.charValue = from; }
    void SetFloat(float from) noexcept { type = 6, value.floatValue = from; }
    void SetDouble(double from) noexcept { type = 7, value.doubleValue = from; }
    void SetDateTime(const _datetime& from) noexcept { type = 8, value.dateTimeValue = from; }
    void SetMoney(const _money& from) noexcept { type = 9, value.moneyValue = from; }
    // Returns the bytes copied, the terminating zero byte included; -1, with nothing changed, for null and for a text
    // of more than 2047 bytes.
    ZEL_API int SetString(const char* from) noexcept;

    // The empty text of a new object, all 2048 bytes zero.
    ZEL_API void Reset() noexcept;
};

// One term of a filter, as GetFilterItem reads it. One item may be used for any number of terms.
struct ZELFilterItem : FilterValue {
    LogicOperator logicOperator;
    int fieldId;  // -1: unset

    ZEL_API ZELFilterItem() noexcept;
    ZEL_API ~ZELFilterItem() noexcept;
    // Copy the field id, the comparison when the source's is set, and the value when the source's type is 1 to 9.
    ZEL_API ZELFilterItem(const ZELFilterItem& source) noexcept;
    ZEL_API ZELFilterItem& operator=(const ZELFilterItem& source) noexcept;
};

// ---- Filters --------------------------------------------------------------------------------------------------------

// Stream: length (2 bytes), count (2), then each term: field id (2), code of the comparison (2), value. Numbers are
// big-endian; float, double and date-time values are as they lie in memory. The stream does not tell the values' types:
// the dictionary does.
class ZELFilter : public ZELStream {
public:
    // An empty filter: 4 bytes, no terms.
    ZEL_API ZELFilter() noexcept;
    ZEL_API ~ZELFilter() noexcept;
    // Copies hold the same bytes, count and positions. A copy that finds no memory has no stream; in an assignment the
    // stream before is gone then, too.
    ZEL_API ZELFilter(const ZELFilter& source) noexcept;
    ZEL_API ZELFilter& operator=(const ZELFilter& source) noexcept;

    // Append one term. `op` is the comparison's text; the type of `value` must be the type that the reader's dictionary
    // gives the field. -1, with the stream as before, when `op` is none of the six texts (or null) or memory is out.
    // The field id and the value are not checked.
    ZEL_API int AddFilter(short fieldId, const char* op, short value) noexcept;             // type 1
    ZEL_API int AddFilter(short fieldId, const char* op, long value) noexcept;              // type 2
    ZEL_API int AddFilter(short fieldId, const char* op, int value) noexcept;               // type 3
    ZEL_API int AddFilter(short fieldId, const char* op, float value) noexcept;             // type 6
    ZEL_API int AddFilter(short fieldId, const char* op, double value) noexcept;            // type 7
    ZEL_API int AddFilter(short fieldId, const char* op, const _money& value) noexcept;     // type 9
    ZEL_API int AddFilter(short fieldId, const char* op, const _datetime& value) noexcept;  // type 8
    // For the types 4 and 5: any `length` bytes; no terminating zero byte is needed or added. Readers refuse texts of
    // more than 2047 bytes, and the term's length word cannot hold more than 65535. -1 also for a negative length and
    // for null with a length other than 0.
    ZEL_API int AddFilter(short fieldId, const char* op, const char* text, int length) noexcept;

    // Writes the length and the count into the stream and returns it, or null without a stream. The filter owns the
    // bytes, which are valid until a term makes the stream grow. More terms may be added afterwards.
    ZEL_API char* GetStream() noexcept;

    // Replaces the stream by `length` received bytes, the header included. Their contents are not checked: the length
    // word may be any number, the count word becomes what GetCount returns, and bytes may follow the last term, as in a
    // padded field. No byte beyond `length` is read, here or by GetFilterItem. -1, with the filter as before, when
    // `bytes` is null, when `length` is below 4 (the header), or when memory is out. The read position does not move:
    // in a new filter it is at the first term; call Rewind when the filter was used before or when `length` is above
    // 16384.
    ZEL_API int SetStream(const char* bytes, int length) noexcept;

    // Reads the term at the read position and moves past it. -1 at the end, and for a term that cannot be read:
    //  - its field is not in the dictionary, or of a type outside 1 to 9: the item has the new field id and comparison,
    //    the read position is at the value
    //  - its text has more than 2047 bytes: the read position is past the text
    //  - its bytes run past the end
    // A code outside 1 to 6 leaves the item's comparison as it was. A value of type 4 is returned as type 5. A text
    // ends at its first zero byte. Reports 1001 (field id 0), 1412 (no dictionary).
    ZEL_API int GetFilterItem(ZELFilterItem& item) noexcept;

    // The number of terms added, or the count word of a received stream.
    int GetCount() const noexcept { return static_cast<int>(count); }

private:
    uint32_t count;
};

// ---- Sort data ------------------------------------------------------------------------------------------------------

// One sort key.
struct SortItem {
    int fieldId;      // -1: unset
    short sortOrder;  // as the sender gave it: sender and receiver agree on its values

    SortItem() noexcept : fieldId(-1), sortOrder(1) {}
};

// Stream: length (2 bytes), count (2), then each key: field id (2), order (2); all big-endian. The first key is the
// primary one.
class ZELSortData : public ZELStream {
public:
    // No keys: 4 bytes.
    ZELSortData() noexcept : count(0) {
        InitStream(16384);
        InitSortData();
    }
    ~ZELSortData() noexcept {}
    // Copies are as those of ZELFilter.
    ZEL_API ZELSortData(const ZELSortData& source) noexcept;
    ZEL_API ZELSortData& operator=(const ZELSortData& source) noexcept;

    // Appends one key. -1, with the stream as before, when memory is out. Neither number is checked.
    ZEL_API int AddSortData(short fieldId, short sortOrder) noexcept;

    // As in ZELFilter.
    ZEL_API char* GetStream() noexcept;
    ZEL_API int SetStream(const char* bytes, int length) noexcept;

    // Reads the key at the read position and moves past it. -1 at the end. When only a field id is left, the item takes
    // it and the read position is past it.
    ZEL_API int GetSortItem(SortItem& item) noexcept;

    // The number of keys added, or the count word of a received stream.
    int GetCount() const noexcept { return static_cast<int>(count); }

private:
    // The second half of the constructor, exported because programs inline the constructor.
    ZEL_API void InitSortData() noexcept;

    uint32_t count;
};

static_assert(sizeof(ZELStream) == 5 * sizeof(void*) + 8, "layout of ZELStream");
static_assert(sizeof(ZELFilter) == sizeof(ZELStream) + sizeof(void*), "layout of ZELFilter");
static_assert(sizeof(ZELSortData) == sizeof(ZELStream) + sizeof(void*), "layout of ZELSortData");
static_assert(sizeof(LogicOperator) == 6 && offsetof(LogicOperator, text) == 2, "layout of LogicOperator");
static_assert(sizeof(FilterValue::Value) == 2048 && alignof(FilterValue::Value) == 8, "layout of FilterValue");
static_assert(sizeof(FilterValue) == 2056 && offsetof(FilterValue, value) == 8, "layout of FilterValue");
static_assert(sizeof(ZELFilterItem) == 2072, "layout of ZELFilterItem");
static_assert(sizeof(SortItem) == 8 && offsetof(SortItem, sortOrder) == 4, "layout of SortItem");

#endif  // ZEL_ZELSTREAM_H
