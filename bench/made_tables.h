// A dictionary and a message table that a benchmark makes; they are in use while the object lives.
#ifndef ZEL_BENCH_MADE_TABLES_H
#define ZEL_BENCH_MADE_TABLES_H

#include <cstdint>
#include <numeric>
#include <vector>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "include/zelprovider.h"

namespace zel::bench {

class MadeTables {
public:
    // The first id of `fields`.
    static constexpr std::uint16_t kFirst = 10;

    struct Field {
        ZELFieldType type;
        int length;
    };

    // Makes the header's fields and `fields`, and no message yet.
    explicit MadeTables(const std::vector<Field>& fields) : records_(kFirst + fields.size()) {
        const std::vector<Field> header = {{kZELShort, 2}, {kZELLong, 4}, {kZELLong, 4}, {kZELLong, 4},
                                           {kZELShort, 2}, {kZELLong, 4}, {kZELText, 0}};
        Define(1, header);
        Define(kFirst, fields);
        Header().count = static_cast<std::int16_t>(records_.size() - 1);
    }
    ~MadeTables() {
        StopUsingTables();
        ReleasePlans();
    }
    MadeTables(const MadeTables&) = delete;
    MadeTables& operator=(const MadeTables&) = delete;

    // Makes the message types 1 to `count`, each with the sub-types 1, 2 ... of these field lists.
    // With a group, a list's first field counts the repetitions of those after it.
    void Use(const std::vector<std::vector<std::uint16_t>>& lists, int count, bool hasGroup = false) {
        lists_.assign(lists.size(), {});
        nodes_.assign(lists.size(), {});
        types_.assign(static_cast<std::size_t>(count), {});
        for (std::size_t at = lists.size(); at-- != 0;) {
            for (const std::uint16_t id : lists[at]) {
                lists_[at].push_back({id, 1});
            }
            const auto size = static_cast<std::int16_t>(lists[at].size());
            nodes_[at] = {static_cast<std::int16_t>(at + 1),
                          hasGroup ? lists[at][0] : std::uint16_t{0},
                          static_cast<std::int16_t>(hasGroup ? size - 1 : 0),
                          size,
                          lists_[at].data(),
                          at + 1 < nodes_.size() ? &nodes_[at + 1] : nullptr};
        }
        for (std::size_t at = 0; at < types_.size(); ++at) {
            types_[at] = {static_cast<std::int16_t>(at + 1), nodes_.data(),
                          at + 1 < types_.size() ? &types_[at + 1] : nullptr};
        }
        UseAgain();
    }
    // Uses the tables again, as if they had changed.
    void UseAgain() { UseTables(&Header(), types_.data()); }

private:
    void Define(std::size_t first, const std::vector<Field>& fields) {
        for (std::size_t at = 0; at < fields.size(); ++at) {
            records_[first + at].type = fields[at].type;
            records_[first + at].length = static_cast<std::int16_t>(fields[at].length);
        }
    }
    ZELDictionaryHeader& Header() { return *reinterpret_cast<ZELDictionaryHeader*>(records_.data()); }

    std::vector<ZELDictionaryField> records_;
    std::vector<std::vector<ZELFieldListEntry>> lists_;
    std::vector<ZELSubTypeNode> nodes_;
    std::vector<ZELTypeNode> types_;
};

// The ids from `first` on.
inline std::vector<std::uint16_t> IdsFrom(std::uint16_t first, int count) {
    std::vector<std::uint16_t> ids(static_cast<std::size_t>(count));
    std::iota(ids.begin(), ids.end(), first);
    return ids;
}

}  // namespace zel::bench

#endif  // ZEL_BENCH_MADE_TABLES_H
