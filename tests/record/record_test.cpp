// Records: layouts that do not fit, agreement with the message object, frames in a row, memory.
#include "include/zelrecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <regex>
#include <set>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "fuzz/received_message.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/made_message.h"
#include "tests/support/record_agreement.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/work_folder.h"

namespace zel::test {
namespace {

// ---- Agreement ------------------------------------------------------------------------------------------------------

// Each case is a dictionary, a layout and some messages. ZEL_RECORD_CASES says how many.
TEST(RecordAgreement, HoldsForAnyDictionaryLayoutAndMessage) {
    const char* asked = std::getenv("ZEL_RECORD_CASES");
    const unsigned long cases = asked != nullptr ? std::strtoul(asked, nullptr, 10) : 3000;
    unsigned long bound = 0;
    unsigned long packed = 0;
    for (unsigned long seed = 0; seed < cases; ++seed) {
        // Those of the tables before: no message is left.
        ReleasePlans();
        Random random(static_cast<std::uint32_t>(seed));
        const RandomTables tables(random);
        RecordAgreement agreement(random, tables);
        bound += agreement.IsBound() ? 1U : 0U;
        for (int step = 0; agreement.IsBound() && step < 6; ++step) {
            const std::string message = agreement.Pack();
            packed += message.empty() ? 0U : 1U;
            agreement.Unpack(message);
            agreement.Unpack(fuzz::MakeReceived(random, tables, agreement.subType()).bytes);
        }
    }
    EXPECT_GT(bound, cases / 2);
    EXPECT_GT(packed, cases);
}

TEST(RecordAgreement, HoldsForMessagesThatAreCutOrHaveAnyBitFlipped) {
    int formats[3] = {};
    for (std::uint32_t seed = 1; formats[0] < 4 || formats[1] < 4 || formats[2] < 4; ++seed) {
        Random random(seed);
        const RandomTables tables(random);
        RecordAgreement agreement(random, tables);
        const std::string message = agreement.IsBound() ? agreement.Pack() : "";
        if (message.size() < 54 || message.size() > 394 || ++formats[message[3] >> 4 & 3] > 4) {
            continue;
        }
        for (std::size_t size = 1; size < message.size(); ++size) {
            agreement.Unpack(message.substr(0, size));
        }
        for (std::size_t bit = 0; bit < message.size() * 8; ++bit) {
            std::string flipped = message;
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
            agreement.Unpack(flipped);
        }
    }
}

// ---- A struct -------------------------------------------------------------------------------------------------------

// Of the same sizes on all platforms.
struct Leg {
    char symbol[8];
    alignas(8) std::int64_t quantity;
    std::uint8_t hasQuantity;
};

struct alignas(128) Spread {
    std::int16_t side;
    std::uint32_t legCount;
    Leg legs[3];
    ZELView note;
};

constexpr std::uint32_t At(std::size_t offset) {
    return static_cast<std::uint32_t>(offset);
}

// The layout of Spread, to be changed.
struct SpreadLayout {
    std::vector<ZELMember> members = {
        {"SIDE", 0, ZEL_INT16, At(offsetof(Spread, side)), 2, 0, ZEL_NOWHERE},
        {nullptr, kNote, ZEL_VIEW, At(offsetof(Spread, note)), 0, At(offsetof(Spread, note) + sizeof(void*)),
         ZEL_NOWHERE},
    };
    std::vector<ZELMember> inGroup = {
        {"LEG_SYMBOL", 0, ZEL_CHARS, At(offsetof(Leg, symbol)), 8, 0, ZEL_NOWHERE},
        {"LEG_QTY", 0, ZEL_INT64, At(offsetof(Leg, quantity)), 8, 0, At(offsetof(Leg, hasQuantity))},
    };
    ZELGroup group = {At(offsetof(Spread, legs)), sizeof(Leg), 3, At(offsetof(Spread, legCount)), nullptr, 0};
    ZELLayout layout = {1, kMarkedGroup, sizeof(Spread), nullptr, 0, nullptr};

    int Bind(const ZELBinding** binding, std::string& text, std::size_t textSize = 2000) {
        layout.members = members.data();
        layout.memberCount = At(members.size());
        group.members = inGroup.data();
        group.memberCount = At(inGroup.size());
        layout.group = &group;
        text.assign(textSize, '?');
        const int result = ZELBind(&layout, binding, text.data(), text.size());
        text.resize(std::min(text.find('\0'), text.size()));
        return result;
    }
};

using Bound = std::unique_ptr<const ZELBinding, decltype(&ZELFreeBinding)>;

Bound BindSpread() {
    std::string text;
    const ZELBinding* binding = nullptr;
    EXPECT_EQ(SpreadLayout().Bind(&binding, text), 0) << text;
    return {binding, &ZELFreeBinding};
}

Spread SampleSpread() {
    return {7, 2, {{"RYE", -5, 1}, {"BARLEY4", 1 << 20, 1}, {"unused", 0, 0}}, {"spread", 6}};
}

// The result, and the frame, which is "" when there is none.
int Pack(const Bound& binding, const Spread& spread, std::string& frame, ZELEnvelope envelope = {},
         ZELFailure* failure = nullptr) {
    std::size_t length = 0;
    frame.resize(ZEL_MAX_FRAME + envelope.varUserData.length);
    const int result = ZELPackRecord(binding.get(), &spread, &envelope, frame.data(), frame.size(), &length, failure);
    frame.resize(result == 0 ? length : 0);
    return result;
}

std::string Packed(const Bound& binding, const Spread& spread, ZELEnvelope envelope = {}) {
    std::string frame;
    EXPECT_EQ(Pack(binding, spread, frame, envelope), 0);
    return frame;
}

int Unpack(const Bound& binding, std::string_view frame, Spread& spread, ZELReading* reading = nullptr,
           ZELFailure* failure = nullptr) {
    return ZELUnpackRecord(binding.get(), frame.data(), frame.size(), &spread, reading, failure);
}

// ---- Layouts that do not fit ----------------------------------------------------------------------------------------

struct BadLayout {
    const char* name;
    void (*change)(SpreadLayout&);
    const char* text;
};

ZELMember Extra(const char* field, ZELKind kind, std::uint32_t size) {
    return {field, 0, kind, 0, size, 0, ZEL_NOWHERE};
}

const BadLayout kBadLayouts[] = {
    {"no such name", [](SpreadLayout& all) { all.members.push_back(Extra("SIED", ZEL_INT16, 2)); },
     "SIED: no field in the dictionary; int16_t in the struct\n"},
    {"no such id", [](SpreadLayout& all) { all.members[1].fieldId = 9999; },
     "id 9999: no field in the dictionary; view in the struct\n"},
    {"not in the message", [](SpreadLayout& all) { all.members.push_back(Extra("QTY", ZEL_INT32, 4)); },
     "QTY (11): not a field of this message; int32_t\n"},
    {"kind", [](SpreadLayout& all) { all.members[0].kind = ZEL_FLOAT; }, "SIDE (10): short; float\n"},
    {"seconds", [](SpreadLayout& all) { all.members[0].kind = ZEL_SECONDS; }, "SIDE (10): short; seconds\n"},
    {"no kind", [](SpreadLayout& all) { all.members[0].kind = 99; }, "SIDE (10): short; kind 99, which is none\n"},
    {"narrower", [](SpreadLayout& all) { all.inGroup[1].kind = ZEL_INT16; }, "LEG_QTY (32): long; int16_t\n"},
    {"size", [](SpreadLayout& all) { all.members[0].size = 4; }, "SIDE (10): short; int16_t of 4 bytes\n"},
    {"no size", [](SpreadLayout& all) { all.inGroup[0].size = 0; }, "LEG_SYMBOL (31): text; chars[0] of 0 bytes\n"},
    {"past the struct", [](SpreadLayout& all) { all.members[0].offset = 0xFFFFFFFF; },
     "SIDE (10): short; a member at 4294967295 of 2 bytes, past the struct of 128\n"},
    {"past the repetition", [](SpreadLayout& all) { all.inGroup[1].presenceOffset = sizeof(Leg); },
     "LEG_QTY (32): long; a presence flag at 24 of 1 bytes, past the repetition of 24\n"},
    {"length past",
     [](SpreadLayout& all) {
         all.members[1] = Extra("NOTE", ZEL_BYTES, 8);
         all.members[1].lengthOffset = sizeof(Spread);
     },
     "NOTE (33): text; a length at 128 of 4 bytes, past the struct of 128\n"},
    {"group past", [](SpreadLayout& all) { all.group.capacity = 0xFFFFFFFF; },
     "LEGS (30): counts the repetitions; 4294967295 of 24 bytes at 8, past the struct of 128\n"},
    {"count past", [](SpreadLayout& all) { all.group.countOffset = sizeof(Spread) - 3; },
     "LEGS (30): counts the repetitions; the group's count lies past the struct\n"},
    {"mandatory", [](SpreadLayout& all) { all.members.erase(all.members.begin()); },
     "SIDE (10): mandatory short; no member in the struct\n"},
    {"twice", [](SpreadLayout& all) { all.members.push_back(all.members[0]); },
     "SIDE (10): once in the message; twice in the struct\n"},
    {"in the group", [](SpreadLayout& all) { all.members.push_back(Extra("LEG_QTY", ZEL_INT32, 4)); },
     "LEG_QTY (32): in the repeating group; outside the group of the struct\n"},
    {"outside the group", [](SpreadLayout& all) { all.inGroup.push_back(Extra("NOTE", ZEL_CHARS, 4)); },
     "NOTE (33): outside the repeating group; in the group of the struct\n"},
    {"count as a member", [](SpreadLayout& all) { all.members.push_back(Extra("LEGS", ZEL_INT16, 2)); },
     "LEGS (30): counts the repetitions; the struct has a member for it, but it is sent from the group's count\n"},
    {"marker as a member", [](SpreadLayout& all) { all.inGroup.push_back(Extra("MARK", ZEL_INT16, 2)); },
     "MARK (140): marks the repetitions; the struct has a member for it, but it is sent from the group's count\n"},
    {"no group",
     [](SpreadLayout& all) {
         all.layout.subType = kAllTypes;
         all.members = {Extra("SIDE", ZEL_INT16, 2), Extra("CODE", ZEL_CHARS, 7), Extra("BLOB", ZEL_CHARS, 7)};
     },
     "CODE (13): chars of 8 bytes; chars[7]\nBLOB (20): bytes11; chars[7]\n"
     "message 1/1: no repeating group; the struct has one\n"},
    {"several",
     [](SpreadLayout& all) {
         all.members[0].kind = ZEL_VIEW;
         all.inGroup[0].kind = ZEL_MONEY;
     },
     "SIDE (10): short; view\nLEG_SYMBOL (31): text; _money\n"},
};

TEST(Binding, SaysEverythingThatDoesNotFit) {
    const TestTables tables;
    for (const BadLayout& row : kBadLayouts) {
        SpreadLayout all;
        row.change(all);
        std::string text;
        const ZELBinding* binding = nullptr;
        EXPECT_EQ(all.Bind(&binding, text), ZEL_BAD_LAYOUT) << row.name;
        EXPECT_EQ(binding, nullptr) << row.name;
        EXPECT_EQ(text, row.text) << row.name;
        std::string start;
        EXPECT_EQ(all.Bind(&binding, start, 10), ZEL_BAD_LAYOUT) << row.name;
        EXPECT_EQ(start, text.substr(0, 9)) << "cut";
    }
}

TEST(Binding, KnowsWhetherItIsCurrent) {
    RecordedReports reports;
    Bound binding{nullptr, &ZELFreeBinding};
    {
        TestTables tables;
        binding = BindSpread();
        EXPECT_EQ(ZELIsCurrent(binding.get()), 1);
        std::strncpy(tables.ChangeField(kSide).name, "OTHER", 8);
        EXPECT_EQ(ZELIsCurrent(binding.get()), 0);
        std::strncpy(tables.ChangeField(kSide).name, "SIDE", 8);
        EXPECT_EQ(ZELIsCurrent(binding.get()), 1);
        tables.ChangeField(kLegQty).version = 2;
        EXPECT_EQ(ZELIsCurrent(binding.get()), 0);
        tables.ChangeField(kLegQty).version = 1;
        tables.ChangeMessage(kMarkedGroup).subType = 99;
        EXPECT_EQ(ZELIsCurrent(binding.get()), 0);
        std::string text;
        const ZELBinding* none = nullptr;
        EXPECT_EQ(SpreadLayout().Bind(&none, text), ZEL_NO_SUCH_MESSAGE);
        EXPECT_EQ(reports.TakeText(), "1416 Type/SubType pair not found in the message table in shared memory");
        tables.ChangeMessage(kMarkedGroup).subType = kMarkedGroup;
        tables.Install();
        Spread spread = SampleSpread();
        std::string frame = Packed(binding, spread);
        StopUsingTables();
        EXPECT_EQ(ZELIsCurrent(binding.get()), 0);
        EXPECT_EQ(Unpack(binding, frame, spread), ZEL_NO_DICTIONARY);
        ZELFailure failure;
        EXPECT_EQ(Pack(binding, SampleSpread(), frame, {}, &failure), ZEL_NO_DICTIONARY);
        EXPECT_STREQ(failure.text, "SIDE (10): no dictionary is in use: call ZELStart first, and ZELStop last");
        EXPECT_EQ(SpreadLayout().Bind(&none, text), ZEL_NO_MESSAGE_TABLE);
        binding.reset();
    }
}

// ---- Results --------------------------------------------------------------------------------------------------------

TEST(Results, HaveAMeaningEach) {
    std::set<int> codes[2];
    const std::string sources[] = {ReadFile(SourcePath("include/zelreport.h")),
                                   ReadFile(SourcePath("runtime/reports.h"))};
    const std::regex code(R"(ZEL_\w+ = (\d{4})\b|Report k\w+\{(\d+),)");
    for (std::size_t i = 0; i < 2; ++i) {
        for (std::sregex_iterator at(sources[i].begin(), sources[i].end(), code), end; at != end; ++at) {
            codes[i].insert(std::stoi((*at)[i + 1]));
            EXPECT_STRNE(ZELExplain(*codes[i].rbegin()), "") << (*at)[0];
        }
    }
    EXPECT_GT(codes[1].size(), 25U);
    EXPECT_TRUE(std::includes(codes[0].begin(), codes[0].end(), codes[1].begin(), codes[1].end()));
}

struct BadSpread {
    const char* name;
    void (*change)(Spread&, ZELEnvelope&);
    int result;
    const char* text;
    int repetition;
};

const BadSpread kBadSpreads[] = {
    {"range", [](Spread& spread, ZELEnvelope&) { spread.legs[1].quantity = INT64_C(0x80000000); }, ZEL_OUT_OF_RANGE,
     "LEG_QTY (32) of repetition 1: the member's number does not fit the field: send a smaller one", 1},
    {"count", [](Spread& spread, ZELEnvelope&) { spread.legCount = 4; }, ZEL_TOO_MANY,
     "LEGS (30): more repetitions than the struct has room for, or than 32767: send fewer, or raise the capacity", -1},
    {"negative count", [](Spread& spread, ZELEnvelope&) { spread.legCount = 0xFFFFFFFF; }, ZEL_TOO_MANY, nullptr, -1},
    {"null view", [](Spread& spread, ZELEnvelope&) { spread.note.data = nullptr; }, ZEL_BAD_ARGUMENT,
     "NOTE (33): an argument cannot be: a null pointer, a view without bytes, or a number out of bounds", -1},
    {"long view", [](Spread& spread, ZELEnvelope&) { spread.note.length = 65536; }, ZEL_TEXT_TOO_LONG, nullptr, -1},
    {"long text", [](Spread& spread, ZELEnvelope&) { spread.note.length = 13000; }, ZEL_FIELD_UNPACKABLE, nullptr, -1},
    {"format", [](Spread&, ZELEnvelope& envelope) { envelope.format = 3; }, ZEL_BAD_ARGUMENT, nullptr, -1},
    {"version", [](Spread&, ZELEnvelope& envelope) { envelope.version = -1; }, ZEL_BAD_ARGUMENT, nullptr, -1},
    {"user data", [](Spread&, ZELEnvelope& envelope) { envelope.varUserData.length = 1; }, ZEL_BAD_ARGUMENT, nullptr,
     -1},
    {"mode", [](Spread&, ZELEnvelope& envelope) { envelope.compressMode = 3; }, ZEL_BAD_ARGUMENT, nullptr, -1},
    {"transform", [](Spread&, ZELEnvelope& envelope) { envelope.encryptFlag = 16; }, ZEL_BAD_ARGUMENT, nullptr, -1},
    {"frame", [](Spread&, ZELEnvelope& envelope) { envelope.frameKind = 3; }, ZEL_BAD_ARGUMENT, nullptr, -1},
    {"second part", [](Spread&, ZELEnvelope& envelope) { envelope.msgIdPart2 = 256; }, ZEL_BAD_ARGUMENT, nullptr, -1},
    {"third part", [](Spread&, ZELEnvelope& envelope) { envelope.msgIdPart3 = 256; }, ZEL_BAD_ARGUMENT, nullptr, -1},
};

TEST(Results, SayWhatIsWrongWithARecord) {
    const TestTables tables;
    const Bound binding = BindSpread();
    const std::string text(13000, 'n');
    for (const BadSpread& row : kBadSpreads) {
        Spread spread = SampleSpread();
        ZELEnvelope envelope{};
        row.change(spread, envelope);
        if (spread.note.length == text.size()) {
            spread.note.data = text.data();
        }
        std::string frame;
        ZELFailure failure{};
        EXPECT_EQ(Pack(binding, spread, frame, envelope, &failure), row.result) << row.name;
        EXPECT_EQ(failure.repetition, row.repetition) << row.name;
        if (row.text != nullptr) {
            EXPECT_STREQ(failure.text, row.text) << row.name;
        }
    }
    Spread spread = SampleSpread();
    const std::string longest(65535, 'u');
    // The largest numbers that can be.
    ZELEnvelope envelope{};
    envelope.version = 15;
    envelope.encryptFlag = 15;
    envelope.compressMode = 2;
    envelope.msgIdPart2 = envelope.msgIdPart3 = 255;
    envelope.varUserData = {longest.data(), longest.size()};
    const std::string frame = Packed(binding, spread, envelope);
    // A payload that was transformed takes as much scratch as it has bytes.
    char scratch[100];
    ZELReading reading{};
    reading.scratch = scratch;
    reading.scratchSize = frame.size() - (6 + 30 + longest.size());
    EXPECT_EQ(Unpack(binding, frame, spread, &reading), 0);
    --reading.scratchSize;
    EXPECT_EQ(Unpack(binding, frame, spread, &reading), ZEL_NO_SCRATCH);
    EXPECT_EQ(ZELUnpackRecord(nullptr, frame.data(), frame.size(), &spread, nullptr, nullptr), ZEL_BAD_ARGUMENT);
    EXPECT_EQ(ZELUnpackRecord(binding.get(), nullptr, frame.size(), &spread, nullptr, nullptr), ZEL_BAD_ARGUMENT);
    EXPECT_EQ(ZELUnpackRecord(binding.get(), frame.data(), frame.size(), nullptr, nullptr, nullptr), ZEL_BAD_ARGUMENT);
    ZELFailure failure{};
    EXPECT_NE(Unpack(binding, {"\x01\x10\x02\0\0\x07", 6}, spread, nullptr, &failure), 0);
    EXPECT_EQ(failure.offset, 0U) << "no field is to blame";
    EXPECT_STREQ(failure.text, "the bytes are no ZEL message: check where the message begins and how long it is");
}

// ---- Frames in a row ------------------------------------------------------------------------------------------------

TEST(Frames, AreFoundAtTheHeadOfBytes) {
    for (const Cells& row : ReadCases("tests/record/cases/heads.txt", 3)) {
        const ExactCopy bytes(FromHex(row[0]));
        std::size_t size = 99;
        EXPECT_EQ(ZELFindFrame(bytes.data.get(), bytes.size, &size), row.Number(1)) << row[0];
        EXPECT_EQ(size, row.Number<std::size_t>(2)) << row[0];
    }
}

TEST(Frames, AreReadInARow) {
    TestTables tables;
    const Bound binding = BindSpread();
    Spread spread = SampleSpread();
    ZELEnvelope compressed{};
    compressed.encryptFlag = 1;
    CZELMessage other(0, 0);
    SetNumber(Create(other, kAllTypes), kSide, 1);
    std::string stream = Packed(binding, spread);
    const std::size_t second = stream.size();
    stream += test::Pack(other);
    std::string bad = Packed(binding, spread);
    bad[second - 8] = 0x7F;
    const std::size_t third = stream.size();
    stream += bad;
    spread.side = 8;
    const std::size_t fourth = stream.size();
    stream += Packed(binding, spread, compressed);
    const std::size_t end = stream.size();
    stream += "\x01\x10";

    Spread records[4] = {};
    char scratch[200];
    std::uint64_t offsets[4];
    ZELRun run{};
    const auto unpack = [&](std::size_t most) {
        return ZELUnpackRun(binding.get(), stream.data(), stream.size(), records, sizeof(Spread), most, &run);
    };
    run.offsets = offsets;
    EXPECT_EQ(unpack(4), ZEL_NO_SCRATCH);
    EXPECT_EQ(run.used, fourth);
    run.scratch = scratch;
    run.scratchSize = sizeof scratch;
    EXPECT_EQ(unpack(4), ZEL_INCOMPLETE);
    EXPECT_EQ(run.read, 2U);
    EXPECT_EQ(run.skipped, 1U);
    EXPECT_EQ(run.bad, 1U);
    EXPECT_EQ(run.firstBad, third);
    EXPECT_EQ(run.firstBadResult, ZEL_FIELD_UNREADABLE);
    EXPECT_EQ(run.used, end);
    EXPECT_EQ(offsets[0], 0U);
    EXPECT_EQ(offsets[1], fourth);
    EXPECT_EQ(records[0].side, 7);
    EXPECT_EQ(records[1].side, 8);
    EXPECT_GE(records[1].note.data, scratch);
    EXPECT_EQ(std::string(static_cast<const char*>(records[1].note.data), records[1].note.length), "spread");
    EXPECT_STREQ(records[1].legs[0].symbol, "RYE");
    EXPECT_EQ(records[1].legs[1].quantity, 1 << 20);
    EXPECT_EQ(unpack(1), 0);
    EXPECT_EQ(run.used, second);
    EXPECT_EQ(run.firstBadResult, 0) << "none is bad";
    run.stopAtBad = 1;
    EXPECT_EQ(unpack(4), ZEL_FIELD_UNREADABLE);
    EXPECT_EQ(run.used, third);
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

TEST(Memory, IsNotAskedForByTheQuickWays) {
    const TestTables tables;
    const Bound binding = BindSpread();
    char userData[] = "user data";
    std::string frame;
    frame.reserve(ZEL_MAX_FRAME + sizeof userData);
    char scratch[ZEL_SCRATCH_SIZE];
    ZELReading reading{};
    reading.scratch = scratch;
    reading.scratchSize = sizeof scratch;
    for (std::int16_t format = 0; format <= 2; ++format) {
        for (std::uint16_t encryptFlag = 0; encryptFlag <= 1; ++encryptFlag) {
            ZELEnvelope envelope{};
            envelope.format = format;
            envelope.encryptFlag = encryptFlag;
            envelope.varUserData = {userData, sizeof userData};
            Spread spread = SampleSpread();
            spread.legs[1].hasQuantity = 0;
            FailAllocationsFrom(1);
            EXPECT_EQ(Pack(binding, spread, frame, envelope), 0) << format;
            EXPECT_EQ(Unpack(binding, frame, spread, &reading), 0) << format;
            EXPECT_EQ(AllocationCount(), 0) << format;
            FailAllocationsFrom(0);
        }
    }
}

TEST(Memory, MayBeOutAtAnyRequest) {
    TestTables tables;
    // The way of the message object: a field out of order, and a type whose length is another.
    tables.ChangeField(kLegQty).length = 2;
    tables.Install();
    const int before = LiveBlocks();
    for (int n = 1, failures = 1; failures != 0; ++n) {
        failures = 0;
        FailAllocationsFrom(n, 1);
        const ZELBinding* made = nullptr;
        std::string text;
        const int bound = SpreadLayout().Bind(&made, text);
        FailAllocationsFrom(0);
        const Bound binding{made, &ZELFreeBinding};
        failures += bound != 0 ? 1 : 0;
        EXPECT_TRUE(bound == 0 || (bound > 0 && bound < ZEL_BAD_CALL)) << bound;
        if (bound != 0) {
            continue;
        }
        Spread spread = SampleSpread();
        const std::string frame = Packed(binding, spread);
        std::string refused;
        FailAllocationsFrom(n, 1);
        const int packed = Pack(binding, spread, refused);
        FailAllocationsFrom(n, 1);
        const int unpacked = Unpack(binding, frame, spread);
        FailAllocationsFrom(0);
        failures += (packed != 0 ? 1 : 0) + (unpacked != 0 ? 1 : 0);
        EXPECT_TRUE(packed >= 0 && packed < ZEL_NOT_BUILT + 1) << packed;
        EXPECT_TRUE(unpacked == 0 || (unpacked < ZEL_BAD_CALL && spread.side == 0 && spread.legCount == 0)) << unpacked;
    }
    EXPECT_LE(LiveBlocks(), before + 16) << "plans stay";
}

}  // namespace
}  // namespace zel::test
