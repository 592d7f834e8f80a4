// Cap'n Proto: a builder in a first segment that is used again, written into one flat buffer.
#include <capnp/message.h>
#include <capnp/serialize.h>

#include <memory>

#include "bench/peers/contender.h"
#include "order.capnp.h"

namespace zel::bench {

namespace {

constexpr std::size_t kWords = 256;

struct Buffers {
    capnp::word segment[kWords];
    capnp::word bytes[kWords];
    std::size_t words;
};

void Set(const _money& from, cap::Money::Builder to) {
    to.setAmount(from.amount);
    to.setDisplayCode(from.displayCode);
}

std::size_t Encode(Buffers& buffers, const Order& from) {
    // The first segment must be zero; the destructor of the builder zeroes what it used.
    capnp::MallocMessageBuilder builder(kj::arrayPtr(buffers.segment, kWords));
    auto to = builder.initRoot<cap::Order>();
    to.setText0(from.texts[0]);
    to.setText1(from.texts[1]);
    to.setText2(from.texts[2]);
    to.setText3(from.texts[3]);
    to.setText4(from.texts[4]);
    to.setText5(from.texts[5]);
    to.setText6(from.texts[6]);
    to.setText7(from.texts[7]);
    to.setSide(from.side);
    to.setTimeInForce(from.timeInForce);
    to.setQuantity(from.quantity);
    to.setShownQuantity(from.shownQuantity);
    Set(from.limitPrice, to.initLimitPrice());
    Set(from.stopPrice, to.initStopPrice());
    to.setEnteredAt(Bits(from.enteredAt));
    to.setExpiresAt(Bits(from.expiresAt));
    to.setTargetYield(from.targetYield);
    to.setCommissionRate(from.commissionRate);
    to.setToken(kj::arrayPtr(reinterpret_cast<const kj::byte*>(from.token), kOrderToken));
    to.setAllocationCount(kOrderAllocations);
    auto list = to.initAllocations(kOrderAllocations);
    for (unsigned at = 0; at < kOrderAllocations; ++at) {
        const Allocation& each = from.allocations[at];
        auto added = list[at];
        added.setKind(each.kind);
        added.setAccount(each.account);
        added.setCapacity(each.capacity);
        added.setQuantity(each.quantity);
        Set(each.fee, added.initFee());
    }
    kj::ArrayOutputStream out(kj::arrayPtr(reinterpret_cast<kj::byte*>(buffers.bytes), sizeof buffers.bytes));
    capnp::writeMessage(out, builder);
    buffers.words = out.getArray().size() / sizeof(capnp::word);
    return out.getArray().size();
}

std::uint64_t Sum(capnp::Text::Reader text) {
    return static_cast<unsigned char>(text[0]) + text.size();
}

std::uint64_t Sum(cap::Money::Reader money) {
    return static_cast<std::uint64_t>(money.getAmount() + money.getDisplayCode());
}

std::uint64_t Decode(const Buffers& buffers) {
    capnp::FlatArrayMessageReader reader(kj::arrayPtr(buffers.bytes, buffers.words));
    const auto order = reader.getRoot<cap::Order>();
    std::uint64_t sum = Sum(order.getText0()) + Sum(order.getText1()) + Sum(order.getText2()) + Sum(order.getText3()) +
                        Sum(order.getText4()) + Sum(order.getText5()) + Sum(order.getText6()) + Sum(order.getText7());
    sum += static_cast<std::uint64_t>(order.getSide() + order.getTimeInForce() + order.getQuantity() +
                                      order.getShownQuantity());
    sum += Sum(order.getLimitPrice()) + Sum(order.getStopPrice()) + order.getEnteredAt() + order.getExpiresAt();
    sum += Bits(order.getTargetYield()) + Bits(order.getCommissionRate());
    const auto token = order.getToken();
    sum += token[0] + token.size() + static_cast<std::uint64_t>(order.getAllocationCount());
    for (const auto each : order.getAllocations()) {
        sum += static_cast<std::uint64_t>(each.getKind() + each.getCapacity() + each.getQuantity());
        sum += Sum(each.getAccount()) + Sum(each.getFee());
    }
    return sum;
}

}  // namespace

void AddCapnProto(std::vector<Contender>& contenders) {
    const auto buffers = std::make_shared<Buffers>();
    std::memset(static_cast<void*>(buffers.get()), 0, sizeof(Buffers));
    contenders.push_back(
        {"Cap'n Proto", [buffers] { return Encode(*buffers, SampleOrder()); }, [buffers] { return Decode(*buffers); }});
}

}  // namespace zel::bench
