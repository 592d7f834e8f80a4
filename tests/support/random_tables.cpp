#include "tests/support/random_tables.h"

namespace zel::test {

namespace {
constexpr int kFirstId = 8;
constexpr int kFields = 20;
constexpr int kHighestId = kZELGroupMarker + 2;
// Of the header, of no record, of nothing that can be received.
constexpr int kOddIds[] = {0, 1, 5, 7, kFirstId + kFields, kZELGroupMarker, kHighestId + 1, 65535};
}  // namespace

RandomTables::RandomTables(Random& random) : InstalledTables(kHighestId, kType), isOdd_(random.OneIn(4)) {
    for (int id = kFirstId; id < kFirstId + kFields; ++id) {
        AddField(random, id);
    }
    Define(kZELGroupMarker, kZELShort, 2, "MARKER", 0);
    for (int subType = 0; subType < kSubTypes; ++subType) {
        AddList(random, subType);
    }
    if (isOdd_ && random.OneIn(4)) {
        AddField(random, 1 + random.Below(7));
    }
    Install();
}

void RandomTables::AddField(Random& random, int id) {
    const int type = isOdd_ ? random.Below(13) : 1 + random.Below(11);
    const bool hasOddLength = isOdd_ && random.OneIn(8);
    Define(id, type, hasOddLength ? static_cast<std::int8_t>(random.Byte()) : kWireSizes[type], "FIELD",
           random.OneIn(4) ? random.Below(4) : 0);
}

void RandomTables::AddList(Random& random, int subType) {
    std::vector<ZELFieldListEntry> list;
    for (int left = random.Below(14); left > 0; --left) {
        const int id = isOdd_ && random.OneIn(16) ? random.Pick(kOddIds) : kFirstId + random.Below(kFields);
        const bool isMandatory = random.OneIn(16);
        list.push_back({static_cast<std::uint16_t>(id), isMandatory ? kZELMandatory : std::uint16_t{1}});
    }
    const auto count = static_cast<int>(list.size());
    const int at = random.Below(count + 1);
    if (at == count) {
        return AddMessage(subType, 0, 0, std::move(list));
    }
    const std::uint16_t countId = list[static_cast<std::size_t>(at)].fieldId;
    if (countId >= kFirstId && countId < kFirstId + kFields) {
        const bool isWide = random.OneIn(4);
        Define(countId, isWide ? kZELInt : kZELShort, isWide ? 4 : 2, "COUNT", 0);
    }
    const int groupSize = isOdd_ && random.OneIn(8) ? random.Below(20) - 3 : random.Below(count - at);
    if (at + 1 < count && random.OneIn(2)) {
        list[static_cast<std::size_t>(at) + 1].fieldId = kZELGroupMarker;
    }
    AddMessage(subType, countId, groupSize, std::move(list));
}

std::uint16_t RandomTables::FieldId(Random& random, int subType) const {
    const ZELSubTypeNode& node = Node(subType);
    const int choice = random.Byte();
    return node.fieldCount == 0 || choice >= 240 ? random.Byte() : node.fieldList[choice % node.fieldCount].fieldId;
}

}  // namespace zel::test
