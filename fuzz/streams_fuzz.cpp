// Filter and sort streams: any bytes are loaded and read within their bounds; items that were read can be added again
// and give the same bytes; items that were added read back the same; copies equal their source. An input is a byte,
// which says whether everything is added several times, and a stream with field ids of TestTables.
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/check.h"
#include "fuzz/exact_copy.h"
#include "include/zelprovider.h"
#include "tests/stream/open_stream.h"
#include "tests/support/test_tables.h"

namespace zel::fuzz {

namespace {

int Read(ZELFilter& from, ZELFilterItem& item) {
    return from.GetFilterItem(item);
}
int Read(ZELSortData& from, SortItem& item) {
    return from.GetSortItem(item);
}

int Add(ZELFilter& to, const ZELFilterItem& item) {
    const auto id = static_cast<short>(item.fieldId);
    const char* op = item.logicOperator.code > 0 ? item.logicOperator.text : "=";
    switch (item.type) {
        case kZELShort:
            return to.AddFilter(id, op, *item.AsShort());
        case kZELLong:
            return to.AddFilter(id, op, long{*item.AsLong()});
        case kZELInt:
            return to.AddFilter(id, op, *item.AsInt());
        case kZELText:
            return to.AddFilter(id, op, item.AsText(), static_cast<int>(std::strlen(item.AsText())));
        case kZELFloat:
            return to.AddFilter(id, op, *item.AsFloat());
        case kZELDouble:
            return to.AddFilter(id, op, *item.AsDouble());
        case kZELDateTime:
            return to.AddFilter(id, op, *item.AsDateTime());
        case kZELMoney:
            return to.AddFilter(id, op, *item.AsMoney());
        default:
            return -1;
    }
}
int Add(ZELSortData& to, const SortItem& item) {
    return to.AddSortData(static_cast<short>(item.fieldId), item.sortOrder);
}

// Whether an item that is added again may have other bytes than before: an invalid comparison is added as another one,
// and a text ends at its first zero byte.
bool MayDiffer(const ZELFilterItem& item, std::string_view read, std::string_view added) {
    const unsigned code = LoadU16Be(read.data() + 2);
    return (item.type == kZELText && added.size() < read.size()) ||
           ((code < 1 || code > 6) && added.size() == read.size());
}
bool MayDiffer(const SortItem& /*item*/, std::string_view /*read*/, std::string_view /*added*/) {
    return false;
}

// Reads all items of `stream` and adds them to `rebuilt`.
template <typename Item, typename Stream>
void Rebuild(Stream& stream, Stream& rebuilt) {
    Item item;
    Item copy;
    stream.Rewind();
    for (long from = stream.ReadAt(); Read(stream, item) == 0; from = stream.ReadAt()) {
        Check(stream.ReadAt() <= stream.Used(), "nothing is read beyond the end");
        const long at = rebuilt.Used();
        copy = item;
        Check(Add(rebuilt, copy) == 0, "what was read can be added");
        const std::string_view read(stream.buffer + from, static_cast<std::size_t>(stream.ReadAt() - from));
        const std::string_view added(rebuilt.buffer + at, static_cast<std::size_t>(rebuilt.Used() - at));
        Check(read == added || MayDiffer(item, read, added), "what was read has the bytes that it came in");
    }
}

template <typename Item, typename Stream>
void CheckStream(std::string_view bytes, int times) {
    Stream loaded;
    const bool isLoaded = loaded.SetStream(ExactCopy(bytes).get(), static_cast<int>(bytes.size())) == 0;
    Check(isLoaded == (bytes.size() >= kHeaderSize), "all that has a header is loaded");
    if (!isLoaded) {
        return;
    }
    Check(loaded.GetCount() == LoadU16Be(bytes.data() + kLengthSize), "what is loaded has its count");
    Stream rebuilt;
    for (int time = 0; time < times; ++time) {
        Rebuild<Item>(loaded, rebuilt);
    }
    Stream copy(loaded);
    Check(copy.GetCount() == loaded.GetCount() && copy.ReadAt() == loaded.ReadAt(), "a copy goes on like its source");
    Check(test::Bytes(copy).substr(kLengthSize) == bytes.substr(kLengthSize), "a copy holds what was loaded");
    const std::string sent = test::Bytes(rebuilt);
    Check(loaded.SetStream(ExactCopy(sent).get(), static_cast<int>(sent.size())) == 0, "what was built is loaded");
    Stream again;
    Rebuild<Item>(loaded, again);
    Check(test::Bytes(again) == sent, "what was added reads back as it was");
    copy = again;
    Check(test::Bytes(copy) == sent, "what is assigned is what its source holds");
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const zel::test::TestTables tables;
    if (size != 0) {
        // Adding several times makes long streams grow past their first block.
        const int times = data[0] % 16 == 15 ? 4 : 1;
        const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
        zel::fuzz::CheckStream<ZELFilterItem, zel::test::OpenFilter>(bytes, times);
        zel::fuzz::CheckStream<SortItem, zel::test::OpenSort>(bytes, times);
    }
    return 0;
}
