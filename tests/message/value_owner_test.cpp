// Who releases the buffer of a value: its message, or the program that took it away.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <vector>

#include "include/zelmessage.h"
#include "tests/support/failing_heap.h"
#include "tests/support/made_message.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

// A value that the program holds.
struct Taken {
    void* value;
    std::string content;
    int origin;  // the number of the message that made the buffer; negative: none
};

// Moves values between messages and the program at random, and releases them.
class Movements {
public:
    explicit Movements(unsigned seed) : random_(seed) {}

    void Run(int steps) {
        std::for_each(std::begin(objects_), std::end(objects_), [this](Owner& owner) { Begin(owner); });
        for (int step = 0; step < steps; ++step) {
            Owner& owner = objects_[random_() % std::size(objects_)];
            const int choice = static_cast<int>(random_() % 16);
            if (choice == 0) {
                Begin(owner);
            } else if (choice == 1) {
                taken_.push_back({ConvertDecimalToFraction("0.375"), "3/8", -1});
            } else if (choice < 6) {
                Release(random_() % (taken_.size() + 1));
            } else {
                Move(owner, owner.object.message->dataBuf->fields[random_() % kSlots], choice);
            }
        }
        std::for_each(std::begin(objects_), std::end(objects_), [](Owner& owner) { owner.object.destroyStruct(); });
        while (!taken_.empty()) {
            Release(0);
        }
    }

private:
    // A message with its number, and the values that the program gave to it.
    struct Owner {
        CZELMessage object{0, 0};
        int message = 0;
        std::vector<Taken> given;
    };
    static constexpr unsigned kSlots = 7;

    // Replaces the message, which releases what it owns.
    void Begin(Owner& owner) {
        const SubType subTypes[] = {kAllTypes, kMarkedGroup, kPlainGroup};
        Create(owner.object, subTypes[random_() % 3], static_cast<short>(random_() % 3 * 20 + 5));
        owner.given.clear();
        owner.message = ++messages_;
        for (const Taken& each : taken_) {
            ASSERT_EQ(std::memcmp(each.value, each.content.data(), each.content.size()), 0);
        }
    }

    void Move(Owner& owner, _field_data& slot, int choice) {
        if (choice < 10) {
            const std::string bytes(random_() % (choice == 6 ? 32767 : 40) + 1, static_cast<char>(random_() % 255 + 1));
            const Taken before = Leave(owner, slot);
            owner.object.setFieldValueBinary(static_cast<short>(slot.id), bytes.data(),
                                             static_cast<short>(bytes.size()), OccurrenceOf(owner, slot));
            ASSERT_EQ(std::memcmp(slot.value, bytes.data(), bytes.size()), 0);
            if (before.value != nullptr && before.origin != owner.message) {
                // A setter does not release the program's buffers.
                taken_.push_back(before);
            }
        } else if (choice < 13 && slot.ownsValue != 0) {
            taken_.push_back(Leave(owner, slot));
            slot.ownsValue = 0;
            if (random_() % 2 == 0) {
                slot.value = nullptr;
            }
        } else if (choice >= 13 && slot.ownsValue == 0 && !taken_.empty()) {
            const Taken back = taken_.back();
            taken_.pop_back();
            slot.value = back.value;
            slot.length = static_cast<unsigned short>(back.content.size());
            slot.ownsValue = 1;
            owner.given.push_back(back);
        }
    }

    // What the slot owns, before it loses it.
    static Taken Leave(Owner& owner, const _field_data& slot) {
        if (slot.ownsValue == 0) {
            return {nullptr, "", -1};
        }
        const auto isGiven = [&slot](const Taken& each) { return each.value == slot.value; };
        const auto given = std::find_if(owner.given.begin(), owner.given.end(), isGiven);
        if (given == owner.given.end()) {
            return {slot.value, {static_cast<const char*>(slot.value), slot.length}, owner.message};
        }
        Taken was = *given;
        owner.given.erase(given);
        return was;
    }

    static short OccurrenceOf(const Owner& owner, const _field_data& slot) {
        const _field_data* first = owner.object.message->dataBuf->fields;
        return static_cast<short>(
            std::count_if(first, &slot + 1, [&slot](const _field_data& each) { return each.id == slot.id; }));
    }

    void Release(std::size_t at) {
        if (at < taken_.size()) {
            const Taken gone = taken_[at];
            taken_.erase(taken_.begin() + static_cast<std::ptrdiff_t>(at));
            ASSERT_EQ(std::memcmp(gone.value, gone.content.data(), gone.content.size()), 0);
            ZELFree(gone.value);
        }
    }

    std::mt19937 random_;
    Owner objects_[3];
    std::vector<Taken> taken_;
    int messages_ = 0;
};

TEST(ValueOwner, ReleasesEachBufferOnceWhereverItGoes) {
    TestTables tables;
    RecordedReports reports;
    Movements(0).Run(200);  // makes the plans
    const int live = LiveBlocks();
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Movements(seed).Run(200);
        ASSERT_EQ(LiveBlocks(), live) << seed;
    }
    EXPECT_EQ(reports.Take(), Lines{});
}

}  // namespace
}  // namespace zel::test
