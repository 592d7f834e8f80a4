#include "fuzz/generated_tables.h"

#include <cstdio>
#include <cstring>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"

namespace zel::fuzz {

namespace {
constexpr int kHeaderFields = 7;
constexpr int kHighestId = kZELGroupMarker + 2;
}  // namespace

void GeneratedTables::Define(int id, int type, int length, int version) {
    ZELDictionaryField& record = records_[static_cast<std::size_t>(id)];
    record.type = static_cast<std::uint16_t>(type);
    record.length = static_cast<std::int16_t>(length);
    record.version = static_cast<std::int16_t>(version);
    (void)std::snprintf(record.name, sizeof record.name, "F%d", id);
}

void GeneratedTables::Generate(Input& input, int id) {
    constexpr int kLengths[] = {0, 2, 4, 4, 5, 0, 4, 8, 8, 6, 0, 0, 0};
    const int type = input.Below(13);
    const bool isOdd = input.OneIn(8);
    const int length = isOdd ? static_cast<std::int8_t>(input.Byte()) : kLengths[type];
    isConsistent_ = isConsistent_ && length == kLengths[type] && id > kHeaderFields;
    Define(id, type, length, input.Below(4));
}

void GeneratedTables::List(Input& input, int subType) {
    std::vector<ZELFieldListEntry>& list = lists_[subType];
    const int count = input.Below(14);
    for (int at = 0; at < count; ++at) {
        const int choice = input.Below(24);
        const int id = choice < 20    ? kHeaderFields + 1 + choice
                       : choice == 20 ? input.Below(kHighestId + 3)
                                      : kZELGroupMarker;
        list.push_back({static_cast<std::uint16_t>(id), static_cast<std::uint16_t>(input.Below(3))});
    }
    ZELSubTypeNode& node = nodes_[subType];
    node = {};
    node.subType = static_cast<std::int16_t>(subType);
    node.fieldCount = static_cast<std::int16_t>(count);
    node.fieldList = list.data();
    node.next = subType + 1 < kSubTypes ? &nodes_[subType + 1] : nullptr;
    if (count != 0 && input.Below(3) != 0) {
        const int at = input.Below(count);
        node.repeatFieldId = list[static_cast<std::size_t>(at)].fieldId;
        node.groupSize = static_cast<std::int16_t>(input.Below(count - at + 1) - (input.OneIn(32) ? 2 : 0));
        const bool isWide = input.OneIn(4);
        if (node.repeatFieldId > kHeaderFields && node.repeatFieldId <= kHighestId) {
            Define(node.repeatFieldId, isWide ? kZELInt : kZELShort, isWide ? 4 : 2, 0);
        }
    }
}

GeneratedTables::GeneratedTables(Input& input) : records_(kHighestId + 1), type_{} {
    for (const int id : {1, 5}) {
        Define(id, kZELShort, 2, 0);
    }
    for (const int id : {2, 3, 4, 6}) {
        Define(id, kZELLong, 4, 0);
    }
    Define(7, kZELText, 0, 0);
    for (int id = kHeaderFields + 1; id < kHeaderFields + 21; ++id) {
        Generate(input, id);
    }
    Define(kZELGroupMarker, kZELShort, 2, 0);
    for (int subType = 0; subType < kSubTypes; ++subType) {
        List(input, subType);
    }
    if (input.OneIn(16)) {
        Generate(input, input.Below(kHeaderFields) + 1);
    }
    auto* header = reinterpret_cast<ZELDictionaryHeader*>(records_.data());
    std::memset(static_cast<void*>(header), 0, sizeof *header);
    header->count = kHighestId;
    type_ = {kType, nodes_, nullptr};
    UseTables(header, &type_);
}

GeneratedTables::~GeneratedTables() {
    StopUsingTables();
    ReleasePlans();
}

std::uint16_t GeneratedTables::FieldId(Input& input, int subType) const {
    const std::vector<ZELFieldListEntry>& list = lists_[subType];
    const int choice = input.Byte();
    if (list.empty() || choice >= 240) {
        return static_cast<std::uint16_t>(input.Byte());
    }
    return list[static_cast<std::size_t>(choice) % list.size()].fieldId;
}

}  // namespace zel::fuzz
