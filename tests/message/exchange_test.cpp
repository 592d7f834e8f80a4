// Packing in one object, unpacking in another.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "core/tables/tables_in_use.h"
#include "include/zelmessage.h"
#include "include/zelstream.h"
#include "tests/stream/shown_item.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_heap.h"
#include "tests/support/made_message.h"
#include "tests/support/random_message.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

// Threads wait here for one another. Not std::latch: MinGW's can sleep for ever, because it looks at the count before
// it takes the lock under which it waits.
void Meet(std::atomic<int>& missing) {
    --missing;
    while (missing > 0) {
        std::this_thread::yield();
    }
}

// Zero bytes follow received texts: programs may read the widest number, eight bytes.
void CheckTextsEnd(const ZelMsgStruct& message, const Tables& tables) {
    for (short at = 0; at < message.dataBuf->count; ++at) {
        const _field_data& slot = message.dataBuf->fields[at];
        if (slot.isSet != 0 && FieldOrNone(tables, slot.id).type == kZELText) {
            const auto zeros = static_cast<std::size_t>(std::max(8 - slot.length, 1));
            const std::string after(static_cast<const char*>(slot.value) + slot.length, zeros);
            ASSERT_EQ(ToHex(after), ToHex(std::string(zeros, '\0'))) << slot.id << ", " << slot.length;
        }
    }
}

// One thread with its own objects and random messages. The first lookup of each type races with those of other threads.
void ExchangeEachType(const TestTables& tables, unsigned seed) {
    Random random(seed);
    CZELMessage received(0, 0);
    for (unsigned round = 0; round < 24; ++round) {
        const unsigned format = round % 3;
        CZELMessage sent(static_cast<short>(round / 3 % 4), format == 2 ? 1 : 0);
        const ZELSubTypeNode& node = tables.Message(static_cast<SubType>(1 + (seed + round) % 4));
        const auto repeats = static_cast<short>(node.repeatFieldId != 0 ? random() % 9 + 1 : 0);
        FillRandomly(sent, tables.InUse(), 1, node, repeats, format == 1, random);
        sent.message->format = static_cast<unsigned short>(format);
        sent.sequence = 1;
        sent.serviceIdHigh = static_cast<short>(random() % 100);
        sent.compressMode = static_cast<int>(random() % 4);
        sent.shortFrame = static_cast<int>(random() % 2);
        const std::string frame = Pack(sent);
        EXPECT_EQ(ToHex(frame.substr(0, 2)), sent.shortFrame != 0 ? "01 10" : "01 30");
        ASSERT_EQ(Unpack(received, frame), 0);
        ASSERT_EQ(Difference(sent, received, tables.InUse(), format == 1), "");
        CheckTextsEnd(*received.message, tables.InUse());
        EXPECT_EQ(received.serviceIdHigh, sent.serviceIdHigh);
        EXPECT_EQ(received.repeatCount, node.repeatFieldId != 0 ? repeats : -1);
        const int compressed = (sent.message->packFlags & 4) != 0 ? 1 : 0;
        EXPECT_EQ(received.compressMode, (sent.compressMode & 2) != 0 ? 2 : compressed);
        // An unpacked message packs to the same bytes again, unless its version left out mandatory fields.
        received.shortFrame = sent.shortFrame;
        if (sent.version == 0) {
            ASSERT_EQ(ToHex(Pack(received)), ToHex(frame)) << round;
        }
    }
}

// The results of one thread's values and streams, as text.
std::string ConvertAndBuild(int seed) {
    const _money price{123456 * seed, 20};
    char text[24];
    ZELMoneyToStr(&price, text, 0);
    char* fraction = ConvertDecimalToFraction((std::to_string(seed) + ".375").c_str());
    std::string done = std::string(text) + ' ' + fraction;
    ZELFree(fraction);
    ZELFilter filter;
    for (int term = 0; term < 40; ++term) {
        filter.AddFilter(kCount, ">=", seed + term);
        filter.AddFilter(kSymbol, "!=", std::string(400, 's').c_str(), 400);
    }
    ZELFilter read;
    const char* stream = filter.GetStream();
    read.SetStream(stream, filter.GetLength());
    read.Rewind();
    for (ZELFilterItem item; read.GetFilterItem(item) == 0;) {
        done += ' ' + Shown(item);
    }
    return done;
}

class Exchange : public testing::Test {
protected:
    static void FillSimple(CZELMessage& object) { SetNumber(Create(object, kAllTypes), kSide, 1); }

    TestTables tables_;
    RecordedReports reports_;
};

TEST_F(Exchange, RunsInSeveralThreadsAtOnce) {
    constexpr int kThreads = 6;
    std::vector<std::string> alone;
    for (int seed = 1; seed <= kThreads; ++seed) {
        alone.push_back(ConvertAndBuild(seed));
        std::string expected = std::to_string(seed);
        expected += " 3/8 12 >= int ";
        EXPECT_NE(alone.back().find(expected), std::string::npos) << alone.back();
    }
    for (int start = 0; start < 20; ++start) {
        // New tables, so that there are no plans yet.
        tables_.ChangeField(kSide);
        std::atomic<int> missing = kThreads;
        std::vector<std::thread> threads;
        for (int seed = 1; seed <= kThreads; ++seed) {
            threads.emplace_back([this, start, seed, &missing, &alone] {
                Meet(missing);
                ExchangeEachType(tables_, static_cast<unsigned>(start * kThreads + seed));
                EXPECT_EQ(ConvertAndBuild(seed), alone[static_cast<std::size_t>(seed) - 1]);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_EQ(reports_.Take(), Lines{});
}

TEST_F(Exchange, CountsItsPacks) {
    CZELMessage object(2, 0);
    FillSimple(object);
    object.message->userData = 0x01020304;
    object.sequence = -1;
    EXPECT_EQ(ToHex(Pack(object)),
              "01 30 24 00 00 00 00 01 01 02 00 02 00 01 00 01 00 03 00 00 00 00 00 04 FF FF 01 01 00 05 00 01 "
              "00 06 01 02 03 04 00 0A 00 01");
    EXPECT_EQ(object.sequence, 0);
    EXPECT_NE(Pack(object), "");
    EXPECT_EQ(object.sequence, 1);
}

TEST_F(Exchange, NamesField550WhateverFails) {
    CZELMessage object(0, 0);
    object.serviceIdLow = 42;
    char buffer[100];
    long length = 77;
    const std::string named = "; 1435 Cannot build ZEL message: DEST for dest: 42";
    EXPECT_EQ(reports_.With(object.packMessage(buffer, &length)), "-1: 1001 BuildZELMessage() failed" + named);
    FillSimple(object);
    EXPECT_EQ(reports_.With(object.packMessage(nullptr, &length)), "-1: 1001 BuildZELMessage() failed" + named);
    object.message->dataBuf->fields[0].isSet = 0;
    EXPECT_EQ(reports_.With(object.packMessage(buffer, &length)),
              "-1: 1476 Manadatory field(10) not in the list." + named);
    EXPECT_EQ(length, 77);
    StopUsingTables();
    const std::string noDictionary = "1412 Data Dictionary not initialized in shared memory; ";
    EXPECT_EQ(reports_.With(object.packMessage(buffer, &length)),
              "-1: " + noDictionary + "1486 Incorrect field version for field[10].; " + noDictionary +
                  "1435 Cannot build ZEL message: (null) for dest: 42");
}

TEST_F(Exchange, LeavesTheStateThatEachFailurePromises) {
    CZELMessage sender(0, 0);
    FillSimple(sender);
    sender.compressMode = 1;
    sender.setFieldValue(kSymbol, std::string(500, 's').c_str(), -1);
    const std::string good = Pack(sender);
    CZELMessage object(0, 0);
    ASSERT_EQ(Unpack(object, good), 0);
    EXPECT_EQ(object.compressMode, 1);
    object.compressMode = 7;
    ASSERT_EQ(object.unpackMessageNoFrame(good.data() + 6, static_cast<long>(good.size()) - 6), 0);
    EXPECT_EQ(object.compressMode, 7) << "only a frame's message sets the mode";

    // Validation fails: the message stays.
    const ZelMsgStruct* kept = object.message;
    object.repeatCount = 5;
    std::string bad = good;
    bad[0] = 2;
    EXPECT_EQ(reports_.With(Unpack(object, bad)),
              "-1: 1005 SOH not in header; 1001 UnpackZELHeader() failed; 1423 Can not Unpack ZEL Header; 1432 "
              "ValidateZELMsg() failed");
    EXPECT_EQ(std::tuple(object.message, object.repeatCount), std::tuple(kept, -1));
    EXPECT_EQ(object.unpackMessage(nullptr), -1);
    reports_.Take();

    // Creation fails: the message is gone; the report shows constants.
    sender.compressMode = 0;
    SetNumber(Create(sender, kPlainGroup, 1), kLegs, -3);
    EXPECT_EQ(reports_.With(Unpack(object, Pack(sender))),
              "-1: 1001 RepeatCount parameter must have a positive value; 1434 MsgType = 304, SubType = 304");
    EXPECT_EQ(std::tuple(object.message, object.subType, object.repeatCount), std::tuple(nullptr, kPlainGroup, -3));

    // A field fails: the message is gone, too.
    FillSimple(sender);
    bad = Pack(sender);
    bad[bad.size() - 3] = 14;
    EXPECT_EQ(reports_.With(Unpack(object, bad)), "-1: 1427 FieldId[14]; 1437 Cannot unpack ZEL msg recvd from Rtr");
    EXPECT_EQ(object.message, nullptr);

    // Nobody who hears the reports sees the message before, which has ended.
    struct Look {
        CZELMessage& object;
        std::string heard;
    } look{object, ""};
    ZELListener listener{[](int code, int /*fieldId*/, const char* /*text*/, void* to) {
                             auto& [seen, heard] = *static_cast<Look*>(to);
                             heard += std::to_string(code) + (seen.message != nullptr ? " a message " : " none ");
                         },
                         &look, nullptr};
    ASSERT_EQ(Unpack(object, good), 0);
    ZELBeginListening(&listener);
    EXPECT_EQ(Unpack(object, bad), -1);
    FillSimple(object);
    object.subType = 99;
    object.createStruct();
    ZELEndListening(&listener);
    EXPECT_EQ(look.heard, "1427 none 1437 none 1416 none ");
}

TEST_F(Exchange, NamesNoSlotByTheIdZero) {
    CZELMessage sent(0, 0);
    for (int round = 0; round < 3; ++round) {
        Create(sent, kPlainGroup, 1).setFieldValue(kNote, "the last slot", -1);
        // After the last slot the block keeps initial slots for the next message.
        SetNumber(sent, 0, 1, 0);
        SetNumber(sent, kLegs, 1);
        sent.setFieldValue(kLegSymbol, "RYE", 1);
        EXPECT_EQ(std::tuple(sent.getField(kLegs, -1)->isSet, sent.getField(kLegSymbol, 1)->isSet), std::tuple(1, 1))
            << round;
    }
}

TEST_F(Exchange, RefusesMoreRepetitionsThanTheProgramAllows) {
    CZELMessage sender(0, 0);
    SetNumber(Create(sender, kPlainGroup, 1), kLegs, 3);
    const std::string frame = Pack(sender);
    ASSERT_EQ(ZELSetMostRepetitions(3), 32767);
    CZELMessage object(0, 0);
    EXPECT_EQ(Unpack(object, frame), 0);
    ASSERT_EQ(ZELSetMostRepetitions(2), 3);
    reports_.Take();
    EXPECT_EQ(reports_.With(Unpack(object, frame)),
              "-1: 1001 CreateZELDataBuf() failed; 1434 MsgType = 304, SubType = 304");
    EXPECT_EQ(std::tuple(object.message, object.repeatCount), std::tuple(nullptr, 3));
    object.createStruct();
    EXPECT_NE(object.message, nullptr) << "its own messages may have as many as they like";
    ASSERT_EQ(ZELSetMostRepetitions(-2), 2);
    FillSimple(sender);
    EXPECT_EQ(Unpack(object, Pack(sender)), 0) << "a message without a group";
    ASSERT_EQ(ZELSetMostRepetitions(-1), 0);
    ZELSetMostRepetitions(32767);
}

TEST_F(Exchange, ProcessesResponses) {
    CZELMessage sender(0, 0);
    FillSimple(sender);
    short msgType = 0;
    short subType = 0;
    for (const int shortFrame : {0, 1}) {
        sender.shortFrame = shortFrame;
        const ExactCopy frame(Pack(sender));
        EXPECT_EQ(ProcessRsp(frame.data.get(), -1, &msgType, &subType, 99), 0);
        EXPECT_EQ(std::tuple(msgType, subType), std::tuple(1, kAllTypes));
        // Other frame formats have the long length, but the message after 4 bytes: there is no message there.
        frame.data[1] = 0x20;
        msgType = 55;
        EXPECT_EQ(ProcessRsp(frame.data.get(), 0, &msgType, &subType, 0), shortFrame - 1);
        EXPECT_EQ(msgType, shortFrame != 0 ? 1 : 55);
    }
    EXPECT_EQ(reports_.Take().back(), "1432 ValidateZELMsg() failed");
    long length = 0;
    short frameType = 0;
    EXPECT_EQ(sender.getHeaderInfo("\x01\x30\x07\x00\x00\x00", &length, &frameType), 0);
    EXPECT_EQ(std::tuple(length, frameType), std::tuple(7, 3));
    EXPECT_EQ(sender.getZelIdFromName("SIDE"), -1) << "no provider";
}

TEST_F(Exchange, ReleasesValuesTakenAwayInAnyThread) {
    constexpr short kValues = 8;
    CZELMessage object(0, 0);
    Create(object, kPlainGroup, kValues).destroyStruct();
    const int live = LiveBlocks();
    for (int round = 0; round < 100; ++round) {
        Create(object, kPlainGroup, kValues);
        std::vector<void*> taken[2];
        for (short occurrence = 1; occurrence <= kValues; ++occurrence) {
            object.setFieldValue(kLegSymbol, "taken away", occurrence);
            _field_data* slot = object.getField(kLegSymbol, occurrence);
            slot->ownsValue = 0;
            taken[occurrence % 2].push_back(slot->value);
        }
        std::atomic<int> missing = 3;
        std::vector<std::thread> threads;
        for (const std::vector<void*>& values : taken) {
            threads.emplace_back([&missing, &values] {
                Meet(missing);
                for (void* value : values) {
                    EXPECT_STREQ(static_cast<const char*>(value), "taken away");
                    ZELFree(value);
                }
            });
        }
        Meet(missing);
        Create(object, kPlainGroup, kValues).setFieldValue(kLegSymbol, "another text", 1);
        object.destroyStruct();
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(LiveBlocks(), live);
    }
}

}  // namespace
}  // namespace zel::test
