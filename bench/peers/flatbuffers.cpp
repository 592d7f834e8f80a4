// FlatBuffers: a builder that is used again; a buffer is verified before it is read.
#include <memory>

#include "bench/peers/contender.h"
#include "order_generated.h"

namespace zel::bench {

namespace {

flat::Money Pack(const _money& money) {
    return {money.amount, money.displayCode};
}

std::size_t Encode(flatbuffers::FlatBufferBuilder& builder, const Order& from) {
    builder.Clear();
    flatbuffers::Offset<flatbuffers::String> texts[kOrderTexts];
    for (int text = 0; text < kOrderTexts; ++text) {
        texts[text] = builder.CreateString(from.texts[text]);
    }
    flatbuffers::Offset<flat::Allocation> allocations[kOrderAllocations];
    for (int at = 0; at < kOrderAllocations; ++at) {
        const Allocation& each = from.allocations[at];
        const flat::Money fee = Pack(each.fee);
        allocations[at] = flat::CreateAllocation(builder, each.kind, builder.CreateString(each.account), each.capacity,
                                                 each.quantity, &fee);
    }
    const auto list = builder.CreateVector(allocations, kOrderAllocations);
    const flat::Money limit = Pack(from.limitPrice);
    const flat::Money stop = Pack(from.stopPrice);
    flat::Token token;
    std::memcpy(&token, from.token, sizeof token);
    builder.Finish(flat::CreateOrder(builder, texts[0], texts[1], texts[2], texts[3], texts[4], texts[5], texts[6],
                                     texts[7], from.side, from.timeInForce, from.quantity, from.shownQuantity, &limit,
                                     &stop, Bits(from.enteredAt), Bits(from.expiresAt), from.targetYield,
                                     from.commissionRate, &token, kOrderAllocations, list));
    return builder.GetSize();
}

std::uint64_t Sum(const flatbuffers::String* text) {
    return static_cast<unsigned char>(text->data()[0]) + text->size();
}

std::uint64_t Sum(const flat::Money* money) {
    return static_cast<std::uint64_t>(money->amount() + money->display_code());
}

std::uint64_t Decode(const std::uint8_t* bytes, std::size_t size) {
    flatbuffers::Verifier verifier(bytes, size);
    if (!flat::VerifyOrderBuffer(verifier)) {
        return 0;
    }
    const flat::Order& order = *flat::GetOrder(bytes);
    std::uint64_t sum = Sum(order.text0()) + Sum(order.text1()) + Sum(order.text2()) + Sum(order.text3()) +
                        Sum(order.text4()) + Sum(order.text5()) + Sum(order.text6()) + Sum(order.text7());
    sum += static_cast<std::uint64_t>(order.side() + order.time_in_force() + order.quantity() + order.shown_quantity());
    sum += Sum(order.limit_price()) + Sum(order.stop_price()) + order.entered_at() + order.expires_at();
    sum += Bits(order.target_yield()) + Bits(order.commission_rate());
    sum += (*order.token()->bytes())[0] + kOrderToken;
    sum += static_cast<std::uint64_t>(order.allocation_count());
    for (const flat::Allocation* each : *order.allocations()) {
        sum += static_cast<std::uint64_t>(each->kind() + each->capacity() + each->quantity());
        sum += Sum(each->account()) + Sum(each->fee());
    }
    return sum;
}

}  // namespace

void AddFlatbuffers(std::vector<Contender>& contenders) {
    const auto builder = std::make_shared<flatbuffers::FlatBufferBuilder>(1024);
    contenders.push_back({"FlatBuffers, verified", [builder] { return Encode(*builder, SampleOrder()); },
                          [builder] { return Decode(builder->GetBufferPointer(), builder->GetSize()); }});
}

}  // namespace zel::bench
