// Filter and sort streams: hostile bytes loaded and read to their end, built streams that read as they were built, and
// the growing buffer under both against a string. Terms that were read, built again, have the bytes that they came in,
// unless a comparison was none of the six or a text had a zero byte, at which it ends.
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "core/tables/dictionary.h"
#include "fuzz/check.h"
#include "fuzz/exact_copy.h"
#include "fuzz/input.h"
#include "include/zelprovider.h"
#include "include/zelstream.h"
#include "stream/logic_operator.h"
#include "stream/stream_buffer.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 8;
constexpr int kMostOperations = 64;
constexpr int kMostTerms = 24;
constexpr int kHighestId = 14;
constexpr std::size_t kHeaderSize = 4;
// Beyond what the length word holds.
constexpr int kLongEnough = 70000;

// The field with id n has type n up to 11, then come types that are none: 0, 12 and one that is negative as a short.
class TypeDictionary {
public:
    TypeDictionary() : records_{} {
        for (std::uint16_t id = 1; id <= kZELBytes11; ++id) {
            records_[id].type = id;
        }
        records_[13].type = 12;
        records_[14].type = 0x8001;
        auto* header = reinterpret_cast<ZELDictionaryHeader*>(records_);
        std::memset(static_cast<void*>(header), 0, sizeof *header);
        header->count = kHighestId;
        SetDataDictionary(header);
    }

private:
    ZELDictionaryField records_[kHighestId + 1];
};

std::string Word(unsigned value) {
    std::string bytes(2, '\0');
    StoreU16Be(bytes.data(), static_cast<std::uint16_t>(value));
    return bytes;
}

template <typename Stream>
std::string BytesOf(Stream& stream) {
    const char* bytes = stream.GetStream();
    Check(bytes != nullptr, "there is memory for a stream");
    return {bytes, static_cast<std::size_t>(stream.GetLength())};
}

// 0 when the copy of the bytes was loaded; of anything but their header no more is read.
template <typename Stream>
int Load(Stream& stream, std::string_view bytes) {
    return stream.SetStream(ExactCopy(bytes).get(), static_cast<int>(bytes.size()));
}

// ---- Filters --------------------------------------------------------------------------------------------------------

int AddTerm(ZELFilter& filter, short id, const char* op, const FilterValue& value) {
    switch (value.type) {
        case kZELShort:
            return filter.AddFilter(id, op, *value.AsShort());
        case kZELLong:
            return filter.AddFilter(id, op, long{*value.AsLong()});
        case kZELInt:
            return filter.AddFilter(id, op, *value.AsInt());
        case kZELText:
            return filter.AddFilter(id, op, value.AsText(), static_cast<int>(std::strlen(value.AsText())));
        case kZELFloat:
            return filter.AddFilter(id, op, *value.AsFloat());
        case kZELDouble:
            return filter.AddFilter(id, op, *value.AsDouble());
        case kZELDateTime:
            return filter.AddFilter(id, op, *value.AsDateTime());
        case kZELMoney:
            return filter.AddFilter(id, op, *value.AsMoney());
        default:
            Check(false, "a term that was read has a type that filters have");
            return -1;
    }
}

// Reads `filter` from its first term to its end or the first term that cannot be read. `rebuilt` gets what was read.
int ReadAll(ZELFilter& filter, ZELFilter& rebuilt) {
    ZELFilterItem item;
    filter.Rewind();
    int terms = 0;
    for (; filter.GetFilterItem(item) == 0; ++terms) {
        const ZELFilterItem copy(item);
        Check(copy.fieldId == item.fieldId && copy.type == item.type, "a copied item is the same");
        const char* op = item.logicOperator.code > 0 ? item.logicOperator.text : "=";
        Check(AddTerm(rebuilt, static_cast<short>(item.fieldId), op, copy) == 0, "what was read can be built");
    }
    return terms;
}

// The prefix of the stream up to the first term that readers see otherwise than it was sent.
std::string_view PlainTerms(std::string_view stream) {
    constexpr std::size_t kSizes[] = {0, 2, 4, 4, 2, 2, 4, 8, 8, 6};
    std::size_t at = kHeaderSize;
    while (stream.size() - at >= 4) {
        const unsigned id = LoadU16Be(stream.data() + at);
        const unsigned code = LoadU16Be(stream.data() + at + 2);
        const unsigned type = id <= kZELMoney ? id : 0;
        if (type == 0 || code < 1 || code > unsigned{kHighestOperatorCode} || stream.size() - at - 4 < kSizes[type]) {
            break;
        }
        std::size_t size = kSizes[type];
        if (type == kZELChars || type == kZELText) {
            const std::size_t length = LoadU16Be(stream.data() + at + 4);
            const std::string_view text = stream.substr(at + 6, length);
            if (length > 2047 || text.size() < length || text.find('\0') != std::string_view::npos) {
                break;
            }
            size += length;
        }
        at += 4 + size;
    }
    return stream.substr(0, at);
}

void CheckFilter(ZELFilter& filter, const std::string& bytes) {
    Check(static_cast<std::size_t>(filter.GetLength()) == bytes.size(), "a loaded stream has its length");
    ZELFilter rebuilt;
    const int terms = ReadAll(filter, rebuilt);
    const std::string again = BytesOf(rebuilt);
    const std::string_view plain = PlainTerms(bytes);
    Check(again.size() >= plain.size() &&
              plain.substr(kHeaderSize) == std::string_view(again).substr(kHeaderSize, plain.size() - kHeaderSize),
          "terms that were read have the bytes that they came in");
    Check(rebuilt.GetCount() == terms, "each term counts");
    Check(plain.size() != bytes.size() || again.size() == bytes.size(), "reading ends where the stream does");
    if (plain.size() == bytes.size() && filter.GetCount() == terms) {
        Check(again == BytesOf(filter), "what was read and built again is the same stream");
    }
    ZELFilter copy(filter);
    ZELFilter assigned;
    assigned = copy;
    ZELFilter third;
    Check(ReadAll(assigned, third) == terms && BytesOf(third) == again, "a copy reads the same");
}

std::string HostileTerm(Input& input) {
    constexpr std::size_t kSizes[] = {0, 2, 4, 4, 0, 0, 4, 8, 8, 6, 0, 0, 0, 0, 0, 0};
    const bool isOdd = input.OneIn(16);
    const unsigned id = isOdd ? input.Short() : static_cast<unsigned>(input.Below(9) + 1);
    const unsigned code = input.OneIn(16) ? input.Short() : static_cast<unsigned>(input.Below(6) + 1);
    std::string term = Word(id) + Word(code);
    if (id != kZELChars && id != kZELText) {
        return term + input.Bytes(id < 16 ? kSizes[id] : 0);
    }
    std::string text = input.Bytes(static_cast<std::size_t>(input.Below(30)));
    if (input.OneIn(16)) {
        text.resize(2000 + static_cast<std::size_t>(input.Below(100)), 'x');
    }
    const std::size_t stated = input.OneIn(32) ? input.Short() : text.size();
    return term + Word(static_cast<unsigned>(stated)) + text;
}

// A stream of terms or of any bytes, whose header mostly holds.
std::string HostileStream(Input& input) {
    std::string body;
    unsigned count = static_cast<unsigned>(input.Below(kMostTerms));
    const bool isRaw = input.OneIn(8);
    if (isRaw) {
        body = input.Bytes(input.Byte());
    } else {
        for (unsigned term = 0; term < count; ++term) {
            body += HostileTerm(input);
        }
    }
    if (input.OneIn(8)) {
        body.resize(body.size() - std::min<std::size_t>(body.size(), input.Byte()));
    }
    count = input.OneIn(8) ? input.Short() : count;
    const std::size_t length = input.OneIn(16) ? input.Short() : body.size() + kHeaderSize;
    std::string stream = Word(static_cast<unsigned>(length)) + Word(count) + body;
    if (input.OneIn(32)) {
        stream.resize(static_cast<std::size_t>(input.Below(5)));
    }
    return stream;
}

// `used` has loaded and read other streams.
void HostileFilter(Input& input, ZELFilter& used) {
    const std::string bytes = HostileStream(input);
    const std::string before = BytesOf(used);
    const int countBefore = used.GetCount();
    ZELFilter fresh;
    const int result = Load(fresh, bytes);
    Check(Load(used, bytes) == result, "what a filter held has no say");
    if (result != 0) {
        Check(BytesOf(used) == before && used.GetCount() == countBefore, "what cannot be loaded changes nothing");
        return;
    }
    // Wherever the read position is.
    ZELFilterItem item;
    for (int reads = input.Below(4); reads > 0; --reads) {
        (void)used.GetFilterItem(item);
    }
    CheckFilter(fresh, bytes);
    CheckFilter(used, bytes);
}

struct Term {
    short id;
    const char* op;
    FilterValue value;
};

void SetValue(Input& input, FilterValue& value, int type) {
    const std::string bytes = input.Bytes(8);
    _datetime dateTime;
    double wide = 0;
    float narrow = 0;
    std::memcpy(&dateTime, bytes.data(), sizeof dateTime);
    std::memcpy(&wide, bytes.data(), sizeof wide);
    std::memcpy(&narrow, bytes.data(), sizeof narrow);
    const auto number = static_cast<std::int32_t>(LoadU32Be(bytes.data()));
    switch (type) {
        case kZELShort:
            return value.SetShort(static_cast<short>(number));
        case kZELLong:
            return value.SetLong(number);
        case kZELInt:
            return value.SetInt(number);
        case kZELFloat:
            return value.SetFloat(narrow);
        case kZELDouble:
            return value.SetDouble(wide);
        case kZELDateTime:
            return value.SetDateTime(dateTime);
        case kZELMoney:
            return value.SetMoney({number, static_cast<short>(LoadU16Be(bytes.data() + 4))});
        default:
            break;
    }
    std::string text = input.Bytes(static_cast<std::size_t>(input.Below(40)));
    text.append(input.OneIn(8) ? input.Short() % 2010U : 0U, 'x');
    text.resize(std::min(text.find('\0'), text.size()));
    Check(value.SetString(text.c_str()) == static_cast<int>(text.size()) + 1, "a text fits a value");
}

bool IsSameValue(const FilterValue& a, const FilterValue& b) {
    constexpr std::size_t kSizes[] = {0, 2, 4, 4, 1, 0, 4, 8, 8, 6};
    if (a.type != b.type || a.type < 1 || a.type > kZELMoney) {
        return false;
    }
    return a.type == kZELText ? std::strcmp(a.AsText(), b.AsText()) == 0
                              : std::memcmp(&a.value, &b.value, kSizes[a.type]) == 0;
}

void BuiltFilter(Input& input) {
    ZELFilter filter;
    std::vector<Term> terms(static_cast<std::size_t>(input.Below(kMostTerms)));
    for (Term& term : terms) {
        term.id = static_cast<short>(input.Below(9) + 1);
        term.op = kOperatorTexts[input.Below(6)];
        SetValue(input, term.value, term.id);
    }
    // Many times the same, so that the stream grows.
    const int wanted = input.OneIn(8) ? input.Byte() : 1;
    int repetitions = 0;
    for (; repetitions < wanted && filter.GetLength() < kLongEnough; ++repetitions) {
        for (const Term& term : terms) {
            Check(AddTerm(filter, term.id, term.op, term.value) == 0, "a term can be added");
        }
    }
    const std::string bytes = BytesOf(filter);
    ZELFilter loaded;
    Check(Load(loaded, bytes) == 0 && loaded.GetCount() == filter.GetCount(), "a built filter can be loaded");
    loaded.Rewind();
    ZELFilterItem item;
    for (int n = 0; n < repetitions; ++n) {
        for (const Term& term : terms) {
            Check(loaded.GetFilterItem(item) == 0 && item.fieldId == term.id &&
                      std::strcmp(item.logicOperator.text, term.op) == 0 && IsSameValue(item, term.value),
                  "a built filter reads as it was built");
        }
    }
    Check(loaded.GetFilterItem(item) == -1, "reading ends behind the last term");
    CheckFilter(loaded, bytes);
}

// Any text as a comparison, any bytes as a value's text.
void OddTerm(Input& input) {
    const auto op = ExactText(input.Bytes(static_cast<std::size_t>(input.Below(5))));
    LogicOperator comparison;
    const bool isKnown = comparison.SetText(op.get()) == 0;
    Check(isKnown ? std::strcmp(comparison.text, op.get()) == 0 && comparison.code == OperatorCode(op.get())
                  : comparison.code == -1,
          "a comparison is one of six");
    const auto code = static_cast<short>(input.Below(9) - 1);
    Check((comparison.SetCode(code) == 0) == (code >= 1 && code <= kHighestOperatorCode), "a code is one of six");

    std::string text = input.Bytes(static_cast<std::size_t>(input.Below(20)));
    text.resize(text.size() + (input.OneIn(2) ? 0U : input.Short()), 'y');
    ZELFilter filter;
    const int added = filter.AddFilter(kZELText, op.get(), ExactCopy(text).get(), static_cast<int>(text.size()));
    Check((added == 0) == isKnown, "any text can be added, with a comparison that is one");
    Check(filter.AddFilter(kZELText, "=", nullptr, 1) == -1 && filter.AddFilter(kZELText, "=", text.data(), -1) == -1,
          "there is no text of nothing");
    ZELFilterItem item;
    filter.Rewind();
    const bool isRead = filter.GetFilterItem(item) == 0;
    Check(isRead == (isKnown && (text.size() & 0xFFFFU) < 2048U), "texts up to 2047 bytes are read");
    if (isRead && text.size() < 2048) {
        Check(std::string_view(item.AsText()) == text.c_str(), "a text ends at its first zero byte");
    }
}

// ---- Sort data ------------------------------------------------------------------------------------------------------

void Sort(Input& input, ZELSortData& used) {
    std::string body = input.Bytes(static_cast<std::size_t>(input.Below(24)) * 4);
    if (input.OneIn(16)) {
        body = input.Bytes(input.Byte());
    }
    const std::size_t repetitions = input.OneIn(8) ? input.Byte() : 1;
    std::string many;
    for (std::size_t n = 0; n < repetitions; ++n) {
        many += body;
    }
    const std::size_t count = input.OneIn(16) ? input.Short() : many.size() / 4;
    const std::size_t length = input.OneIn(16) ? input.Short() : many.size() + kHeaderSize;
    const std::string bytes = Word(static_cast<unsigned>(length)) + Word(static_cast<unsigned>(count)) + many;
    if (Load(used, bytes) != 0) {
        Check(many.size() % 4 != 0 || count != many.size() / 4 || length != bytes.size(), "whole keys can be loaded");
        return;
    }
    used.Rewind();
    SortItem item;
    ZELSortData rebuilt;
    int keys = 0;
    for (; used.GetSortItem(item) == 0; ++keys) {
        Check(rebuilt.AddSortData(static_cast<short>(item.fieldId), item.sortOrder) == 0, "a key can be added");
    }
    Check(keys == used.GetCount() && BytesOf(rebuilt) == bytes, "keys that were read have the bytes that they came in");
    ZELSortData copy(used);
    rebuilt = copy;
    Check(BytesOf(rebuilt) == bytes && rebuilt.GetSortItem(item) == -1, "a copy holds the same, read as far");
}

// ---- The buffer -----------------------------------------------------------------------------------------------------

// The buffer, and what it has to hold, in a string.
class CheckedBuffer : private ZELStream {
public:
    explicit CheckedBuffer(int block)
        : held_(kLengthSize, '\0'), block_(static_cast<std::size_t>(block)), room_(block_) {
        InitStream(block);
    }

    void Step(Input& input) {
        const int kind = input.Below(kKinds);
        switch (input.Below(7)) {
            case 0:
            case 1:
                return Put(kind, input.Bytes(kWireSizes[kind]));
            case 2:
                return PutText(input.Bytes(static_cast<std::size_t>(input.Below(40))));
            case 3:
                return Get(kind);
            case 4:
                return GetText();
            case 5:
                return TakeBack(input.Below(20));
            default:
                return input.OneIn(2) ? Copy() : Reload(input.Bytes(static_cast<std::size_t>(input.Below(60))));
        }
    }

    void CheckContents() {
        const char* bytes = GetStream();
        StoreU16Be(held_.data(), static_cast<std::uint16_t>(held_.size()));
        Check(bytes != nullptr && held_ == std::string_view(bytes, static_cast<std::size_t>(GetLength())),
              "a stream holds what was put into it");
    }

private:
    static constexpr int kKinds = 7;
    static constexpr std::size_t kWireSizes[kKinds] = {2, 4, 4, 4, 8, 8, 6};

    // Growth in whole blocks, which sends the reader back.
    void MakeRoom(std::size_t size) {
        while (held_.size() + size > room_) {
            room_ += block_;
            readAt_ = kLengthSize;
        }
    }

    std::size_t Left() const { return readAt_ <= held_.size() ? held_.size() - readAt_ : 0; }

    void Put(int kind, const std::string& wire) {
        MakeRoom(wire.size());
        held_ += wire;
        Check(PutValue(kind, wire.data()) == 0, "a value can be put");
    }

    int PutValue(int kind, const char* wire) {
        float narrow = 0;
        double wide = 0;
        _datetime dateTime{};
        switch (kind) {
            case 0:
                return PutShort(static_cast<short>(LoadU16Be(wire)));
            case 1:
                return PutLong(static_cast<std::int32_t>(LoadU32Be(wire)));
            case 2:
                return PutInt(static_cast<std::int32_t>(LoadU32Be(wire)));
            case 3:
                std::memcpy(&narrow, wire, sizeof narrow);
                return PutFloat(narrow);
            case 4:
                std::memcpy(&wide, wire, sizeof wide);
                return PutDouble(wide);
            case 5:
                std::memcpy(&dateTime, wire, sizeof dateTime);
                return PutDateTime(dateTime);
            default:
                return PutMoney({static_cast<std::int32_t>(LoadU32Be(wire)), static_cast<short>(LoadU16Be(wire + 4))});
        }
    }

    void Get(int kind) {
        const std::size_t size = kWireSizes[kind];
        std::string wire(size, '\0');
        const int result = GetValue(kind, wire.data());
        Check(result == (Left() < size ? -1 : 0), "a value is read when all of it is there");
        if (result == 0) {
            Check(held_.compare(readAt_, size, wire) == 0, "a value is read as it was put");
            readAt_ += size;
        }
    }

    int GetValue(int kind, char* wire) {
        short word = 0;
        long longWord = 0;
        int number = 0;
        float narrow = 0;
        double wide = 0;
        _datetime dateTime{};
        _money money{};
        int result = -1;
        switch (kind) {
            case 0:
                result = GetShort(word);
                StoreU16Be(wire, static_cast<std::uint16_t>(word));
                break;
            case 1:
                result = GetLong(longWord);
                StoreU32Be(wire, static_cast<std::uint32_t>(longWord));
                break;
            case 2:
                result = GetInt(number);
                StoreU32Be(wire, static_cast<std::uint32_t>(number));
                break;
            case 3:
                result = GetFloat(narrow);
                std::memcpy(wire, &narrow, sizeof narrow);
                break;
            case 4:
                result = GetDouble(wide);
                std::memcpy(wire, &wide, sizeof wide);
                break;
            case 5:
                result = GetDateTime(dateTime);
                std::memcpy(wire, &dateTime, sizeof dateTime);
                break;
            default:
                result = GetMoney(money);
                StoreU32Be(wire, static_cast<std::uint32_t>(money.amount));
                StoreU16Be(wire + 4, static_cast<std::uint16_t>(money.displayCode));
        }
        return result;
    }

    void PutText(const std::string& text) {
        MakeRoom(text.size() + 2);
        held_ += Word(static_cast<unsigned>(text.size())) + text;
        Check(PutString(ExactCopy(text).get(), static_cast<int>(text.size())) == 0, "a text can be put");
    }

    // The length is passed also when its bytes are missing.
    void GetText() {
        const std::size_t left = Left();
        const std::size_t stated = left >= 2 ? LoadU16Be(held_.data() + readAt_) : 0;
        const auto out = std::make_unique<char[]>(stated);
        int length = -7;
        const bool isRead = GetString(out.get(), length) == 0;
        Check(isRead == (left >= 2 && left - 2 >= stated), "a text is read when all of it is there");
        readAt_ += left >= 2 ? 2 : 0;
        if (isRead) {
            Check(static_cast<std::size_t>(length) == stated && held_.compare(readAt_, stated, out.get(), stated) == 0,
                  "a text is read as it was put");
            readAt_ += stated;
        }
    }

    void TakeBack(int size) {
        Unwrite(size);
        if (static_cast<std::size_t>(size) + kLengthSize < held_.size()) {
            held_.resize(held_.size() - static_cast<std::size_t>(size));
        }
    }

    void Reload(const std::string& body) {
        const std::string bytes = Word(static_cast<unsigned>(body.size() + kLengthSize)) + body;
        MakeRoom(body.size());
        held_ = bytes;
        Check(SetStream(ExactCopy(bytes).get(), static_cast<int>(bytes.size())) == 0, "a stream can be loaded");
    }

    void Copy() {
        CheckedBuffer copy(*this);
        copy.readAt_ = kLengthSize;
        copy.CheckContents();
        copy.Get(1);
        copy.Put(4, std::string(8, 'c'));
        copy.CheckContents();
    }

    std::string held_;
    std::size_t readAt_ = kLengthSize;
    std::size_t block_;
    std::size_t room_;
};

void Buffer(Input& input) {
    CheckedBuffer buffer(input.OneIn(4) ? 2 + input.Below(200) : 2 + input.Below(16));
    for (int n = input.Below(kMostOperations); n >= 0; --n) {
        buffer.Step(input);
    }
    buffer.CheckContents();
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const zel::fuzz::TypeDictionary dictionary;
    zel::fuzz::Input input(data, size);
    ZELFilter filter;
    ZELSortData sortData;
    for (int step = 0; step < zel::fuzz::kMostSteps && !input.IsEmpty(); ++step) {
        switch (input.Below(8)) {
            case 0:
            case 1:
            case 2:
                zel::fuzz::HostileFilter(input, filter);
                break;
            case 3:
            case 4:
                zel::fuzz::BuiltFilter(input);
                break;
            case 5:
                zel::fuzz::OddTerm(input);
                break;
            case 6:
                zel::fuzz::Sort(input, sortData);
                break;
            default:
                zel::fuzz::Buffer(input);
        }
    }
    return 0;
}
