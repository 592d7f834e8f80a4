// Makes a dictionary and a message table from an input: fields of every type and odd lengths, lists with repeated ids,
// groups with and without markers, groups that do not fit.
#ifndef ZEL_FUZZ_GENERATED_TABLES_H
#define ZEL_FUZZ_GENERATED_TABLES_H

#include <vector>

#include "fuzz/input.h"
#include "include/zelprovider.h"

namespace zel::fuzz {

class GeneratedTables {
public:
    static constexpr short kType = 5;
    static constexpr int kSubTypes = 3;

    explicit GeneratedTables(Input& input);
    // Takes the tables out of use.
    ~GeneratedTables();
    GeneratedTables(const GeneratedTables&) = delete;
    GeneratedTables& operator=(const GeneratedTables&) = delete;

    // A random id, often from the sub-type's list.
    std::uint16_t FieldId(Input& input, int subType) const;
    // Ids without a record get record 0, which has no type.
    const ZELDictionaryField& Field(unsigned id) const { return records_[id < records_.size() ? id : 0]; }
    // Whether each length fits the field's type. If not, the field cannot be skipped.
    bool IsConsistent() const { return isConsistent_; }
    const ZELSubTypeNode& Node(int subType) const { return nodes_[subType]; }

private:
    void Define(int id, int type, int length, int version);
    void Generate(Input& input, int id);
    void List(Input& input, int subType);

    std::vector<ZELDictionaryField> records_;
    std::vector<ZELFieldListEntry> lists_[kSubTypes];
    ZELSubTypeNode nodes_[kSubTypes];
    ZELTypeNode type_;
    bool isConsistent_ = true;
};

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_GENERATED_TABLES_H
