// msgpack-c: the values in a row as one array, packed into a buffer that is used again; unpacked into a zone that is
// cleared.
#include <msgpack.h>

#include <memory>

#include "bench/peers/contender.h"

namespace zel::bench {

namespace {

constexpr std::size_t kValues = 21;
constexpr std::size_t kAllocationValues = 5;

struct Pack {
    msgpack_sbuffer bytes;
    msgpack_packer packer;
    msgpack_zone zone;

    Pack() : bytes{}, packer{}, zone{} {
        msgpack_sbuffer_init(&bytes);
        msgpack_packer_init(&packer, &bytes, msgpack_sbuffer_write);
        msgpack_zone_init(&zone, 4096);
    }
    ~Pack() {
        msgpack_zone_destroy(&zone);
        msgpack_sbuffer_destroy(&bytes);
    }
    Pack(const Pack&) = delete;
    Pack& operator=(const Pack&) = delete;

    void Text(const char* text) { msgpack_pack_str_with_body(&packer, text, std::strlen(text)); }
    void Money(const _money& money) {
        msgpack_pack_array(&packer, 2);
        msgpack_pack_int32(&packer, money.amount);
        msgpack_pack_int16(&packer, money.displayCode);
    }

    std::size_t Encode(const Order& from) {
        msgpack_sbuffer_clear(&bytes);
        msgpack_pack_array(&packer, kValues);
        for (const char* text : from.texts) {
            Text(text);
        }
        msgpack_pack_int16(&packer, from.side);
        msgpack_pack_int16(&packer, from.timeInForce);
        msgpack_pack_int32(&packer, from.quantity);
        msgpack_pack_int32(&packer, from.shownQuantity);
        Money(from.limitPrice);
        Money(from.stopPrice);
        msgpack_pack_uint64(&packer, Bits(from.enteredAt));
        msgpack_pack_uint64(&packer, Bits(from.expiresAt));
        msgpack_pack_double(&packer, from.targetYield);
        msgpack_pack_float(&packer, from.commissionRate);
        msgpack_pack_bin_with_body(&packer, from.token, kOrderToken);
        msgpack_pack_int16(&packer, kOrderAllocations);
        msgpack_pack_array(&packer, kOrderAllocations);
        for (const Allocation& each : from.allocations) {
            msgpack_pack_array(&packer, kAllocationValues);
            msgpack_pack_int16(&packer, each.kind);
            Text(each.account);
            msgpack_pack_int16(&packer, each.capacity);
            msgpack_pack_int32(&packer, each.quantity);
            Money(each.fee);
        }
        return bytes.size;
    }

    std::uint64_t Decode() {
        msgpack_zone_clear(&zone);
        msgpack_object order;
        if (msgpack_unpack(bytes.data, bytes.size, nullptr, &zone, &order) != MSGPACK_UNPACK_SUCCESS ||
            order.type != MSGPACK_OBJECT_ARRAY || order.via.array.size != kValues) {
            return 0;
        }
        return Sum(order);
    }

    static std::uint64_t Sum(const msgpack_object& value) {
        switch (value.type) {
            case MSGPACK_OBJECT_STR:
            case MSGPACK_OBJECT_BIN:
                return static_cast<unsigned char>(value.via.str.ptr[0]) + value.via.str.size;
            case MSGPACK_OBJECT_ARRAY: {
                std::uint64_t sum = 0;
                for (std::uint32_t at = 0; at < value.via.array.size; ++at) {
                    sum += Sum(value.via.array.ptr[at]);
                }
                return sum;
            }
            case MSGPACK_OBJECT_FLOAT32:
            case MSGPACK_OBJECT_FLOAT64:
                return Bits(value.via.f64);
            default:
                return value.via.u64;
        }
    }
};

}  // namespace

void AddMsgpack(std::vector<Contender>& contenders) {
    const auto pack = std::make_shared<Pack>();
    contenders.push_back(
        {"msgpack-c", [pack] { return pack->Encode(SampleOrder()); }, [pack] { return pack->Decode(); }});
}

}  // namespace zel::bench
