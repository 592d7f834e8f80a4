// Programs on message objects of random tables: they create, set in any order, write to slots, take and give buffers,
// pack, unpack and replace the tables under messages that live, with memory that fails now and then. Whatever they do,
// nothing breaks or leaks, getters agree, and what was filled and packed unpacks to the same fields.
#include <optional>
#include <set>

#include "core/slots/message_block.h"
#include "core/tables/plan_table.h"
#include "fuzz/check.h"
#include "fuzz/received_message.h"
#include "tests/support/failing_heap.h"
#include "tests/support/made_message.h"
#include "tests/support/random_message.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 48;

// What a slot of the program's may point to, and what fields are set from: as long as any length says.
char room[UINT16_MAX + 1];
char source[UINT16_MAX + 1];

class Program {
public:
    explicit Program(test::Random& input) : input_(input) {
        std::memset(room, 0, sizeof room);
        ReplaceTables();
    }
    ~Program() {
        test::FailAllocationsFrom(0);
        for (CZELMessage& object : objects) {
            object.destroyStruct();
        }
        for (void* buffer : taken_) {
            ZELFree(buffer);
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void Step() {
        object_ = &objects[input_.Below(2)];
        const int kind = input_.Below(16);
        test::FailAllocationsFrom(input_.OneIn(8) ? 1 + input_.Below(3) : 0, 2);
        if (kind < 2) {
            return Create();
        }
        if (kind < 4) {
            return Receive();
        }
        if (kind == 4) {
            return Travel();
        }
        if (kind == 5 && input_.OneIn(4)) {
            return ReplaceTables();
        }
        if (object_->message == nullptr) {
            return Create();
        }
        if (kind < 9) {
            return Set();
        }
        if (kind < 12) {
            return WriteSlot();
        }
        if (kind == 12) {
            return WriteHeader();
        }
        packed_ = kind == 13 ? packed_ : test::Pack(*object_);
    }

private:
    void ReplaceTables() {
        test::FailAllocationsFrom(0);
        tables_.reset();
        if (input_.OneIn(2)) {
            tables_.emplace(input_);
        } else {
            test::Random number(input_.Byte());
            tables_.emplace(number);
        }
    }

    void Create() {
        object_->msgType = input_.OneIn(32) ? short{6} : test::RandomTables::kType;
        object_->subType = static_cast<short>(input_.Below(test::RandomTables::kSubTypes));
        object_->repeatCount = static_cast<short>(input_.OneIn(32) ? input_.Short() : input_.Below(5));
        object_->version = static_cast<short>(input_.OneIn(4) ? input_.Below(16) : 0);
        object_->useFormat2 = input_.Below(2);
        object_->compressMode = input_.OneIn(8) ? input_.Below(4) : 0;
        object_->shortFrame = input_.Below(2);
        object_->createStruct();
    }

    void Receive() {
        if (input_.Below(2) == 0 && !packed_.empty()) {
            (void)test::Unpack(*object_, packed_);
            return;
        }
        const test::ExactCopy bytes(MakeReceived(input_, *tables_, input_.Below(test::RandomTables::kSubTypes)).bytes);
        (void)object_->unpackMessageNoFrame(bytes.data.get(), static_cast<long>(bytes.size));
    }

    // What is filled as tables say arrives.
    void Travel() {
        test::FailAllocationsFrom(0);
        const ZELSubTypeNode& node = tables_->Node(input_.Below(test::RandomTables::kSubTypes));
        std::set<int> ids;
        for (int i = 0; i < node.fieldCount; ++i) {
            ids.insert(node.fieldList[i].fieldId);
        }
        // Of an id that is listed twice the receiver takes one for the other.
        if (tables_->IsOdd() || ids.size() != static_cast<std::size_t>(node.fieldCount)) {
            return;
        }
        CZELMessage& sent = *object_;
        CZELMessage& received = objects[object_ == objects ? 1 : 0];
        const int format = input_.Below(3);
        sent.version = static_cast<short>(input_.OneIn(4) && format != 1 ? input_.Below(4) : 0);
        sent.useFormat2 = 0;
        const test::Tables tables = tables_->InUse();
        test::FillRandomly(sent, tables, test::RandomTables::kType, node, static_cast<short>(1 + input_.Below(4)),
                           format == 1, input_);
        sent.message->format = static_cast<unsigned short>(format);
        packed_ = test::Pack(sent);
        if (!packed_.empty()) {
            Check(test::Unpack(received, packed_) == 0, "what was filled and packed unpacks");
            Check(test::Difference(sent, received, tables, format == 1).empty(), "what was filled arrives");
        }
    }

    void Set() {
        const auto id = static_cast<short>(tables_->FieldId(input_, object_->subType % test::RandomTables::kSubTypes));
        const auto occurrence = static_cast<short>(input_.OneIn(8) ? input_.Short() : input_.Below(6) - 1);
        _field_data* slot = object_->getField(id, occurrence);
        void* found = room;
        Check(object_->getFieldValue(&found, id, occurrence) == (slot != nullptr ? 1 : 0) &&
                  found == (slot != nullptr ? slot->value : room) &&
                  object_->getFieldValue(id, occurrence) == (slot != nullptr ? slot->value : nullptr) &&
                  object_->getFieldLen(id, occurrence) == (slot != nullptr ? static_cast<short>(slot->length) : 0),
              "the getters agree");
        // A buffer that was given is the program's again once the slot has another.
        void* given = slot != nullptr && slot->ownsValue != 0 && slot->value != slot->inlineValue &&
                              !IsCarvedFrom(BlockOf(*object_->message).slab, slot->value)
                          ? slot->value
                          : nullptr;
        const std::string value = input_.Bytes(1 + input_.Below(40));
        if (input_.Below(4) == 0) {
            object_->setFieldValueBinary(id, test::ExactCopy(value).data.get(), static_cast<short>(value.size()),
                                         occurrence);
        } else {
            std::fill(value.copy(source, value.size()) + source, std::end(source), '\0');
            object_->setFieldValue(id, input_.OneIn(16) ? nullptr : source, occurrence);
        }
        if (given != nullptr && slot->value != given) {
            taken_.push_back(given);
        }
    }

    void WriteSlot() {
        const MessageBlock& block = BlockOf(*object_->message);
        if (block.slotCount == 0) {
            return;
        }
        _field_data& slot = SlotsOf(block)[input_.Short() % block.slotCount];
        switch (input_.Below(4)) {
            case 0:
                slot.isSet = static_cast<unsigned short>(input_.Below(3));
                break;
            case 1:
                // Beside a buffer that it gave, the program's word is taken.
                if (slot.ownsValue == 0 || IsCarved(slot.value)) {
                    slot.length = input_.Below(2) == 0 ? input_.Byte() : input_.Short();
                }
                break;
            case 2:
                Take(slot);
                slot.value = input_.Below(2) == 0 ? room : nullptr;
                break;
            default:
                Give(slot);
        }
    }

    void Take(_field_data& slot) {
        if (slot.ownsValue != 0) {
            taken_.push_back(slot.value);
            slot.ownsValue = 0;
        }
    }

    // A text of the library's, or what was taken away.
    void Give(_field_data& slot) {
        void* buffer = nullptr;
        if (taken_.empty() || input_.Below(2) == 0) {
            buffer = ConvertDecimalToFraction("12.375");
        } else {
            buffer = taken_.back();
            taken_.pop_back();
        }
        if (buffer != nullptr) {
            Take(slot);
            slot.value = buffer;
            slot.ownsValue = 1;
            slot.length = IsCarved(buffer) ? input_.Byte() : std::uint16_t{6};
        }
    }

    void WriteHeader() {
        ZelMsgStruct& message = *object_->message;
        message.encryptFlag = static_cast<unsigned short>(input_.Below(16));
        message.format = static_cast<unsigned short>(input_.Below(4));
        message.userData = static_cast<ZELLong>(input_.Long());
        message.msgIdSeq = input_.Short();
        message.numFields = static_cast<short>(input_.OneIn(4) ? input_.Short() : message.numFields);
        // Of what was received no more is sent than there is.
        message.varUserDataLen = input_.Byte();
        if (message.varUserDataOwned == 0) {
            message.varUserData = input_.Below(2) == 0 ? room : nullptr;
        }
    }

    static CZELMessage objects[2];

    test::Random& input_;
    std::optional<test::RandomTables> tables_;
    CZELMessage* object_ = objects;
    std::vector<void*> taken_;
    std::string packed_;
};

CZELMessage Program::objects[2] = {{0, 0}, {0, 0}};

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ZELSetErrorSink(zel::fuzz::KeepReport, nullptr);
    zel::test::Random input(data, size);
    {
        zel::fuzz::Program program(input);
        for (int step = 0; step < zel::fuzz::kMostSteps && !input.IsEmpty(); ++step) {
            program.Step();
        }
    }
    zel::ReleasePlans();
    zel::fuzz::Check(zel::test::LiveBlocks() == 0, "all memory is given back");
    return 0;
}
