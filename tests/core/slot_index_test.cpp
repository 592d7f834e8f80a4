// Finding slots and placing received fields, on random field lists, compared with a linear search.
#include "core/slots/slot_index.h"

#include <gtest/gtest.h>

#include "core/message_unpack.h"
#include "core/message_validate.h"
#include "core/slots/message_model.h"
#include "core/wire/field_codec.h"
#include "core/wire/header.h"
#include "tests/support/bytes.h"
#include "tests/support/random.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

constexpr unsigned short kIds[] = {kSide, kQty, kCode, kSymbol, kPrice, kLegs, kMark};

// A message with a random list: repeated ids, markers anywhere, groups that do not fit.
class RandomType {
public:
    RandomType(TestTables& tables, Random& random) : list_(static_cast<std::size_t>(random.Below(9))) {
        ZELSubTypeNode& node = tables.ChangeMessage(kVersions);
        const bool distinct = random.Below(2) == 0;
        const int first = random.Below(7);
        for (std::size_t at = 0; at < list_.size(); ++at) {
            const std::size_t id = distinct ? (at + static_cast<std::size_t>(first)) % 7 : random() % 7;
            list_[at] = {kIds[id], 1};
        }
        node.fieldList = list_.data();
        node.fieldCount = static_cast<std::int16_t>(list_.size());
        node.repeatFieldId = random.Below(4) == 0 ? std::uint16_t{0} : kIds[random() % 7];
        node.groupSize = static_cast<std::int16_t>(random.Below(6) - 1);
        message = CreateZelMsgStruct(1, kVersions, static_cast<short>(random.Below(5)));
        for (int slot = 0; message != nullptr && slot < message->dataBuf->count; ++slot) {
            ids.push_back(message->dataBuf->fields[slot].id);
        }
    }
    ~RandomType() {
        if (message != nullptr) {
            FreeZelMsgStruct(message);
        }
    }
    RandomType(const RandomType&) = delete;
    RandomType& operator=(const RandomType&) = delete;

    ZelMsgStruct* message = nullptr;
    std::vector<int> ids;

private:
    std::vector<ZELFieldListEntry> list_;
};

// The number of the first unset slot with this id and as many markers at or before it, or -1.
int FreeSlot(const std::vector<int>& ids, const std::vector<int>& arrivals, int id, int markers) {
    int before = 0;
    for (std::size_t slot = 0; slot < ids.size(); ++slot) {
        before += ids[slot] == kMark ? 1 : 0;
        if (ids[slot] == id && arrivals[slot] < 0 && before == markers) {
            return static_cast<int>(slot);
        }
    }
    return -1;
}

TEST(SlotIndex, FindsEveryOccurrence) {
    TestTables tables;
    RecordedReports reports;
    Random random(1);
    for (int round = 0; round < 4000; ++round) {
        const RandomType type(tables, random);
        if (type.message == nullptr) {
            continue;
        }
        const MessageBlock& block = BlockOf(*type.message);
        const ZELDataBuf& buffer = *type.message->dataBuf;
        for (const unsigned short id : kIds) {
            short instance = 0;
            for (int at = 0; at < buffer.count; ++at) {
                const _field_data& slot = buffer.fields[at];
                if (slot.id != id) {
                    continue;
                }
                ASSERT_EQ(FindZELFieldInstance(type.message, id, ++instance), &slot) << round;
                const PlanEntry& entry = EntryOf(block, slot);
                ASSERT_EQ(entry.rule.id, id) << round;
                ASSERT_TRUE(entry.soleId == kNoId || slot.repetition + 1 == instance) << round;
            }
            for (const int none : {0, -1, instance + 1, 32767}) {
                ASSERT_EQ(FindZELFieldInstance(type.message, id, static_cast<short>(none)), nullptr) << round;
            }
        }
    }
}

TEST(SlotIndex, PutsReceivedFieldsWhereTheyBelong) {
    TestTables tables;
    RecordedReports reports;
    Random random(2);
    for (int round = 0; round < 6000; ++round) {
        const RandomType type(tables, random);
        if (type.message == nullptr) {
            continue;
        }
        const short format = round % 2 == 0 ? kIdAndValue : kIdLengthAndValue;
        const std::vector<int>& ids = type.ids;
        std::vector<int> arrivals(ids.size(), -1);
        std::string payload;
        int markers = 0;
        int fields = 0;
        std::size_t next = 0;
        // Mostly in order; some are missing, some anywhere.
        for (; fields < 20 && (next < ids.size() || random.Below(4) != 0); ++fields) {
            next += random.Below(6) == 0 ? 1U : 0U;
            const bool inOrder = next < ids.size() && random.Below(8) != 0;
            const int id = inOrder ? ids[next++] : kIds[random() % 7];
            markers += id == kMark ? 1 : 0;
            const int slot = FreeSlot(ids, arrivals, id, markers);
            if (slot >= 0) {
                arrivals[static_cast<std::size_t>(slot)] = fields;
            }
            char value[8] = {};
            std::memcpy(value, &fields, sizeof fields);
            char bytes[32];
            Writer writer{bytes, bytes + sizeof bytes};
            ASSERT_TRUE(
                PackZELField(RuleOf(static_cast<unsigned short>(id)), {value, 4, sizeof value}, writer, format));
            payload.append(bytes, writer.next);
        }
        type.message->format = static_cast<unsigned short>(format);
        type.message->numFields = static_cast<short>(fields);
        char header[kFixedHeader];
        unsigned short headerLength = 0;
        ASSERT_NE(BuildZELHeader(HeaderRulesInUse(), type.message, header, &headerLength), nullptr);
        const ExactCopy copy(std::string(header, headerLength) + payload);
        ReceivedMessage received;
        short repeatCount = 0;
        ASSERT_EQ(OpenZELMessage(copy.data.get(), static_cast<long>(copy.size), received, &repeatCount), 0) << round;
        ASSERT_EQ(ReceiveZELPayload(*type.message, received.payload, received.inOrder), 0) << round;
        for (std::size_t slot = 0; slot < ids.size(); ++slot) {
            const _field_data& field = type.message->dataBuf->fields[slot];
            ASSERT_EQ(field.isSet != 0, arrivals[slot] >= 0) << round << " slot " << slot;
            const auto arrival = static_cast<std::uint16_t>(arrivals[slot]);
            ASSERT_TRUE(field.isSet == 0 || std::memcmp(field.value, &arrival, sizeof arrival) == 0)
                << round << " slot " << slot;
        }
    }
}

}  // namespace
}  // namespace zel::test
