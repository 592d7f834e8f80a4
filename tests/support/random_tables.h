// A random dictionary and message table: fields of every type, lists with repeated ids, groups with and without
// markers; odd ones have lengths that are no type's, ids without a record, groups that do not fit.
#ifndef ZEL_TESTS_SUPPORT_RANDOM_TABLES_H
#define ZEL_TESTS_SUPPORT_RANDOM_TABLES_H

#include "tests/support/installed_tables.h"
#include "tests/support/random.h"

namespace zel::test {

// Bytes of a value on the wire by its type; 0 where the value says its own length.
inline constexpr std::uint16_t kWireSizes[] = {0, 2, 4, 4, 5, 0, 4, 8, 8, 6, 0, 0, 0};

class RandomTables : public InstalledTables {
public:
    static constexpr short kType = 5;
    static constexpr int kSubTypes = 3;

    explicit RandomTables(Random& random);

    // An id that is often one of the sub-type's list.
    std::uint16_t FieldId(Random& random, int subType) const;
    const ZELDictionaryField& FieldOrNone(unsigned id) const { return test::FieldOrNone(InUse(), id); }
    const ZELSubTypeNode& Node(int subType) const { return nodes_[static_cast<std::size_t>(subType)]; }
    bool IsOdd() const { return isOdd_; }

private:
    void AddField(Random& random, int id);
    void AddList(Random& random, int subType);

    bool isOdd_;
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_RANDOM_TABLES_H
