// A small dictionary and message table for tests, installed in the core while the object lives.
#ifndef ZEL_TESTS_SUPPORT_TEST_TABLES_H
#define ZEL_TESTS_SUPPORT_TEST_TABLES_H

#include "tests/support/installed_tables.h"

namespace zel::test {

// Field ids. One of each type, then those of the groups, then those with a version.
enum Id : short {
    kSide = 10,    // short
    kQty = 11,     // long
    kCount = 12,   // int
    kCode = 13,    // chars, 8
    kSymbol = 14,  // text
    kRate = 15,    // float
    kValue = 16,   // double
    kStamp = 17,   // date-time
    kPrice = 18,   // money
    kKey = 19,     // bytes of type 10, no length in the dictionary
    kBlob = 20,    // bytes of type 11
    kFlag = 21,    // chars, 1
    kLegs = 30,    // short: counts the repetitions
    kLegSymbol = 31,
    kLegQty = 32,
    kNote = 33,  // text
    kNew2 = 40,  // text of version 2
    kNew3 = 41,  // short of version 3
    kOdd = 50,   // type 12
    kMark = 140,
    kDest = 550,
    kHighest = 560
};

// Messages of type 1, by sub-type.
enum SubType : short {
    kAllTypes = 1,     // all eleven types; kSide mandatory
    kMarkedGroup = 2,  // kSide mandatory, kLegs, (kMark, kLegSymbol, kLegQty), kNote
    kPlainGroup = 3,   // kLegs, (kLegSymbol, kLegQty), kNote
    kVersions = 4,     // kSide, kNew2, kNew3 mandatory
    kOddFields = 5,    // kSide, kOdd, an id beyond the dictionary
    kBadTable = 6,     // a group that is longer than the list
    kLongCount = 7     // a group counted by a long
};

class TestTables : public InstalledTables {
public:
    TestTables();

    const ZELSubTypeNode& Message(SubType subType) const { return nodes_[static_cast<std::size_t>(subType) - 1]; }

    // A record to change before the next use of the core. Changes of the header's fields take effect with Install.
    ZELDictionaryField& ChangeField(int id);
    ZELSubTypeNode& ChangeMessage(SubType subType);
    void ChangeList(SubType subType, std::vector<ZELFieldListEntry> list, int repeatFieldId = 0, int groupSize = 0);
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_TEST_TABLES_H
