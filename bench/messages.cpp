// What a message costs: creating, setting, packing, unpacking and reading an order of 35 fields (three allocations),
// and how the cost grows with the repetitions. Times per field are items per second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "include/zelmessage.h"
#include "include/zelprovider.h"

namespace {

constexpr int kOrderFields = 35;

// A frame of 6 bytes and a header of 32.
constexpr std::size_t kPayloadAt = 38;

class Provider {
public:
    Provider() { CZELMessage::init(); }
    ~Provider() { CZELMessage::terminate(); }
    Provider(const Provider&) = delete;
    Provider& operator=(const Provider&) = delete;
};

short IdOf(const char* name) {
    return static_cast<short>(CZELMessage::getVormaZelData()->idFromName(name));
}

// One field of the order: its value as the setters take it.
struct OrderField {
    short id;
    short occurrence;
    short binaryLength;  // 0: by type
    std::string value;
};

template <typename T>
std::string Raw(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::vector<OrderField> OrderFields() {
    std::vector<OrderField> fields;
    const auto add = [&](const char* name, const std::string& value, short occurrence = -1) {
        fields.push_back({IdOf(name), occurrence, 0, value});
    };
    for (const char* text :
         {"CLIENT_ORDER_REF", "SYMBOL", "ACCOUNT", "TRADER", "DESK", "CLEARING_FIRM", "STRATEGY_TAG", "NOTE"}) {
        add(text, std::string("value of ") + text);
    }
    add("SIDE", Raw(short{1}));
    add("TIME_IN_FORCE", Raw(short{2}));
    add("QUANTITY", Raw(ZELLong{1500}));
    add("SHOWN_QUANTITY", Raw(ZELLong{100}));
    add("LIMIT_PRICE", Raw(_money{3250, 32}));
    add("STOP_PRICE", Raw(_money{12345, 20}));
    add("ENTERED_AT", Raw(_datetime{17, 5, 124, 9, 30, 15, 0, 3}));
    add("EXPIRES_AT", Raw(_datetime{18, 5, 124, 17, 0, 0, 0, 3}));
    add("TARGET_YIELD", Raw(4.125));
    add("COMMISSION_RATE", Raw(0.25F));
    fields.push_back({IdOf("ROUTE_TOKEN"), -1, 16, "0123456789abcdef"});
    add("ALLOCATION_COUNT", Raw(short{3}));
    for (short occurrence = 1; occurrence <= 3; ++occurrence) {
        add("ALLOCATION_KIND", Raw(short{0}), occurrence);
        add("ALLOCATION_ACCOUNT", "SALT-0042", occurrence);
        add("ALLOCATION_CAPACITY", Raw(short{1}), occurrence);
        add("ALLOCATION_QUANTITY", Raw(ZELLong{500}), occurrence);
        add("ALLOCATION_FEE", Raw(_money{125, 20}), occurrence);
    }
    return fields;
}

void Create(CZELMessage& order, short msgType, short subType, short repeatCount) {
    order.msgType = msgType;
    order.subType = subType;
    order.repeatCount = repeatCount;
    order.createStruct();
}

void SetFields(CZELMessage& order, const std::vector<OrderField>& fields) {
    for (const OrderField& field : fields) {
        if (field.binaryLength != 0) {
            order.setFieldValueBinary(field.id, field.value.data(), field.binaryLength, field.occurrence);
        } else {
            order.setFieldValue(field.id, field.value.c_str(), field.occurrence);
        }
    }
}

std::string Pack(CZELMessage& order) {
    std::vector<char> buffer(kZELMaxFrame);
    long length = 0;
    if (order.packMessage(buffer.data(), &length) != 0) {
        std::fprintf(stderr, "the benchmark's message does not pack\n");
        std::abort();
    }
    return {buffer.data(), static_cast<std::size_t>(length)};
}

void FillOrder(CZELMessage& order) {
    Create(order, 10, 1, 3);
    SetFields(order, OrderFields());
}

// ---- The order of 35 fields -----------------------------------------------------------------------------------------

void CreateOrder(benchmark::State& state) {
    CZELMessage order(0, 0);
    for (auto _ : state) {
        Create(order, 10, 1, 3);
        benchmark::DoNotOptimize(order.message);
    }
}
BENCHMARK(CreateOrder);

void CreateAndSetOrder(benchmark::State& state) {
    const std::vector<OrderField> fields = OrderFields();
    CZELMessage order(0, 0);
    for (auto _ : state) {
        Create(order, 10, 1, 3);
        SetFields(order, fields);
    }
    state.SetItemsProcessed(state.iterations() * kOrderFields);
}
BENCHMARK(CreateAndSetOrder);

void GetOrder(benchmark::State& state) {
    const std::vector<OrderField> fields = OrderFields();
    CZELMessage order(0, 0);
    FillOrder(order);
    for (auto _ : state) {
        for (const OrderField& field : fields) {
            benchmark::DoNotOptimize(order.getFieldValue(field.id, field.occurrence));
        }
    }
    state.SetItemsProcessed(state.iterations() * kOrderFields);
}
BENCHMARK(GetOrder);

void CopyOrder(benchmark::State& state) {
    CZELMessage order(0, 0);
    FillOrder(order);
    const std::string frame = Pack(order);
    std::vector<char> copy(frame.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), frame.data(), frame.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(frame.size()));
}
BENCHMARK(CopyOrder);

// Arguments: compressMode, whether in format 2.
void PackOrder(benchmark::State& state) {
    CZELMessage order(0, static_cast<int>(state.range(1)));
    FillOrder(order);
    order.compressMode = static_cast<int>(state.range(0));
    char buffer[kZELMaxFrame];
    long length = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(order.packMessage(buffer, &length));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kOrderFields);
    state.SetBytesProcessed(state.iterations() * length);
}
BENCHMARK(PackOrder)->ArgNames({"compress", "format2"})->Args({0, 0})->Args({0, 1})->Args({1, 0});

void UnpackOrder(benchmark::State& state) {
    CZELMessage order(0, static_cast<int>(state.range(1)));
    FillOrder(order);
    order.compressMode = static_cast<int>(state.range(0));
    const std::string frame = Pack(order);
    CZELMessage received(0, 0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(received.unpackMessage(frame.data()));
    }
    state.SetItemsProcessed(state.iterations() * kOrderFields);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(frame.size()));
}
BENCHMARK(UnpackOrder)->ArgNames({"compress", "format2"})->Args({0, 0})->Args({0, 1})->Args({1, 0});

// ---- Growth ---------------------------------------------------------------------------------------------------------

// A message with a group of three fields to a repetition (400 of them fit a payload in format 2): BOOK_DEPTH has no
// marker, MULTI_LEG_ORDER has one.
void FillGroup(CZELMessage& message, bool marked, short repetitions) {
    static const char* const kLevel[] = {"LEVEL_SIDE", "LEVEL_PRICE", "LEVEL_QUANTITY"};
    static const char* const kLeg[] = {"LEG_MARK", "LEG_SIDE", "LEG_PRICE"};
    Create(message, marked ? 10 : 20, marked ? 5 : 3, repetitions);
    message.setFieldValue(IdOf(marked ? "LEG_COUNT" : "LEVEL_COUNT"), &repetitions, -1);
    for (const char* mandatory : {"CLIENT_ORDER_REF", "ACCOUNT", "TRADER", "SYMBOL"}) {
        message.setFieldValue(IdOf(mandatory), "x", -1);
    }
    const _datetime now{17, 5, 124, 9, 30, 15, 0, 3};
    message.setFieldValue(IdOf("SENT_AT"), &now, -1);
    const _money price{3250, 32};
    for (const char* name : marked ? kLeg : kLevel) {
        const short id = IdOf(name);
        for (short occurrence = 1; occurrence <= repetitions; ++occurrence) {
            message.setFieldValue(id, &price, occurrence);
        }
    }
}

// The frame of a message in format 2 with its fields in reversed order.
std::string Reversed(const std::string& frame) {
    std::vector<std::string_view> fields;
    for (std::size_t at = kPayloadAt; at < frame.size();) {
        const auto length = static_cast<std::size_t>(static_cast<unsigned char>(frame[at + 2]) << 8U |
                                                     static_cast<unsigned char>(frame[at + 3]));
        fields.push_back(std::string_view(frame).substr(at, 4 + length));
        at += 4 + length;
    }
    std::string reversed = frame.substr(0, kPayloadAt);
    for (auto field = fields.rbegin(); field != fields.rend(); ++field) {
        reversed += *field;
    }
    return reversed;
}

// Arguments: repetitions, whether marked, format.
void PackGroup(benchmark::State& state) {
    CZELMessage message(0, 0);
    FillGroup(message, state.range(1) != 0, static_cast<short>(state.range(0)));
    message.message->format = static_cast<unsigned short>(state.range(2));
    char buffer[kZELMaxFrame];
    long length = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(message.packMessage(buffer, &length));
        benchmark::ClobberMemory();
    }
    if (length == 0) {
        state.SkipWithError("the message does not pack");
    }
    state.SetItemsProcessed(state.iterations() * message.message->numFields);
}
BENCHMARK(PackGroup)
    ->ArgNames({"repetitions", "marked", "format"})
    ->ArgsProduct({{1, 20, 400}, {0, 1}, {0, 2}})
    // In format 1 unset fields are sent, too: fewer repetitions fit.
    ->ArgsProduct({{1, 20, 200}, {0, 1}, {1}});

// Arguments: repetitions, whether marked, format, whether in reversed order of arrival.
void UnpackGroup(benchmark::State& state) {
    CZELMessage message(0, 0);
    FillGroup(message, state.range(1) != 0, static_cast<short>(state.range(0)));
    message.message->format = static_cast<unsigned short>(state.range(2));
    const std::string frame = state.range(3) != 0 ? Reversed(Pack(message)) : Pack(message);
    CZELMessage received(0, 0);
    if (received.unpackMessage(frame.data()) != 0) {
        state.SkipWithError("the message is refused");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(received.unpackMessage(frame.data()));
    }
    state.SetItemsProcessed(state.iterations() * received.message->numFields);
}
BENCHMARK(UnpackGroup)
    ->ArgNames({"repetitions", "marked", "format", "reversed"})
    ->ArgsProduct({{1, 20, 400}, {0, 1}, {0, 2}, {0}})
    ->ArgsProduct({{1, 20, 200}, {0}, {1}, {0}})  // format 1 has no ids, so no field may be left out
    ->ArgsProduct({{1, 20, 400}, {0}, {2}, {1}});

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const Provider provider;
    if (CZELMessage::getVormaZelData() == nullptr) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
