// What hostile messages cost compared with a usual one, in time and in bytes of the heap: none may cost more than a
// small multiple. Best of several rounds, in which the two take turns.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "bench/made_tables.h"
#include "core/wire/field_codec.h"
#include "core/wire/header.h"
#include "include/zelmessage.h"
#include "runtime/heap.h"

namespace {

std::size_t asked = 0;

}  // namespace

// A heap that counts.
namespace zel {

void* HeapAllocate(std::size_t size) noexcept {
    asked += size;
    return AskSystem(size);
}

void HeapRelease(void* block) noexcept {
    ReturnToSystem(block);
}

}  // namespace zel

namespace {

using zel::bench::MadeTables;

constexpr int kRounds = 9;
constexpr std::size_t kPayload = 12000;

// About what each round unpacks.
constexpr std::size_t kBytesOfRound = 600000;

// The sample dictionary's list of quotes and order of legs.
constexpr int kQuotes = 20;
constexpr int kQuotesSub = 2;
constexpr int kLegs = 10;
constexpr int kLegsSub = 5;
constexpr std::uint16_t kSymbol = 12;
constexpr std::uint16_t kNote = 17;
constexpr std::uint16_t kBidQuantity = 72;
constexpr std::uint16_t kAskQuantity = 74;
constexpr std::uint16_t kQuoteCount = 75;
constexpr std::uint16_t kLegCount = 139;

// A message that is being written.
struct Made {
    int type;
    int subType;
    short format;
    int fields = 0;
    std::string payload;

    Made& Field(std::uint16_t id, ZELFieldType fieldType, const void* value, std::uint16_t size) {
        char bytes[16];
        zel::Writer out{bytes, bytes + sizeof bytes};
        (void)zel::PackZELField({id, fieldType, 0, 0}, {value, size, size}, out, format);
        payload.append(bytes, out.next);
        ++fields;
        return *this;
    }
    Made& Short(std::uint16_t id, std::uint32_t value) {
        const auto number = static_cast<std::uint16_t>(value);
        return Field(id, kZELShort, &number, sizeof number);
    }
    Made& Long(std::uint16_t id) {
        const std::uint32_t number = 1;
        return Field(id, kZELLong, &number, sizeof number);
    }
    Made& EmptyText(std::uint16_t id) { return Field(id, kZELText, "", 0); }

    // Repeats what `next` writes for 0, 1, 2 ... until `size` is reached.
    Made& Fill(std::size_t size, const std::function<void(Made&, std::uint32_t)>& next) {
        for (std::uint32_t repetition = 0; payload.size() < size; ++repetition) {
            next(*this, repetition);
        }
        return *this;
    }

    // For the tables in use.
    std::string Message() const {
        ZelMsgStruct header{};
        header.msgType = static_cast<short>(type);
        header.subType = static_cast<short>(subType);
        header.packFlags = zel::kPackSent;
        header.format = static_cast<unsigned short>(format);
        header.numFields = static_cast<short>(fields);
        char bytes[zel::kFixedHeader];
        unsigned short length = 0;
        (void)zel::BuildZELHeader(zel::HeaderRulesInUse(), &header, bytes, &length);
        return std::string(bytes, length) + payload;
    }
};

// One message and what it costs.
class Cost {
public:
    explicit Cost(const std::string& message) : message_(message) {
        // The first message of a type makes its plan; this one is not measured.
        Unpack(object_);
        CZELMessage fresh(0, 0);
        asked = 0;
        result_ = Unpack(fresh);
        heap_ = static_cast<double>(asked);
    }
    void Round() {
        const std::size_t repetitions = std::clamp<std::size_t>(kBytesOfRound / message_.size(), 5, 1000);
        const auto begin = std::chrono::steady_clock::now();
        for (std::size_t repetition = 0; repetition < repetitions; ++repetition) {
            Unpack(object_);
        }
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - begin;
        time_ = std::min(time_, spent.count() / static_cast<double>(repetitions));
    }
    void Print(const char* what, const Cost& usual) const {
        std::printf("  %-58s %6zu bytes %9.0f ns %8.2f %9.1f KB %8.2f%s\n", what, message_.size(), time_,
                    time_ / usual.time_, heap_ / 1000, heap_ / usual.heap_, result_ == 0 ? "" : "  refused");
    }

private:
    long Unpack(CZELMessage& object) const {
        return object.unpackMessageNoFrame(message_.data(), static_cast<long>(message_.size()));
    }

    std::string message_;
    CZELMessage object_{0, 0};
    long result_ = 0;
    double time_ = 1e18;
    double heap_ = 0;
};

void Compare(const char* what, const Made& made, const Made& usualMessage) {
    Cost cost(made.Message());
    Cost usual(usualMessage.Message());
    for (int round = 0; round < kRounds; ++round) {
        usual.Round();
        cost.Round();
    }
    cost.Print(what, usual);
}

void Quote(Made& made, std::uint32_t /*repetition*/) {
    made.EmptyText(kSymbol).Long(kBidQuantity).Long(kAskQuantity);
}

void CompareQuotes() {
    const auto quotes = [](short format, std::uint32_t count) {
        return Made{kQuotes, kQuotesSub, format, 0, {}}.Short(kQuoteCount, count);
    };
    const auto legs = [](std::uint32_t count) { return Made{kLegs, kLegsSub, 0, 0, {}}.Short(kLegCount, count); };
    const auto emptyText = [](Made& made, std::uint32_t) { made.EmptyText(kSymbol); };
    const auto marker = [](Made& made, std::uint32_t n) { made.Short(kZELGroupMarker, n); };
    const Made usual = quotes(0, 750).Fill(kPayload, Quote);
    const auto compare = [&usual](const char* what, const Made& made) { Compare(what, made, usual); };
    compare("750 quotes of a text and two longs", usual);
    compare("750 quotes, each one's fields in reversed order", quotes(0, 750).Fill(kPayload, [](Made& made, auto) {
        made.Long(kAskQuantity).Long(kBidQuantity).EmptyText(kSymbol);
    }));
    compare("750 quotes, all texts before all longs", quotes(0, 750).Fill(kPayload, [](Made& made, std::uint32_t n) {
        n < 750 ? made.EmptyText(kSymbol) : made.Long(n % 2 == 0 ? kBidQuantity : kAskQuantity);
    }));
    compare("750 quotes, the count after them",
            Made{kQuotes, kQuotesSub, 0, 0, {}}.Fill(kPayload, Quote).Short(kQuoteCount, 750));
    compare("3,000 empty texts, format 0", quotes(0, 3000).Fill(kPayload, emptyText));
    compare("3,000 empty texts, format 2", quotes(2, 3000).Fill(kPayload, emptyText));
    compare("3,000 fields that have their value already",
            quotes(0, 1).Fill(kPayload, [](Made& made, auto) { made.EmptyText(kNote); }));
    compare("3,000 fields that the message does not have", quotes(0, 750).Fill(kPayload, marker));
    compare("3,000 fields that no dictionary has, in format 2",
            quotes(2, 750).Fill(kPayload, [](Made& made, auto) { made.EmptyText(9999); }));
    compare("3,000 group markers", legs(3000).Fill(kPayload, marker));
    compare("3,000 group markers for one leg", legs(1).Fill(kPayload, marker));
    compare("750 quotes, and slots for 5,400", quotes(0, 5400).Fill(kPayload, Quote));
    compare("no quote, and slots for 5,400", quotes(0, 5400));
}

// Ids of a dictionary come in runs. A hash table with linear probing would walk the whole run for an id next to it, or
// for one with the same low bits.
void CompareUnlistedIds() {
    constexpr int kRun = 8000;
    MadeTables tables(std::vector<MadeTables::Field>(kRun, {kZELText, 0}));
    tables.Use({zel::bench::IdsFrom(MadeTables::kFirst, kRun)}, 1);
    const auto texts = [](std::uint32_t first, std::uint32_t step) {
        return Made{1, 1, 2, 0, {}}.Fill(kPayload, [=](Made& made, std::uint32_t n) {
            made.EmptyText(static_cast<std::uint16_t>(first + n * step));
        });
    };
    const Made usual = texts(MadeTables::kFirst, 1);
    Compare("3,000 texts of a type that has 8,000 ids in a run", usual, usual);
    Compare("3,000 that it does not have: the ids after the run", texts(MadeTables::kFirst + kRun, 1), usual);
    Compare("3,000 that it does not have: all 32,768 above its first", texts(MadeTables::kFirst + 0x8000, 0), usual);
}

void CompareUnknownTypes() {
    constexpr int kTypes = 30000;
    MadeTables tables({{kZELLong, 4}});
    tables.Use({{MadeTables::kFirst}}, kTypes);
    const auto ofType = [](int type, int subType) { return Made{type, subType, 0, 0, {}}.Long(MadeTables::kFirst); };
    const Made usual = ofType(kTypes, 1);
    Compare("one long, of the last of 30,000 types", usual, usual);
    Compare("a type that the table does not have", ofType(kTypes + 1, 1), usual);
    Compare("a sub-type that it does not have", ofType(kTypes, 2), usual);
}

// Compared with texts that carry their length: the bytes are the same.
void CompareEmptyTexts() {
    constexpr std::uint16_t kTexts = 30000;
    constexpr std::uint16_t kCount = MadeTables::kFirst;
    MadeTables tables({{kZELShort, 2}, {kZELText, 0}, {kZELChars, kPayload}});
    tables.Use({{kCount, kCount + 1}, {kCount, kCount + 2}}, 1, true);
    const auto texts = [](int subType, std::uint16_t id) {
        return Made{1, subType, 2, 0, {}}.Short(kCount, kTexts).Fill(std::size_t{4} * kTexts, [=](Made& made, auto) {
            made.EmptyText(id);
        });
    };
    const Made usual = texts(1, kCount + 1);
    Compare("30,000 empty texts that carry their length", usual, usual);
    Compare("30,000 empty texts for which the dictionary says 12,000", texts(2, kCount + 2), usual);
}

}  // namespace

int main() {
    std::puts("What messages cost compared with the first of each group: time, and bytes of the heap");
    CZELMessage::init();
    CompareQuotes();
    CompareUnlistedIds();
    CompareUnknownTypes();
    CompareEmptyTexts();
    CZELMessage::terminate();
    return 0;
}
