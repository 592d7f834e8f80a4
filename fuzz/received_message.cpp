#include "fuzz/received_message.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "core/tables/plan_table.h"

namespace zel::fuzz {

using test::Random;
using test::RandomTables;

namespace {

constexpr std::size_t kMostSlots = 64;

// At most eight bytes: a field of any type may count the repetitions.
void Append(std::string& bytes, std::uint64_t value, int size) {
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift);
    }
}

// The ids of the slots with that many repetitions, if the group is one.
std::vector<std::uint16_t> SlotIds(const ZELSubTypeNode& node, int repetitions) {
    std::vector<std::uint16_t> ids;
    int groupBegin = 0;
    for (int at = 0; at < node.fieldCount && ids.size() < kMostSlots; ++at) {
        ids.push_back(node.fieldList[at].fieldId);
        if (groupBegin == 0 && ids.back() == node.repeatFieldId && node.groupSize > 0) {
            groupBegin = at + 1;
        }
        if (groupBegin != 0 && at + 1 == groupBegin + node.groupSize && --repetitions > 0) {
            at = groupBegin - 1;
        }
    }
    return ids;
}

// A field and where it begins in the payload.
struct Field {
    std::uint16_t id;
    std::size_t begin;
};

class Maker {
public:
    Maker(Random& input, const RandomTables& tables, int subType)
        : input_(input),
          tables_(tables),
          subType_(subType),
          format_(input.OneIn(32) ? input.Below(16) : input.Below(3)) {}

    ReceivedMessage Make() {
        if (input_.OneIn(16)) {
            made_.isInOrder = false;
            made_.bytes = input_.Rest();
            return made_;
        }
        const bool isShuffled = input_.OneIn(4);
        const int repetitions = input_.OneIn(32) ? input_.Short() : 1 + input_.Below(4);
        const std::vector<std::uint16_t> ids = SlotIds(tables_.Node(subType_), repetitions);
        // Without a repetition the group takes all slots that are left.
        made_.isInOrder = !isShuffled && repetitions != 0 && ids.size() < kMostSlots;
        for (const std::uint16_t id : ids) {
            const bool isOther = isShuffled && input_.OneIn(4);
            if (isShuffled && input_.OneIn(4)) {
                continue;
            }
            AddField(isOther ? tables_.FieldId(input_, subType_) : id, repetitions);
        }
        Header();
        Swap();
        made_.bytes += made_.payload;
        if (input_.OneIn(16)) {
            made_.isInOrder = false;
            made_.bytes.resize(input_.Short() % (made_.bytes.size() + 1));
            made_.swapped.clear();
        }
        return made_;
    }

private:
    // A lie, now and then.
    bool Lies() {
        const bool lies = input_.OneIn(64);
        made_.isInOrder = made_.isInOrder && !lies;
        return lies;
    }

    // Markers and the count of repetitions stay where they are: they say where other fields belong.
    bool Moves(const Field& field) const {
        return field.id != kZELGroupMarker && field.id != tables_.Node(subType_).repeatFieldId;
    }

    void Swap() {
        if (!made_.isInOrder || format_ == 1 || starts_.size() < 2) {
            return;
        }
        const std::size_t at = input_.Byte() % (starts_.size() - 1);
        const Field& one = starts_[at];
        const Field& other = starts_[at + 1];
        if (one.id != other.id && Moves(one) && Moves(other)) {
            const std::size_t end = at + 2 < starts_.size() ? starts_[at + 2].begin : made_.payload.size();
            made_.swapped = made_.payload;
            const auto begin = made_.swapped.begin();
            std::rotate(begin + static_cast<std::ptrdiff_t>(one.begin),
                        begin + static_cast<std::ptrdiff_t>(other.begin), begin + static_cast<std::ptrdiff_t>(end));
            made_.swapped.insert(0, made_.bytes);
        }
    }

    void AddField(std::uint16_t id, int repetitions) {
        ++fields_;
        starts_.push_back({id, made_.payload.size()});
        const unsigned type = tables_.FieldOrNone(id).type;
        const int fixed = type < std::size(test::kWireSizes) && id != 0 ? test::kWireSizes[type] : 0;
        if (format_ != 1) {
            Append(made_.payload, id, 2);
        }
        const int size = fixed != 0 && !Lies() ? fixed : input_.Below(24);
        if (format_ == 2 || fixed == 0) {
            Append(made_.payload, Lies() ? input_.Short() : static_cast<std::uint32_t>(size), 2);
        }
        if (id == tables_.Node(subType_).repeatFieldId && size == fixed && !Lies()) {
            Append(made_.payload, static_cast<std::uint32_t>(repetitions), size);
        } else {
            made_.payload += input_.Bytes(size);
        }
    }

    void HeaderField(std::uint16_t id, std::uint32_t value, int size) {
        Append(made_.bytes, Lies() ? input_.Byte() : id, 2);
        Append(made_.bytes, value, size);
    }

    void Header() {
        const unsigned packFlags = input_.OneIn(16) ? input_.Byte() : 1;
        const unsigned version = input_.OneIn(8) ? input_.Byte() : 0;
        made_.isInOrder = made_.isInOrder && packFlags == 1 && version == 0;
        HeaderField(1, (packFlags << 8U | static_cast<unsigned>(format_) << 4U | (version & 15U)) & 0xFFFFU, 2);
        HeaderField(2, static_cast<std::uint32_t>(RandomTables::kType << 16 | subType_), 4);
        HeaderField(3, input_.Long(), 4);
        HeaderField(4, input_.Long(), 4);
        HeaderField(5, static_cast<std::uint32_t>(Lies() ? input_.Byte() : fields_), 2);
        if (input_.OneIn(8)) {
            const int size = input_.Below(10);
            HeaderField(7, static_cast<std::uint32_t>(size), 2);
            made_.bytes += input_.Bytes(size);
        } else {
            HeaderField(6, input_.Long(), 4);
        }
    }

    Random& input_;
    const RandomTables& tables_;
    int subType_;
    int format_;
    int fields_ = 0;
    std::vector<Field> starts_;
    ReceivedMessage made_;
};

}  // namespace

ReceivedMessage MakeReceived(Random& input, const RandomTables& tables, int subType) {
    return Maker(input, tables, subType).Make();
}

const RandomTables& UseTablesOf(std::uint8_t number) {
    static std::optional<RandomTables> tables;
    static std::uint8_t madeFrom = 0;
    if (!tables || madeFrom != number) {
        tables.reset();
        ReleasePlans();
        Random random(number);
        tables.emplace(random);
        madeFrom = number;
    }
    return *tables;
}

}  // namespace zel::fuzz
