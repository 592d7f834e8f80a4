// protobuf: the generated class, fresh and used again, and a DynamicMessage through reflection.
#include <google/protobuf/dynamic_message.h>

#include <memory>

#include "bench/peers/contender.h"
#include "order.pb.h"

namespace zel::bench {

namespace {

namespace pb = google::protobuf;

void Set(const _money& from, proto::Money& to) {
    to.set_amount(from.amount);
    to.set_display_code(from.displayCode);
}

void Set(const Order& from, proto::Order& to) {
    to.set_text0(from.texts[0]);
    to.set_text1(from.texts[1]);
    to.set_text2(from.texts[2]);
    to.set_text3(from.texts[3]);
    to.set_text4(from.texts[4]);
    to.set_text5(from.texts[5]);
    to.set_text6(from.texts[6]);
    to.set_text7(from.texts[7]);
    to.set_side(from.side);
    to.set_time_in_force(from.timeInForce);
    to.set_quantity(from.quantity);
    to.set_shown_quantity(from.shownQuantity);
    Set(from.limitPrice, *to.mutable_limit_price());
    Set(from.stopPrice, *to.mutable_stop_price());
    to.set_entered_at(Bits(from.enteredAt));
    to.set_expires_at(Bits(from.expiresAt));
    to.set_target_yield(from.targetYield);
    to.set_commission_rate(from.commissionRate);
    to.set_token(from.token, kOrderToken);
    to.set_allocation_count(kOrderAllocations);
    for (const Allocation& allocation : from.allocations) {
        proto::Allocation& added = *to.add_allocations();
        added.set_kind(allocation.kind);
        added.set_account(allocation.account);
        added.set_capacity(allocation.capacity);
        added.set_quantity(allocation.quantity);
        Set(allocation.fee, *added.mutable_fee());
    }
}

std::uint64_t Sum(const proto::Money& money) {
    return static_cast<std::uint64_t>(money.amount() + money.display_code());
}

std::uint64_t Sum(const std::string& text) {
    return static_cast<unsigned char>(text[0]) + text.size();
}

std::uint64_t Sum(const proto::Order& order) {
    std::uint64_t sum = Sum(order.text0()) + Sum(order.text1()) + Sum(order.text2()) + Sum(order.text3()) +
                        Sum(order.text4()) + Sum(order.text5()) + Sum(order.text6()) + Sum(order.text7());
    sum += static_cast<std::uint64_t>(order.side() + order.time_in_force() + order.quantity() + order.shown_quantity());
    sum += Sum(order.limit_price()) + Sum(order.stop_price()) + order.entered_at() + order.expires_at();
    sum += Bits(order.target_yield()) + Bits(order.commission_rate()) + Sum(order.token());
    sum += static_cast<std::uint64_t>(order.allocation_count());
    for (const proto::Allocation& allocation : order.allocations()) {
        sum += static_cast<std::uint64_t>(allocation.kind() + allocation.capacity() + allocation.quantity());
        sum += Sum(allocation.account()) + Sum(allocation.fee());
    }
    return sum;
}

struct Generated {
    proto::Order order;
    std::string bytes;
};

// The fields of one message type, looked up once.
struct Fields {
    const pb::Reflection* reflection = nullptr;
    std::vector<const pb::FieldDescriptor*> byNumber;

    explicit Fields(const pb::Message& message) : reflection(message.GetReflection()) {
        const pb::Descriptor& type = *message.GetDescriptor();
        byNumber.resize(static_cast<std::size_t>(type.field_count()) + 1);
        for (int at = 0; at < type.field_count(); ++at) {
            byNumber[static_cast<std::size_t>(type.field(at)->number())] = type.field(at);
        }
    }
    const pb::FieldDescriptor* operator[](int number) const { return byNumber[static_cast<std::size_t>(number)]; }
};

struct Dynamic {
    pb::DynamicMessageFactory factory;
    const pb::Message* orderType = factory.GetPrototype(proto::Order::descriptor());
    Fields order{*orderType};
    Fields money{*factory.GetPrototype(proto::Money::descriptor())};
    Fields allocation{*factory.GetPrototype(proto::Allocation::descriptor())};
    std::string bytes;

    void Set(const _money& from, pb::Message* to) const {
        money.reflection->SetInt32(to, money[1], from.amount);
        money.reflection->SetInt32(to, money[2], from.displayCode);
    }

    std::size_t Encode() {
        const Order& from = SampleOrder();
        const std::unique_ptr<pb::Message> to(orderType->New());
        const pb::Reflection& set = *order.reflection;
        for (int text = 0; text < kOrderTexts; ++text) {
            set.SetString(to.get(), order[text + 1], from.texts[text]);
        }
        set.SetInt32(to.get(), order[9], from.side);
        set.SetInt32(to.get(), order[10], from.timeInForce);
        set.SetInt32(to.get(), order[11], from.quantity);
        set.SetInt32(to.get(), order[12], from.shownQuantity);
        Set(from.limitPrice, set.MutableMessage(to.get(), order[13]));
        Set(from.stopPrice, set.MutableMessage(to.get(), order[14]));
        set.SetUInt64(to.get(), order[15], Bits(from.enteredAt));
        set.SetUInt64(to.get(), order[16], Bits(from.expiresAt));
        set.SetDouble(to.get(), order[17], from.targetYield);
        set.SetFloat(to.get(), order[18], from.commissionRate);
        set.SetString(to.get(), order[19], std::string(from.token, kOrderToken));
        set.SetInt32(to.get(), order[20], kOrderAllocations);
        for (const Allocation& each : from.allocations) {
            pb::Message* added = set.AddMessage(to.get(), order[21]);
            allocation.reflection->SetInt32(added, allocation[1], each.kind);
            allocation.reflection->SetString(added, allocation[2], each.account);
            allocation.reflection->SetInt32(added, allocation[3], each.capacity);
            allocation.reflection->SetInt32(added, allocation[4], each.quantity);
            Set(each.fee, allocation.reflection->MutableMessage(added, allocation[5]));
        }
        to->SerializeToString(&bytes);
        return bytes.size();
    }

    std::uint64_t Sum(const pb::Message& from) const {
        return static_cast<std::uint64_t>(money.reflection->GetInt32(from, money[1]) +
                                          money.reflection->GetInt32(from, money[2]));
    }

    std::uint64_t Decode() const {
        const std::unique_ptr<pb::Message> from(orderType->New());
        if (!from->ParseFromString(bytes)) {
            return 0;
        }
        const pb::Reflection& get = *order.reflection;
        std::string scratch;
        std::uint64_t sum = 0;
        for (int text = 1; text <= kOrderTexts; ++text) {
            sum += bench::Sum(get.GetStringReference(*from, order[text], &scratch));
        }
        for (const int number : {9, 10, 11, 12, 20}) {
            sum += static_cast<std::uint64_t>(get.GetInt32(*from, order[number]));
        }
        sum += Sum(get.GetMessage(*from, order[13])) + Sum(get.GetMessage(*from, order[14]));
        sum += get.GetUInt64(*from, order[15]) + get.GetUInt64(*from, order[16]);
        sum += Bits(get.GetDouble(*from, order[17])) + Bits(get.GetFloat(*from, order[18]));
        sum += bench::Sum(get.GetStringReference(*from, order[19], &scratch));
        const pb::Reflection& each = *allocation.reflection;
        for (int at = 0; at < get.FieldSize(*from, order[21]); ++at) {
            const pb::Message& added = get.GetRepeatedMessage(*from, order[21], at);
            for (const int number : {1, 3, 4}) {
                sum += static_cast<std::uint64_t>(each.GetInt32(added, allocation[number]));
            }
            sum += bench::Sum(each.GetStringReference(added, allocation[2], &scratch));
            sum += Sum(each.GetMessage(added, allocation[5]));
        }
        return sum;
    }
};

}  // namespace

void AddProtobuf(std::vector<Contender>& contenders) {
    const auto reused = std::make_shared<Generated>();
    contenders.push_back({"protobuf, reused",
                          [reused] {
                              reused->order.Clear();
                              Set(SampleOrder(), reused->order);
                              reused->order.SerializeToString(&reused->bytes);
                              return reused->bytes.size();
                          },
                          [reused] {
                              return reused->order.ParseFromString(reused->bytes) ? Sum(reused->order) : 0;
                          }});
    const auto fresh = std::make_shared<std::string>();
    contenders.push_back({"protobuf, fresh",
                          [fresh] {
                              proto::Order order;
                              Set(SampleOrder(), order);
                              order.SerializeToString(fresh.get());
                              return fresh->size();
                          },
                          [fresh] {
                              proto::Order order;
                              return order.ParseFromString(*fresh) ? Sum(order) : 0;
                          }});
    const auto dynamic = std::make_shared<Dynamic>();
    contenders.push_back({"protobuf, DynamicMessage", [dynamic] { return dynamic->Encode(); },
                          [dynamic] { return dynamic->Decode(); }});
}

}  // namespace zel::bench
