// Filter and sort streams: any bytes are loaded and read within their bounds, what was read can be added again and has
// the bytes that it came in, what was added reads back as it was, copies equal their source.
// The fields' ids are those of TestTables.
#include "fuzz/check.h"
#include "runtime/byte_order.h"
#include "stream/stream_buffer.h"
#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"
#include "tests/support/random_tables.h"
#include "tests/support/test_tables.h"

namespace zel::fuzz {

namespace {

// Terms or keys, or any bytes.
std::string MakeStream(test::Random& input, const test::TestTables& tables, bool isFilter) {
    std::string bytes = input.Bytes(kHeaderSize);
    if (!isFilter || input.OneIn(4)) {
        return bytes + input.Rest();
    }
    while (!input.IsEmpty()) {
        const int id = test::kSide + input.Below(14);
        const int size = test::kWireSizes[tables.Field(id).type];
        bytes += {'\0', static_cast<char>(id), '\0', static_cast<char>(input.Below(8))};
        if (size == 0 || id == test::kCode || id == test::kFlag) {
            const int length = input.Below(40);
            bytes += {'\0', static_cast<char>(input.OneIn(16) ? input.Byte() : length)};
            bytes += input.Bytes(length);
        } else {
            bytes += input.Bytes(size);
        }
    }
    return bytes;
}

int Read(ZELFilter& from, ZELFilterItem& item) {
    return from.GetFilterItem(item);
}
int Read(ZELSortData& from, SortItem& item) {
    return from.GetSortItem(item);
}

int Add(ZELFilter& to, const ZELFilterItem& item) {
    const auto add = [&](auto... value) {
        const char* op = item.logicOperator.code > 0 ? item.logicOperator.text : "=";
        return to.AddFilter(static_cast<short>(item.fieldId), op, value...);
    };
    switch (item.type) {
        case kZELShort:
            return add(*item.AsShort());
        case kZELLong:
            return add(long{*item.AsLong()});
        case kZELInt:
            return add(*item.AsInt());
        case kZELText:
            return add(item.AsText(), static_cast<int>(std::strlen(item.AsText())));
        case kZELFloat:
            return add(*item.AsFloat());
        case kZELDouble:
            return add(*item.AsDouble());
        case kZELDateTime:
            return add(*item.AsDateTime());
        case kZELMoney:
            return add(*item.AsMoney());
        default:
            return -1;
    }
}
int Add(ZELSortData& to, const SortItem& item) {
    return to.AddSortData(static_cast<short>(item.fieldId), item.sortOrder);
}

// A comparison that is none of the six is added as another, a text ends at its first zero byte.
bool MayDiffer(const ZELFilterItem& item, std::string_view read, std::string_view added) {
    const unsigned code = LoadU16Be(read.data() + 2);
    return (item.type == kZELText && added.size() < read.size()) ||
           ((code < 1 || code > 6) && added.size() == read.size());
}
bool MayDiffer(const SortItem& /*item*/, std::string_view /*read*/, std::string_view /*added*/) {
    return false;
}

// Adds to `rebuilt` what is read of `stream`, from its first item on.
template <typename Item, typename Stream>
void Rebuild(Stream& stream, Stream& rebuilt) {
    static Item item;
    item = {};
    stream.Rewind();
    for (long from = stream.ReadAt(); Read(stream, item) == 0; from = stream.ReadAt()) {
        Check(stream.ReadAt() <= stream.Used(), "nothing is read beyond the end");
        const long at = rebuilt.Used();
        const Item copy = item;
        Check(Add(rebuilt, copy) == 0, "what was read can be added");
        const std::string_view read(stream.buffer + from, static_cast<std::size_t>(stream.ReadAt() - from));
        const std::string_view added(rebuilt.buffer + at, static_cast<std::size_t>(rebuilt.Used() - at));
        Check(read == added || MayDiffer(item, read, added), "what was read has the bytes that it came in");
    }
}

template <typename Item, typename Stream>
void CheckStream(std::string_view bytes, int times) {
    Stream loaded;
    Check(loaded.SetStream(test::ExactCopy(bytes).data.get(), 3) == -1, "a stream has a header");
    Check(loaded.SetStream(test::ExactCopy(bytes).data.get(), static_cast<int>(bytes.size())) == 0, "and is loaded");
    Check(loaded.GetCount() == LoadU16Be(bytes.data() + kLengthSize), "what is loaded has its count");
    Stream rebuilt;
    for (int time = 0; time < times; ++time) {
        Rebuild<Item>(loaded, rebuilt);
    }
    Stream copy(loaded);
    Check(copy.GetCount() == loaded.GetCount() && copy.ReadAt() == loaded.ReadAt(), "a copy goes on like its source");
    Check(test::Bytes(copy).substr(kLengthSize) == bytes.substr(kLengthSize), "a copy holds what was loaded");
    const std::string sent = test::Bytes(rebuilt);
    Check(loaded.SetStream(test::ExactCopy(sent).data.get(), static_cast<int>(sent.size())) == 0,
          "what was built is loaded");
    copy = Stream();
    Rebuild<Item>(loaded, copy);
    Check(test::Bytes(copy) == sent, "what was added reads back as it was");
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const zel::test::TestTables tables;
    zel::test::Random input(data, size);
    const bool isFilter = !input.OneIn(4);
    // Several times makes long streams grow past their first block.
    const int times = input.OneIn(64) ? 40 : 1;
    const std::string bytes = zel::fuzz::MakeStream(input, tables, isFilter);
    isFilter ? zel::fuzz::CheckStream<ZELFilterItem, zel::test::OpenFilter>(bytes, times)
             : zel::fuzz::CheckStream<SortItem, zel::test::OpenSort>(bytes, times);
    return 0;
}
