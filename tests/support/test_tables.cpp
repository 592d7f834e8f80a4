#include "tests/support/test_tables.h"

#include <cstring>
#include <utility>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"

namespace zel::test {

TestTables::TestTables() : records_(kHighest + 1), types_{} {
    auto* header = reinterpret_cast<ZELDictionaryHeader*>(records_.data());
    header->count = kHighest;
    constexpr ZELFieldType kHeaderTypes[] = {kZELShort, kZELLong, kZELLong, kZELInt, kZELShort, kZELLong, kZELBytes11};
    constexpr int kHeaderLengths[] = {2, 4, 4, 4, 2, 4, 0};
    for (int id = 1; id <= 7; ++id) {
        Define(id, kHeaderTypes[id - 1], kHeaderLengths[id - 1], "HDR");
    }
    Define(kSide, kZELShort, 2, "SIDE");
    Define(kQty, kZELLong, 4, "QTY");
    Define(kCount, kZELInt, 4, "COUNT");
    Define(kCode, kZELChars, 8, "CODE");
    Define(kSymbol, kZELText, 0, "SYMBOL");
    Define(kRate, kZELFloat, 4, "RATE");
    Define(kValue, kZELDouble, 8, "VALUE");
    Define(kStamp, kZELDateTime, 8, "STAMP");
    Define(kPrice, kZELMoney, 6, "PRICE");
    Define(kKey, kZELBytes10, 0, "KEY");
    Define(kBlob, kZELBytes11, 0, "BLOB");
    Define(kFlag, kZELChars, 1, "FLAG");
    Define(kLegs, kZELShort, 2, "LEGS");
    Define(kLegSymbol, kZELText, 0, "LEG_SYMBOL");
    Define(kLegQty, kZELLong, 4, "LEG_QTY");
    Define(kNote, kZELText, 0, "NOTE");
    Define(kNew2, kZELText, 0, "NEW2", 2);
    Define(kNew3, kZELShort, 2, "NEW3", 3);
    Define(kOdd, static_cast<ZELFieldType>(12), 4, "ODD");
    Define(kMark, kZELShort, 2, "MARK");
    Define(kDest, kZELText, 0, "DEST");

    std::vector<ZELFieldListEntry> all{{kSide, 2}};
    for (std::uint16_t id = kQty; id <= kBlob; ++id) {
        all.push_back({id, static_cast<std::uint16_t>(id == kCount ? 0 : 1)});
    }
    AddMessage(0, 0, std::move(all));
    AddMessage(kLegs, 3, {{kSide, 2}, {kLegs, 1}, {kMark, 1}, {kLegSymbol, 1}, {kLegQty, 1}, {kNote, 1}});
    AddMessage(kLegs, 2, {{kLegs, 1}, {kLegSymbol, 1}, {kLegQty, 1}, {kNote, 1}});
    AddMessage(0, 0, {{kSide, 1}, {kNew2, 1}, {kNew3, 2}});
    AddMessage(0, 0, {{kSide, 1}, {kOdd, 1}, {kHighest + 1, 1}});
    AddMessage(kLegs, 9, {{kLegs, 1}, {kLegSymbol, 1}});
    AddMessage(kQty, 1, {{kQty, 1}, {kLegSymbol, 1}});
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        nodes_[i].fieldList = lists_[i].data();
        nodes_[i].next = i + 1 < nodes_.size() ? &nodes_[i + 1] : nullptr;
    }
    // The second node of the same type is never reached.
    types_[0] = {1, &nodes_.front(), &types_[1]};
    types_[1] = {1, nullptr, nullptr};
    Install();
}

TestTables::~TestTables() {
    UseTables(nullptr, nullptr);
    StopUsingTables();
    ReleasePlans();
}

void TestTables::Install() {
    UseTables(reinterpret_cast<const ZELDictionaryHeader*>(records_.data()), types_);
}

ZELDictionaryField& TestTables::ChangeField(int id) {
    Install();
    return records_[static_cast<std::size_t>(id)];
}

ZELSubTypeNode& TestTables::ChangeMessage(SubType subType) {
    Install();
    return nodes_[static_cast<std::size_t>(subType) - 1];
}

void TestTables::Define(int id, ZELFieldType type, int length, const char* name, int version) {
    ZELDictionaryField& field = records_[static_cast<std::size_t>(id)];
    field.version = static_cast<std::int16_t>(version);
    field.type = type;
    field.length = static_cast<std::int16_t>(length);
    std::strncpy(field.name, name, sizeof field.name - 1);
    std::strncpy(field.text, "text of ", sizeof field.text - 1);
    std::strncat(field.text, name, sizeof field.text - 10);
}

void TestTables::AddMessage(int repeatFieldId, int groupSize, std::vector<ZELFieldListEntry> list) {
    ZELSubTypeNode node{};
    node.subType = static_cast<std::int16_t>(nodes_.size() + 1);
    node.repeatFieldId = static_cast<std::uint16_t>(repeatFieldId);
    node.groupSize = static_cast<std::int16_t>(groupSize);
    node.fieldCount = static_cast<std::int16_t>(list.size());
    lists_.push_back(std::move(list));
    nodes_.push_back(node);
}

}  // namespace zel::test
