// QuickFIX: a message with a data dictionary, validated against it when it is read.
#include <quickfix/DataDictionary.h>
#include <quickfix/FieldConvertors.h>
#include <quickfix/Group.h>
#include <quickfix/Message.h>

#include <memory>

#include "bench/peers/contender.h"

namespace zel::bench {

namespace {

// The tags of order_fix.xml.
enum Tag {
    kText = 5001,
    kSide = 5009,
    kTimeInForce,
    kQuantity,
    kShownQuantity,
    kLimitPrice,
    kStopPrice,
    kEnteredAt,
    kExpiresAt,
    kTargetYield,
    kCommissionRate,
    kToken,
    kAllocationCount,
    kAllocationKind,
    kAllocationAccount,
    kAllocationCapacity,
    kAllocationQuantity,
    kAllocationFee
};

double Price(const _money& money) {
    return static_cast<double>(money.amount) / (money.displayCode == 20 ? 100 : money.displayCode);
}

FIX::UtcTimeStamp Moment(const _datetime& moment) {
    return {moment.hour, moment.minute, moment.second, moment.day, moment.month, moment.year + 1900};
}

std::uint64_t Sum(const std::string& text) {
    return static_cast<unsigned char>(text[0]) + text.size();
}

struct Fix {
    FIX::DataDictionary dictionary{std::string(ZEL_BENCH_FIX_DICTIONARY)};
    std::string bytes;

    std::size_t Encode(const Order& from) {
        FIX::Message to;
        FIX::Header& header = to.getHeader();
        header.setField(FIX::FIELD::BeginString, "FIX.4.4");
        header.setField(FIX::FIELD::MsgType, "U1");
        header.setField(FIX::FIELD::SenderCompID, "A");
        header.setField(FIX::FIELD::TargetCompID, "B");
        header.setField(FIX::FIELD::MsgSeqNum, FIX::IntConvertor::convert(7));
        header.setField(FIX::FIELD::SendingTime, FIX::UtcTimeStampConvertor::convert(Moment(from.enteredAt)));
        for (int text = 0; text < kOrderTexts; ++text) {
            to.setField(kText + text, from.texts[text]);
        }
        to.setField(kSide, FIX::IntConvertor::convert(from.side));
        to.setField(kTimeInForce, FIX::IntConvertor::convert(from.timeInForce));
        to.setField(kQuantity, FIX::IntConvertor::convert(from.quantity));
        to.setField(kShownQuantity, FIX::IntConvertor::convert(from.shownQuantity));
        to.setField(kLimitPrice, FIX::DoubleConvertor::convert(Price(from.limitPrice)));
        to.setField(kStopPrice, FIX::DoubleConvertor::convert(Price(from.stopPrice)));
        to.setField(kEnteredAt, FIX::UtcTimeStampConvertor::convert(Moment(from.enteredAt)));
        to.setField(kExpiresAt, FIX::UtcTimeStampConvertor::convert(Moment(from.expiresAt)));
        to.setField(kTargetYield, FIX::DoubleConvertor::convert(from.targetYield));
        to.setField(kCommissionRate, FIX::DoubleConvertor::convert(static_cast<double>(from.commissionRate)));
        to.setField(kToken, std::string(from.token, kOrderToken));
        const int order[] = {kAllocationKind,     kAllocationAccount, kAllocationCapacity,
                             kAllocationQuantity, kAllocationFee,     0};
        for (const Allocation& each : from.allocations) {
            FIX::Group group(kAllocationCount, kAllocationKind, order);
            group.setField(kAllocationKind, FIX::IntConvertor::convert(each.kind));
            group.setField(kAllocationAccount, each.account);
            group.setField(kAllocationCapacity, FIX::IntConvertor::convert(each.capacity));
            group.setField(kAllocationQuantity, FIX::IntConvertor::convert(each.quantity));
            group.setField(kAllocationFee, FIX::DoubleConvertor::convert(Price(each.fee)));
            to.addGroup(group);
        }
        to.toString(bytes);
        return bytes.size();
    }

    std::uint64_t Decode() const {
        const FIX::Message from(bytes, dictionary, true);
        dictionary.validate(from);
        std::uint64_t sum = 0;
        for (int text = 0; text < kOrderTexts; ++text) {
            sum += Sum(from.getField(kText + text));
        }
        for (const int tag : {kSide, kTimeInForce, kQuantity, kShownQuantity, kAllocationCount}) {
            sum += static_cast<std::uint64_t>(FIX::IntConvertor::convert(from.getField(tag)));
        }
        for (const int tag : {kLimitPrice, kStopPrice, kTargetYield, kCommissionRate}) {
            sum += Bits(FIX::DoubleConvertor::convert(from.getField(tag)));
        }
        for (const int tag : {kEnteredAt, kExpiresAt}) {
            const FIX::UtcTimeStamp moment = FIX::UtcTimeStampConvertor::convert(from.getField(tag));
            sum += static_cast<std::uint64_t>(moment.getHour() + moment.getDay());
        }
        sum += Sum(from.getField(kToken));
        FIX::Group each(kAllocationCount, kAllocationKind);
        for (int at = 1; at <= kOrderAllocations; ++at) {
            from.getGroup(static_cast<unsigned>(at), each);
            for (const int tag : {kAllocationKind, kAllocationCapacity, kAllocationQuantity}) {
                sum += static_cast<std::uint64_t>(FIX::IntConvertor::convert(each.getField(tag)));
            }
            sum += Sum(each.getField(kAllocationAccount));
            sum += Bits(FIX::DoubleConvertor::convert(each.getField(kAllocationFee)));
        }
        return sum;
    }
};

}  // namespace

void AddQuickfix(std::vector<Contender>& contenders) {
    const auto fix = std::make_shared<Fix>();
    contenders.push_back(
        {"QuickFIX, validated", [fix] { return fix->Encode(SampleOrder()); }, [fix] { return fix->Decode(); }});
}

}  // namespace zel::bench
