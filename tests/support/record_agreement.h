// A record and a message object side by side: a random layout of a random message, values that fit and values that do
// not. Both must give the same bytes, values, results and reports; a difference ends the process.
#ifndef ZEL_TESTS_SUPPORT_RECORD_AGREEMENT_H
#define ZEL_TESTS_SUPPORT_RECORD_AGREEMENT_H

#include <string>
#include <vector>

#include "include/zelmessage.h"
#include "include/zelrecord.h"
#include "tests/support/random_tables.h"

namespace zel::test {

class RecordAgreement {
public:
    RecordAgreement(Random& random, const RandomTables& tables);
    RecordAgreement(Random& random, const Tables& tables, short msgType, const ZELSubTypeNode& node);
    ~RecordAgreement() { ZELFreeBinding(binding_); }
    RecordAgreement(const RecordAgreement&) = delete;
    RecordAgreement& operator=(const RecordAgreement&) = delete;

    bool IsBound() const { return binding_ != nullptr; }
    int subType() const { return node_.subType; }

    // Packs random values both ways. The message without its frame, or "".
    std::string Pack();
    // Unpacks a message without a frame both ways. The header's numbers and the values of the members that arrived, or
    // the result.
    std::string Unpack(const std::string& message);

private:
    // A place for a value: in the object, if it has a slot for it, and in the record, if the layout has a member.
    struct Place {
        const _field_data* slot;
        const ZELMember* member;
        std::size_t base;  // of the member's struct
        ZELAbsent field;

        bool IsSet() const { return slot != nullptr && slot->isSet != 0; }
    };

    ZELMember MakeMember(std::uint16_t id, std::uint32_t& end);
    void MakeLayout();
    void FillMember(const ZELMember& member, char* base, bool isWild);
    std::string FillRecord();
    ZELEnvelope MakeEnvelope(const std::string& userData);
    // Of the struct that holds a repetition; -1: outside the group.
    std::size_t BaseOf(int repetition) const {
        return repetition < 0 ? 0 : group_.offset + static_cast<std::size_t>(repetition) * group_.stride;
    }
    std::vector<Place> Places(const CZELMessage& object) const;
    int SetField(CZELMessage& object, const Place& place, short occurrence, const char* base) const;
    int SetFields(CZELMessage& object, const char* record) const;
    void Expect(const Place& place, std::string& expected, const char* record) const;
    int ExpectRecord(const CZELMessage& object, int result, std::string& expected, const char* record,
                     std::vector<ZELAbsent>& absent) const;
    std::string Values(const CZELMessage& object) const;

    Random& random_;
    Tables tables_;
    short msgType_;
    const ZELSubTypeNode& node_;
    Random noise_;      // of values: more than an input has
    std::string pool_;  // what views point to
    int groupBegin_;    // entries of the list
    int groupEnd_;
    std::vector<int> memberOf_;          // of each entry, or -1
    std::vector<ZELMember> members_[2];  // outside the group and in it
    bool hasGroup_;
    ZELGroup group_{};
    ZELLayout layout_{};
    const ZELBinding* binding_ = nullptr;
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_RECORD_AGREEMENT_H
