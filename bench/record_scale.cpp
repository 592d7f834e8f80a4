// What records must not lose with size, as ratios in one run: the time of a field in long groups, of a frame among
// many, of a thread beside another one; that few of many fields cost less; and that nothing is allocated. Best of
// several rounds in which both sides take turns.
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/order_record.h"
#include "bench/timing.h"
#include "bench/two_threads.h"
#include "runtime/heap.h"

namespace {

int allocations = 0;

}  // namespace

// A heap that counts.
namespace zel {

void* HeapAllocate(std::size_t size) noexcept {
    ++allocations;
    return AskSystem(size);
}

void HeapRelease(void* block) noexcept {
    ReturnToSystem(block);
}

}  // namespace zel

namespace zel::bench {
namespace {

constexpr std::size_t kFrames = 1000;

struct Times {
    double one = kNotTimed;
    double other = kNotTimed;
};

template <typename One, typename Other>
Times InTurns(One one, Other other) {
    Times best;
    for (int round = 0; round < kRounds; ++round) {
        Improve(best.one, one);
        Improve(best.other, other);
    }
    return best;
}

// A record with its frame and its binding.
template <typename Record>
struct Packed {
    const ZELBinding* binding;
    Record record;
    char frame[ZEL_MAX_FRAME] = {};
    std::size_t length = 0;

    std::uint64_t Pack(ZELEnvelope* envelope = nullptr) {
        return static_cast<std::uint64_t>(
            ZELPackRecord(binding, &record, envelope, frame, sizeof frame, &length, nullptr));
    }
    std::uint64_t Unpack() {
        return static_cast<std::uint64_t>(ZELUnpackRecord(binding, frame, length, &record, nullptr, nullptr));
    }
};

Packed<OrderRecord> PackedOrder() {
    Packed<OrderRecord> order{BindOrder(), RecordOf(SampleOrder())};
    (void)order.Pack();
    return order;
}

// ---- Long groups ----------------------------------------------------------------------------------------------------

struct Level {
    std::int16_t side;
    _money price;
    std::int32_t quantity;
};

struct Book {
    ZELView symbol;
    _datetime sentAt;
    std::uint32_t count;
    Level levels[400];
};

const ZELBinding* BindBook() {
    const ZELMember members[] = {
        {"SYMBOL", 0, ZEL_VIEW, offsetof(Book, symbol), 0, offsetof(Book, symbol) + offsetof(ZELView, length),
         ZEL_NOWHERE},
        {"SENT_AT", 0, ZEL_DATETIME, offsetof(Book, sentAt), sizeof(_datetime), 0, ZEL_NOWHERE},
    };
    const ZELMember inGroup[] = {
        {"LEVEL_SIDE", 0, ZEL_INT16, offsetof(Level, side), 2, 0, ZEL_NOWHERE},
        {"LEVEL_PRICE", 0, ZEL_MONEY, offsetof(Level, price), sizeof(_money), 0, ZEL_NOWHERE},
        {"LEVEL_QUANTITY", 0, ZEL_INT32, offsetof(Level, quantity), 4, 0, ZEL_NOWHERE},
    };
    const ZELGroup group = {offsetof(Book, levels), sizeof(Level), 400, offsetof(Book, count), inGroup, 3};
    const ZELLayout layout = {20, 3, sizeof(Book), members, 2, &group};
    const ZELBinding* binding = nullptr;
    return ZELBind(&layout, &binding, nullptr, 0) == 0 ? binding : nullptr;
}

void GrowGroups() {
    for (const std::uint32_t count : {1U, 20U, 400U}) {
        Packed<Book> book{BindBook(), {{"BARLEY", 6}, {17, 5, 124, 9, 30, 15, 0, 3}, count, {}}};
        for (Level& level : book.record.levels) {
            level = {1, {3250, 32}, 100};
        }
        const std::uint64_t status = book.Pack() + book.Unpack();
        const Times best = InTurns([&] { return book.Pack(); }, [&] { return book.Unpack(); });
        const double fields = 3 + 3 * count;
        std::printf("  %3u repetitions: packed in %4.2f ns a field, unpacked in %4.2f%s\n", count, best.one / fields,
                    best.other / fields, status == 0 ? "" : "  refused");
        ZELFreeBinding(book.binding);
    }
}

// ---- The order of 35 fields -----------------------------------------------------------------------------------------

void ReadMany() {
    Packed<OrderRecord> order = PackedOrder();
    std::string frames;
    for (std::size_t at = 0; at < kFrames; ++at) {
        frames.append(order.frame, order.length);
    }
    std::vector<OrderRecord> records(kFrames);
    ZELRun run{};
    const Times best = InTurns(
        [&] {
            (void)ZELUnpackRun(order.binding, frames.data(), frames.size(), records.data(), sizeof(OrderRecord),
                               kFrames, &run);
            return run.read;
        },
        [&] { return order.Unpack(); });
    const double each = best.one / static_cast<double>(kFrames);
    std::printf("  %zu frames in a row: %.1f ns each, the same frame again and again %.1f: %.2f times\n", run.read,
                each, best.other, each / best.other);
    ZELFreeBinding(order.binding);
}

void ReadFew() {
    Packed<OrderRecord> order = PackedOrder();
    Packed<OrderRecord> three = order;
    three.binding = BindThreeOfOrder();
    CZELMessage object(0, 0);
    const OrderIds ids = FindOrderIds();
    const auto first = [&object](short id) { return *static_cast<const unsigned char*>(object.getFieldValue(id, -1)); };
    const Times best = InTurns(
        [&] {
            const std::uint64_t status = three.Unpack();
            return status + three.record.texts[1].length +
                   static_cast<std::uint64_t>(three.record.quantity + three.record.side);
        },
        [&] {
            const long status = object.unpackMessage(three.frame);
            return static_cast<std::uint64_t>(status) + first(ids.texts[1]) + first(ids.quantity) + first(ids.side);
        });
    std::printf("  3 of 35 fields: record %.1f ns, message object %.1f: %.2f times\n", best.one, best.other,
                best.one / best.other);
    ZELFreeBinding(three.binding);
    ZELFreeBinding(order.binding);
}

void ShareBinding() {
    const ZELBinding* binding = BindOrder();
    const double ratio = TwoThreadsOverOne(20000, [binding](auto repeat) {
        Packed<OrderRecord> order{binding, RecordOf(SampleOrder())};
        repeat([&order] {
            (void)order.Pack();
            (void)order.Unpack();
        });
    });
    std::printf("  two threads over one binding pack and unpack %.2f times the records of one\n", ratio);
    ZELFreeBinding(binding);
}

void CountAllocations() {
    Packed<OrderRecord> order = PackedOrder();
    for (std::int16_t format = 0; format <= 2; ++format) {
        ZELEnvelope envelope{};
        envelope.format = format;
        const int before = allocations;
        const std::uint64_t status = order.Pack(&envelope) + order.Unpack();
        std::printf("  format %d: %d allocations in packing and unpacking%s\n", format, allocations - before,
                    status == 0 ? "" : "  refused");
    }
    ZELFreeBinding(order.binding);
}

}  // namespace
}  // namespace zel::bench

int main() {
    CZELMessage::init();
    if (CZELMessage::getVormaZelData() == nullptr) {
        return 1;
    }
    std::puts("Records: groups");
    zel::bench::GrowGroups();
    std::puts("Records: the order of 35 fields");
    zel::bench::ReadMany();
    zel::bench::ReadFew();
    zel::bench::ShareBinding();
    zel::bench::CountAllocations();
    CZELMessage::terminate();
    return 0;
}
