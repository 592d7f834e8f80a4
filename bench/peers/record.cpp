// This library's records: the program's values are a struct, which is packed as it is and unpacked into.
#include <memory>

#include "bench/order_record.h"
#include "bench/peers/contender.h"

namespace zel::bench {

namespace {

struct Records {
    std::shared_ptr<const ZELBinding> binding;
    OrderRecord sent;
    OrderRecord received;
    char frame[ZEL_MAX_FRAME];
    std::size_t length;
};

std::shared_ptr<Records> NewRecords(const ZELBinding* binding) {
    return std::make_shared<Records>(Records{{binding, ZELFreeBinding}, RecordOf(SampleOrder()), {}, {}, 0});
}

std::size_t Encode(Records& records, const ZELBinding* binding) {
    return ZELPackRecord(binding, &records.sent, nullptr, records.frame, sizeof records.frame, &records.length,
                         nullptr) == 0
               ? records.length
               : 0;
}

bool Unpack(Records& records) {
    return ZELUnpackRecord(records.binding.get(), records.frame, records.length, &records.received, nullptr, nullptr) ==
           0;
}

}  // namespace

void AddRecord(std::vector<Contender>& contenders) {
    const auto all = NewRecords(BindOrder());
    contenders.push_back({"ZEL, record", [all] { return Encode(*all, all->binding.get()); },
                          [all] { return Unpack(*all) ? ReadRecord(all->received) : std::uint64_t{0}; }});
    const auto three = NewRecords(BindThreeOfOrder());
    const std::shared_ptr<const ZELBinding> whole(BindOrder(), ZELFreeBinding);
    contenders.push_back({"ZEL, record of 3 fields", [three, whole] { return Encode(*three, whole.get()); },
                          [three] {
                              return Unpack(*three) ? three->received.texts[1].length +
                                                          static_cast<std::uint64_t>(three->received.quantity +
                                                                                     three->received.side)
                                                    : std::uint64_t{0};
                          }});
}

}  // namespace zel::bench
