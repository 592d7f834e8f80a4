// A dictionary and a message table made in memory, in use while the object lives: what tables of tests derive from.
#ifndef ZEL_TESTS_SUPPORT_INSTALLED_TABLES_H
#define ZEL_TESTS_SUPPORT_INSTALLED_TABLES_H

#include <cstring>
#include <deque>
#include <string_view>
#include <utility>
#include <vector>

#include "core/tables/tables_in_use.h"
#include "include/zelprovider.h"

namespace zel::test {

struct Tables {
    const ZELDictionaryHeader* dictionary;
    const ZELTypeNode* messages;
};

// An id without a record has that of the id 0: no type.
inline const ZELDictionaryField& FieldOrNone(const Tables& tables, unsigned id) {
    const auto* records = reinterpret_cast<const ZELDictionaryField*>(tables.dictionary);
    return records[id <= static_cast<unsigned>(tables.dictionary->count) ? id : 0];
}

class InstalledTables {
public:
    ~InstalledTables() { StopUsingTables(); }
    InstalledTables(const InstalledTables&) = delete;
    InstalledTables& operator=(const InstalledTables&) = delete;

    const ZELDictionaryField& Field(int id) const { return records_[static_cast<std::size_t>(id)]; }

    Tables InUse() const { return {reinterpret_cast<const ZELDictionaryHeader*>(records_.data()), types_}; }

    void Install() { UseTables(InUse().dictionary, InUse().messages); }

protected:
    // With the header's fields.
    InstalledTables(int highestId, short msgType)
        : records_(static_cast<std::size_t>(highestId) + 1),
          types_{{msgType, nullptr, &types_[1]}, {msgType, nullptr, nullptr}} {
        reinterpret_cast<ZELDictionaryHeader*>(records_.data())->count = static_cast<std::int16_t>(highestId);
        constexpr int kHeaderTypes[] = {kZELShort, kZELLong, kZELLong, kZELInt, kZELShort, kZELLong, kZELBytes11};
        constexpr int kHeaderLengths[] = {2, 4, 4, 4, 2, 4, 0};
        for (int id = 1; id <= 7; ++id) {
            Define(id, kHeaderTypes[id - 1], kHeaderLengths[id - 1], "HDR");
        }
    }

    ZELDictionaryField& Record(int id) { return records_[static_cast<std::size_t>(id)]; }

    void Define(int id, int type, int length, std::string_view name, int version = 1) {
        ZELDictionaryField& field = Record(id);
        field.version = static_cast<std::int16_t>(version);
        field.type = static_cast<std::uint16_t>(type);
        field.length = static_cast<std::int16_t>(length);
        name.copy(field.name, sizeof field.name - 1);
        std::memcpy(field.text, "text of ", 8);
        name.copy(field.text + 8, sizeof field.text - 9);
    }

    void AddMessage(int subType, int repeatFieldId, int groupSize, std::vector<ZELFieldListEntry> list) {
        lists_.push_back(std::move(list));
        nodes_.emplace_back().subType = static_cast<std::int16_t>(subType);
        SetList(nodes_.back(), repeatFieldId, groupSize, lists_.back());
        (nodes_.size() == 1 ? types_[0].subTypes : nodes_[nodes_.size() - 2].next) = &nodes_.back();
    }

    // The list must live as long as the node.
    static void SetList(ZELSubTypeNode& node, int repeatFieldId, int groupSize,
                        const std::vector<ZELFieldListEntry>& list) {
        node.repeatFieldId = static_cast<std::uint16_t>(repeatFieldId);
        node.groupSize = static_cast<std::int16_t>(groupSize);
        node.fieldCount = static_cast<std::int16_t>(list.size());
        node.fieldList = list.data();
    }

    std::vector<ZELDictionaryField> records_;
    std::deque<std::vector<ZELFieldListEntry>> lists_;
    std::deque<ZELSubTypeNode> nodes_;
    // The second node of the same type is never reached.
    ZELTypeNode types_[2];
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_INSTALLED_TABLES_H
