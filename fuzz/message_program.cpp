#include "fuzz/message_program.h"

#include <string_view>
#include <vector>

#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "fuzz/exact_copy.h"
#include "fuzz/generated_tables.h"
#include "fuzz/received_bytes.h"
#include "fuzz/transcript.h"
#include "include/zelmessage.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 48;

class Program {
public:
    explicit Program(Input& input) : input_(input), tables_(input), a_(version(), input.Below(2)), b_(0, 0) {
        ZELSetErrorSink(&Transcript::Record, &transcript_);
    }
    ~Program() { ZELSetErrorSink(nullptr, nullptr); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    std::string Run() {
        for (int step = 0; step < kMostSteps && !input_.IsEmpty(); ++step) {
            Step();
            transcript_.EndLine();
        }
        return transcript_.text();
    }

private:
    short version() { return static_cast<short>(input_.OneIn(16) ? input_.Byte() : input_.Below(4)); }

    void Create() {
        DropUserData();
        a_.msgType = input_.OneIn(16) ? short{6} : GeneratedTables::kType;
        a_.subType = static_cast<short>(input_.Below(GeneratedTables::kSubTypes + (input_.OneIn(16) ? 1 : 0)));
        const int few = input_.Below(6);
        a_.repeatCount = input_.OneIn(24) ? static_cast<short>(input_.Short()) : static_cast<short>(few);
        a_.createStruct();
        subType_ = a_.subType % GeneratedTables::kSubTypes;
        transcript_.Show(a_);
    }

    short Occurrence() { return static_cast<short>(input_.OneIn(8) ? input_.Short() : input_.Below(6) - 1); }

    void Set() {
        const std::uint16_t id = tables_.FieldId(input_, subType_);
        const short occurrence = Occurrence();
        // As many bytes as any type reads, and a zero byte after a text.
        std::string value = input_.Bytes(static_cast<std::size_t>(input_.Below(40)));
        value.resize(256);
        const int kind = input_.Below(8);
        if (kind == 0) {
            a_.setFieldValue(static_cast<short>(id), nullptr, occurrence);
        } else if (kind < 3) {
            a_.setFieldValueBinary(static_cast<short>(id), value.data(), static_cast<short>(input_.Below(60) - 1),
                                   occurrence);
        } else {
            // A field that was set with a length above this buffer cannot be set from it.
            const _field_data* slot = a_.getField(static_cast<short>(id), occurrence);
            if (slot == nullptr || slot->length <= value.size()) {
                a_.setFieldValue(static_cast<short>(id), value.data(), occurrence);
            }
        }
        if (const _field_data* slot = a_.getField(static_cast<short>(id), occurrence)) {
            transcript_.ShowSlot(*slot);
            transcript_.Tell("num", a_.message->numFields);
        }
    }

    // Sets every slot in order, so that many messages can be packed.
    void SetAll() {
        if (a_.message == nullptr) {
            return;
        }
        const std::string value = input_.Bytes(40) + std::string(300, '\0');
        const int sparse = input_.Below(4);
        std::vector<short> passed(65536);
        for (int i = 0; i < a_.message->dataBuf->count && i < kMostShown; ++i) {
            const _field_data& slot = a_.message->dataBuf->fields[i];
            const short occurrence = ++passed[slot.id];
            if (slot.isSet != 0 || slot.length > 300 || (slot.presence != kZELMandatory && sparse == i % 4)) {
                continue;
            }
            a_.setFieldValue(static_cast<short>(slot.id), value.data() + i % 30, occurrence);
        }
        transcript_.Show(a_);
    }

    void Get() {
        const auto id = static_cast<short>(tables_.FieldId(input_, subType_));
        const short occurrence = Occurrence();
        CZELMessage& object = input_.Below(2) == 0 ? a_ : b_;
        void* value = nullptr;
        transcript_.Tell("found", object.getFieldValue(&value, id, occurrence));
        transcript_.Tell("same", object.getFieldValue(id, occurrence) == value ? 1 : 0);
        transcript_.Tell("length", object.getFieldLen(id, occurrence));
        transcript_.Tell("type", object.getFieldType(id));
        const _field_data* slot = object.getField(id, occurrence);
        transcript_.Tell("slot", slot != nullptr ? slot - object.message->dataBuf->fields : -1);
    }

    void ChangeHeader() {
        if (a_.message == nullptr) {
            return;
        }
        ZelMsgStruct& message = *a_.message;
        switch (input_.Below(7)) {
            case 0:
                message.encryptFlag = static_cast<unsigned short>(input_.Below(16));
                break;
            case 1:
                message.format = static_cast<unsigned short>(input_.Below(4));
                break;
            case 2:
                message.userData = static_cast<ZELLong>(input_.Long());
                break;
            case 3:
                DropUserData();
                userData_ = input_.Bytes(static_cast<std::size_t>(input_.Below(100)));
                message.varUserData = userData_.data();
                message.varUserDataLen = static_cast<unsigned short>(userData_.size());
                message.varUserDataOwned = 0;
                break;
            case 4:
                message.msgIdSeq = input_.Short();
                message.msgIdPart2 = input_.Byte();
                message.msgIdPart3 = input_.Byte();
                break;
            case 5:
                a_.compressMode = input_.Below(4);
                break;
            default:
                a_.shortFrame = input_.Below(2);
        }
    }

    void DropUserData() {
        if (a_.message != nullptr && a_.message->varUserDataOwned == 0) {
            a_.message->varUserData = nullptr;
            a_.message->varUserDataLen = 0;
        }
    }

    void Pack() {
        std::vector<char> buffer(static_cast<std::size_t>(kZELMaxFrame) + 65536);
        long length = 0;
        const long result = a_.packMessage(buffer.data(), &length);
        transcript_.Tell("packed", result);
        if (result == 0) {
            packed_.assign(buffer.data(), static_cast<std::size_t>(length));
            transcript_.Tell("size", length);
            // Compressed bytes depend on the compressor.
            if (a_.compressMode != 1 && a_.compressMode != 3) {
                transcript_.Hex(packed_.data(), packed_.size());
            }
        }
    }

    void Unpack(const std::string& framed) {
        if (framed.size() < 6) {
            return;
        }
        std::string bytes = framed;
        if (!SetFrameLength(bytes)) {
            return;
        }
        const auto exact = ExactCopy(bytes);
        if (input_.Below(4) == 0) {
            short msgType = -7;
            short subType = -7;
            transcript_.Tell("rsp", ProcessRsp(exact.get(), 0, &msgType, &subType, 0));
            transcript_.Tell("type", msgType);
            transcript_.Tell("sub", subType);
            return;
        }
        const long result = b_.unpackMessage(exact.get());
        transcript_.Tell("unpacked", result);
        transcript_.Show(b_);
        CheckWithoutFrame(bytes, result);
        if (result == 0 && tables_.IsConsistent()) {
            CheckThatItIsStable();
        }
    }

    // Without its frame the message must give the same.
    void CheckWithoutFrame(const std::string& framed, long expected) {
        Transcript reports;
        ZELSetErrorSink(&Transcript::Record, &reports);
        const auto message = ExactCopy(std::string_view(framed).substr(FrameSize(framed)));
        CZELMessage other(0, 0);
        const long result =
            other.unpackMessageNoFrame(message.get(), static_cast<long>(framed.size() - FrameSize(framed)));
        ZELSetErrorSink(&Transcript::Record, &transcript_);
        Check(result == expected, "a message is unpacked with and without its frame, or neither way");
        if (result == 0) {
            Transcript with;
            with.ShowMessage(b_.message);
            Transcript without;
            without.ShowMessage(other.message);
            Check(with.text() == without.text(), "a message has the same fields with and without its frame");
        }
    }

    // "" when the message cannot be packed.
    static std::string PackPlainly(CZELMessage& object) {
        std::vector<char> buffer(static_cast<std::size_t>(kZELMaxFrame) + 65536);
        long length = 0;
        object.compressMode = 0;
        object.message->encryptFlag = 0;
        // A negative lower half borrows from the upper one in each sending.
        object.serviceIdLow = 0;
        return object.packMessage(buffer.data(), &length) == 0
                   ? std::string(buffer.data(), static_cast<std::size_t>(length))
                   : "";
    }

    // Fields may have come in any order. After packing and unpacking once, their order no longer changes.
    void CheckThatItIsStable() {
        const std::string once = PackPlainly(b_);
        CZELMessage again(0, 0);
        if (once.empty() || b_.message->format == 1) {
            return;
        }
        Check(again.unpackMessage(once.data()) == 0, "what was packed can be unpacked");
        const std::string twice = PackPlainly(again);
        Check(twice.empty() || twice == once, "packed, unpacked and packed, a message is the same");
    }

    void UnpackDamaged() {
        std::string bytes = packed_;
        Damage(input_, bytes, 6);
        Unpack(bytes);
    }

    void Step() {
        switch (input_.Below(12)) {
            case 0:
                return Create();
            case 1:
            case 2:
                return Set();
            case 3:
                return SetAll();
            case 4:
                return Get();
            case 5:
                return ChangeHeader();
            case 6:
                return Pack();
            case 7:
                return Unpack(packed_);
            case 8:
                return UnpackDamaged();
            default:
                subType_ = input_.Below(GeneratedTables::kSubTypes);
                packed_ = ForeignMessage(input_, tables_, subType_);
                return Unpack(packed_);
        }
    }

    Input& input_;
    GeneratedTables tables_;
    Transcript transcript_;
    std::string userData_;
    std::string packed_;
    CZELMessage a_;
    CZELMessage b_;
    int subType_ = 0;
};

}  // namespace

std::string RunMessageProgram(Input& input) {
    return Program(input).Run();
}

}  // namespace zel::fuzz
