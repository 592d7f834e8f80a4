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

using Message = std::unique_ptr<ZelMsgStruct, int (*)(ZelMsgStruct*)>;

// A message with a random list: repeated ids, markers anywhere. Null where the group does not fit.
Message RandomMessage(TestTables& tables, Random& random) {
    std::vector<ZELFieldListEntry> list(static_cast<std::size_t>(random.Below(9)));
    const bool distinct = random.Below(2) == 0;
    auto next = static_cast<std::size_t>(random.Below(7));
    for (ZELFieldListEntry& entry : list) {
        entry = {kIds[distinct ? next++ % 7 : random() % 7], 1};
    }
    const int repeatFieldId = random.Below(4) == 0 ? 0 : random.Pick(kIds);
    tables.ChangeList(kVersions, std::move(list), repeatFieldId, random.Below(6) - 1);
    return {CreateZelMsgStruct(1, kVersions, static_cast<short>(random.Below(5))), FreeZelMsgStruct};
}

// The number of the first unset slot with this id and as many markers at or before it, or -1.
int FreeSlot(const ZELDataBuf& slots, const std::vector<int>& arrivals, int id, int markers) {
    int before = 0;
    for (int at = 0; at < slots.count; ++at) {
        before += slots.fields[at].id == kMark ? 1 : 0;
        if (slots.fields[at].id == id && arrivals[static_cast<std::size_t>(at)] < 0 && before == markers) {
            return at;
        }
    }
    return -1;
}

void CheckOccurrences(const ZelMsgStruct* message) {
    const ZELDataBuf& slots = *message->dataBuf;
    for (const unsigned short id : kIds) {
        short instance = 0;
        for (int at = 0; at < slots.count; ++at) {
            if (slots.fields[at].id == id) {
                ASSERT_EQ(FindZELFieldInstance(message, id, ++instance), &slots.fields[at]);
            }
        }
        for (const int none : {0, -1, instance + 1, 32767}) {
            ASSERT_EQ(FindZELFieldInstance(message, id, static_cast<short>(none)), nullptr);
        }
    }
}

// Packs fields whose values are their numbers, mostly in order; some are missing, some anywhere. `arrivals` gets for
// each slot the number that it is to receive, or -1.
std::string PackFields(ZelMsgStruct& message, Random& random, std::vector<int>& arrivals) {
    const ZELDataBuf& slots = *message.dataBuf;
    arrivals.assign(static_cast<std::size_t>(slots.count), -1);
    const int counted = random.Below(20);
    message.numFields = static_cast<short>(counted);
    char bytes[700];
    unsigned short headerLength = 0;
    EXPECT_NE(BuildZELHeader(HeaderRulesInUse(), &message, bytes, &headerLength), nullptr);
    Writer writer{bytes + headerLength, std::end(bytes)};
    int markers = 0;
    int next = 0;
    for (int number = 0; number < 20 && (next < slots.count || random.Below(4) != 0); ++number) {
        next += random.Below(6) == 0 ? 1 : 0;
        const bool inOrder = next < slots.count && random.Below(8) != 0;
        const int id = inOrder ? slots.fields[next++].id : random.Pick(kIds);
        markers += id == kMark ? 1 : 0;
        const int slot = FreeSlot(slots, arrivals, id, markers);
        // No more are received than the header counts.
        if (slot >= 0 && number < counted) {
            arrivals[static_cast<std::size_t>(slot)] = number;
        }
        const char value[8] = {static_cast<char>(number)};
        EXPECT_TRUE(PackZELField(RuleOf(static_cast<unsigned short>(id)), {value, 4, sizeof value}, writer,
                                 static_cast<short>(message.format)));
    }
    return {bytes, writer.next};
}

TEST(SlotIndex, FindsEveryOccurrenceAndPutsReceivedFieldsWhereTheyBelong) {
    TestTables tables;
    RecordedReports reports;
    Random random(2);
    std::vector<int> arrivals;
    for (int round = 0; round < 6000; ++round) {
        const Message message = RandomMessage(tables, random);
        if (message == nullptr) {
            continue;
        }
        SCOPED_TRACE(round);
        CheckOccurrences(message.get());
        message->format = round % 2 == 0 ? kIdAndValue : kIdLengthAndValue;
        const ExactCopy bytes(PackFields(*message, random, arrivals));
        ReceivedMessage received;
        short repeatCount = 0;
        ASSERT_EQ(OpenZELMessage(bytes.data.get(), static_cast<long>(bytes.size), received, &repeatCount), 0);
        ASSERT_EQ(ReceiveZELPayload(*message, received.payload, received.inOrder), 0);
        for (std::size_t slot = 0; slot < arrivals.size(); ++slot) {
            const _field_data& field = message->dataBuf->fields[slot];
            ASSERT_EQ(field.isSet != 0 ? *static_cast<const char*>(field.value) : -1, arrivals[slot]) << slot;
        }
    }
}

}  // namespace
}  // namespace zel::test
