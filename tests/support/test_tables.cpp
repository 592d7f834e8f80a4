#include "tests/support/test_tables.h"

namespace zel::test {

TestTables::TestTables() : InstalledTables(kHighest, 1) {
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
    Define(kOdd, 12, 4, "ODD");
    Define(kMark, kZELShort, 2, "MARK");
    Define(kDest, kZELText, 0, "DEST");

    std::vector<ZELFieldListEntry> all{{kSide, 2}};
    for (std::uint16_t id = kQty; id <= kBlob; ++id) {
        all.push_back({id, static_cast<std::uint16_t>(id == kCount ? 0 : 1)});
    }
    AddMessage(kAllTypes, 0, 0, std::move(all));
    AddMessage(kMarkedGroup, kLegs, 3, {{kSide, 2}, {kLegs, 1}, {kMark, 1}, {kLegSymbol, 1}, {kLegQty, 1}, {kNote, 1}});
    AddMessage(kPlainGroup, kLegs, 2, {{kLegs, 1}, {kLegSymbol, 1}, {kLegQty, 1}, {kNote, 1}});
    AddMessage(kVersions, 0, 0, {{kSide, 1}, {kNew2, 1}, {kNew3, 2}});
    AddMessage(kOddFields, 0, 0, {{kSide, 1}, {kOdd, 1}, {kHighest + 1, 1}});
    AddMessage(kBadTable, kLegs, 9, {{kLegs, 1}, {kLegSymbol, 1}});
    AddMessage(kLongCount, kQty, 1, {{kQty, 1}, {kLegSymbol, 1}});
    Install();
}

ZELDictionaryField& TestTables::ChangeField(int id) {
    Install();
    return Record(id);
}

ZELSubTypeNode& TestTables::ChangeMessage(SubType subType) {
    Install();
    return nodes_[static_cast<std::size_t>(subType) - 1];
}

void TestTables::ChangeList(SubType subType, std::vector<ZELFieldListEntry> list, int repeatFieldId, int groupSize) {
    std::vector<ZELFieldListEntry>& held = lists_[static_cast<std::size_t>(subType) - 1];
    held = std::move(list);
    SetList(ChangeMessage(subType), repeatFieldId, groupSize, held);
}

}  // namespace zel::test
