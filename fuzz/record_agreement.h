// A record and a message object side by side: made-up layouts of a made-up message, values that fit and values that do
// not, frames that were packed, made up or damaged. Both must come to the same bytes, values, results and reports.
#ifndef ZEL_FUZZ_RECORD_AGREEMENT_H
#define ZEL_FUZZ_RECORD_AGREEMENT_H

#include <deque>
#include <random>
#include <string>
#include <vector>

#include "fuzz/generated_tables.h"
#include "fuzz/input.h"
#include "include/zelmessage.h"
#include "include/zelrecord.h"

namespace zel::fuzz {

class RecordAgreement {
public:
    RecordAgreement(Input& input, const GeneratedTables& tables);
    ~RecordAgreement();
    RecordAgreement(const RecordAgreement&) = delete;
    RecordAgreement& operator=(const RecordAgreement&) = delete;

    bool IsBound() const { return binding_ != nullptr; }
    int subType() const { return subType_; }

    // Packs made-up values both ways. The frame, or "".
    std::string Pack(Input& input);
    // Unpacks both ways what is in a frame.
    void Unpack(const std::string& framed);

private:
    // A member and the entries that it is for.
    struct Member {
        ZELMember layout;
        int entry;
        bool inGroup;
    };

    void AddMember(Input& input, int entry, bool inGroup, std::uint32_t& end);
    void MakeLayout(Input& input);
    void Bind();
    void FillValues(Input& input, char* base, const std::vector<Member>& members);
    int SlotOf(int entry, int repetition, int repetitions) const;
    short OccurrenceOf(const CZELMessage& object, int slot) const;
    int SetField(CZELMessage& object, const Member& member, const char* base, int slot, int newest) const;
    int SetAll(CZELMessage& object, const char* record, int repetitions) const;
    int CheckField(const CZELMessage& object, const Member& member, const char* base, int slot, int repetition,
                   const ZELReading& reading, std::uint32_t& absent, bool isFilled) const;
    void CheckRecord(const CZELMessage& object, const char* record, const ZELReading& reading, int result) const;
    std::uint32_t CountOf(const char* record) const;

    const GeneratedTables& tables_;
    int subType_;
    const ZELSubTypeNode& node_;
    int groupBegin_;
    int groupEnd_;
    std::deque<std::string> names_;
    std::vector<Member> outside_;
    std::vector<Member> inside_;
    bool hasGroup_ = false;
    ZELGroup group_{};
    ZELLayout layout_{};
    const ZELBinding* binding_ = nullptr;
    std::mt19937 random_;
    std::string pool_;  // what views point to
};

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_RECORD_AGREEMENT_H
