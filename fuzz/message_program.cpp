#include "fuzz/message_program.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "fuzz/generated_tables.h"
#include "include/zelmessage.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 48;
// More slots than this cost more to show than they tell.
constexpr int kMostShown = 600;

void Record(int code, const char* text, void* transcript) {
    static_cast<std::string*>(transcript)->append(" !").append(std::to_string(code)).append(" ").append(text);
}

std::string Big(std::uint32_t value, int size) {
    std::string bytes;
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

class Program {
public:
    explicit Program(Input& input) : input_(input), tables_(input), a_(version(), input.Below(2)), b_(0, 0) {
        ZELSetErrorSink(&Record, &transcript_);
    }
    ~Program() { ZELSetErrorSink(nullptr, nullptr); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    std::string Run() {
        for (int step = 0; step < kMostSteps && !input_.IsEmpty(); ++step) {
            Step();
            transcript_ += '\n';
        }
        return transcript_;
    }

private:
    short version() { return static_cast<short>(input_.OneIn(16) ? input_.Byte() : input_.Below(4)); }

    void Tell(const char* what, long result) {
        transcript_.append(" ").append(what).append(" ").append(std::to_string(result));
    }

    void Hex(const void* bytes, std::size_t size) {
        constexpr char kDigits[] = "0123456789abcdef";
        transcript_ += ' ';
        for (std::size_t i = 0; i < size; ++i) {
            const unsigned byte = static_cast<const unsigned char*>(bytes)[i];
            transcript_ += kDigits[byte >> 4U];
            transcript_ += kDigits[byte & 15U];
        }
    }

    void ShowSlot(const _field_data& slot) {
        Tell("slot", slot.id);
        Tell("presence", slot.presence);
        Tell("set", slot.isSet);
        Tell("length", slot.length);
        Tell("inline", slot.value == slot.inlineValue ? 1 : 0);
        // A value that was never set may lie nowhere.
        if (slot.value != nullptr) {
            // Of an unset inline value no more than the eight bytes.
            const std::size_t room = slot.value == slot.inlineValue ? sizeof slot.inlineValue : slot.length;
            Hex(slot.value, std::min<std::size_t>(slot.length, room));
        }
    }

    void Show(const CZELMessage& object) {
        Tell("type", object.msgType);
        Tell("sub", object.subType);
        Tell("service", object.serviceIdHigh);
        Tell("low", object.serviceIdLow);
        Tell("repeat", object.repeatCount);
        Tell("compress", object.compressMode);
        Tell("seq", object.sequence);
        const ZelMsgStruct* message = object.message;
        if (message == nullptr) {
            transcript_ += " none";
            return;
        }
        for (const long value :
             {long{message->msgType}, long{message->subType}, long{message->serviceIdHigh}, long{message->serviceIdLow},
              long{message->encryptFlag}, long{message->packFlags}, long{message->format}, long{message->version},
              long{message->msgIdSeq}, long{message->msgIdPart2}, long{message->msgIdPart3}, long{message->userData},
              long{message->varUserDataLen}, long{message->varUserDataOwned}, long{message->numFields},
              long{message->repeatCount}}) {
            Tell("", value);
        }
        if (message->varUserData != nullptr) {
            Hex(message->varUserData, message->varUserDataLen);
        }
        Tell("slots", message->dataBuf->count);
        for (int i = 0; i < message->dataBuf->count && i < kMostShown; ++i) {
            ShowSlot(message->dataBuf->fields[i]);
        }
    }

    void Create() {
        DropUserData();
        a_.msgType = input_.OneIn(16) ? short{6} : GeneratedTables::kType;
        a_.subType = static_cast<short>(input_.Below(GeneratedTables::kSubTypes + (input_.OneIn(16) ? 1 : 0)));
        const int few = input_.Below(6);
        a_.repeatCount = input_.OneIn(24) ? static_cast<short>(input_.Short()) : static_cast<short>(few);
        a_.createStruct();
        subType_ = a_.subType % GeneratedTables::kSubTypes;
        Show(a_);
    }

    short Occurrence() { return static_cast<short>(input_.OneIn(8) ? input_.Short() : input_.Below(6) - 1); }

    void Set() {
        const std::uint16_t id = tables_.FieldId(input_, subType_);
        const short occurrence = Occurrence();
        // As many bytes as any type reads, and a zero byte behind a text that may hold some.
        std::string value = input_.Bytes(static_cast<std::size_t>(input_.Below(40)));
        value.resize(256);
        const int kind = input_.Below(8);
        if (kind == 0) {
            a_.setFieldValue(static_cast<short>(id), nullptr, occurrence);
        } else if (kind < 3) {
            a_.setFieldValueBinary(static_cast<short>(id), value.data(), static_cast<short>(input_.Below(60) - 1),
                                   occurrence);
        } else {
            // A field whose value was set with a length above the buffer here cannot be set from it.
            const _field_data* slot = a_.getField(static_cast<short>(id), occurrence);
            if (slot == nullptr || slot->length <= value.size()) {
                a_.setFieldValue(static_cast<short>(id), value.data(), occurrence);
            }
        }
        if (const _field_data* slot = a_.getField(static_cast<short>(id), occurrence)) {
            ShowSlot(*slot);
            Tell("num", a_.message->numFields);
        }
    }

    // Every slot in order, so that a message often packs.
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
        Show(a_);
    }

    void Get() {
        const auto id = static_cast<short>(tables_.FieldId(input_, subType_));
        const short occurrence = Occurrence();
        CZELMessage& object = input_.Below(2) == 0 ? a_ : b_;
        void* value = nullptr;
        Tell("found", object.getFieldValue(&value, id, occurrence));
        Tell("same", object.getFieldValue(id, occurrence) == value ? 1 : 0);
        Tell("length", object.getFieldLen(id, occurrence));
        Tell("type", object.getFieldType(id));
        const _field_data* slot = object.getField(id, occurrence);
        Tell("slot", slot != nullptr ? slot - object.message->dataBuf->fields : -1);
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
        Tell("packed", result);
        if (result == 0) {
            packed_.assign(buffer.data(), static_cast<std::size_t>(length));
            Tell("size", length);
            // Compressed bytes are the compressor's.
            if (a_.compressMode != 1 && a_.compressMode != 3) {
                Hex(packed_.data(), packed_.size());
            }
        }
    }

    void Unpack(const std::string& framed) {
        if (framed.size() < 6) {
            return;
        }
        // The frame's length is trusted: it is that of what follows.
        std::string bytes = framed;
        const bool isShort = static_cast<unsigned char>(bytes[1]) >> 4U == 1;
        const auto size = static_cast<std::uint32_t>(bytes.size() - (isShort ? 4 : 6));
        for (int i = 0; i < (isShort ? 2 : 4); ++i) {
            bytes[2 + static_cast<std::size_t>(i)] = static_cast<char>(size >> 8 * i & 0xFF);
        }
        if (isShort && size > 32767) {
            return;
        }
        const auto exact = std::make_unique<char[]>(bytes.size());
        std::memcpy(exact.get(), bytes.data(), bytes.size());
        if (input_.Below(4) == 0) {
            short msgType = -7;
            short subType = -7;
            Tell("rsp", ProcessRsp(exact.get(), 0, &msgType, &subType, 0));
            Tell("type", msgType);
            Tell("sub", subType);
            return;
        }
        const long result = b_.unpackMessage(exact.get());
        Tell("unpacked", result);
        Show(b_);
        if (result == 0 && tables_.IsConsistent()) {
            CheckThatItIsStable();
        }
    }

    // Names what is wrong and ends the process.
    static void Fail(const char* what) {
        (void)std::fprintf(stderr, "%s\n", what);
        std::abort();
    }

    // "" when the message cannot be packed.
    static std::string PackPlainly(CZELMessage& object) {
        std::vector<char> buffer(static_cast<std::size_t>(kZELMaxFrame) + 65536);
        long length = 0;
        object.compressMode = 0;
        object.message->encryptFlag = 0;
        // A negative lower half borrows from the upper one each time that it is sent.
        object.serviceIdLow = 0;
        return object.packMessage(buffer.data(), &length) == 0
                   ? std::string(buffer.data(), static_cast<std::size_t>(length))
                   : "";
    }

    // Fields may have come in any order. Packed and unpacked once, they lie as they will always lie.
    void CheckThatItIsStable() {
        const std::string once = PackPlainly(b_);
        CZELMessage again(0, 0);
        if (once.empty() || b_.message->format == 1) {
            return;
        }
        if (again.unpackMessage(once.data()) != 0) {
            Fail("what was packed cannot be unpacked");
        }
        const std::string twice = PackPlainly(again);
        if (!twice.empty() && twice != once) {
            Fail("packed, unpacked and packed, a message differs");
        }
    }

    void UnpackDamaged() {
        std::string bytes = packed_;
        for (int n = input_.Below(6); n >= 0 && bytes.size() > 6; --n) {
            const std::size_t at = 6 + input_.Short() % (bytes.size() - 6);
            switch (input_.Below(4)) {
                case 0:
                    bytes[at] = static_cast<char>(input_.Byte());
                    break;
                case 1:
                    bytes.resize(at);
                    break;
                case 2:
                    bytes.insert(at, input_.Bytes(static_cast<std::size_t>(input_.Below(8))));
                    break;
                default:
                    bytes.erase(at, static_cast<std::size_t>(input_.Below(8)));
            }
        }
        Unpack(bytes);
    }

    std::string PayloadField(int format) {
        const std::uint16_t id = tables_.FieldId(input_, subType_);
        const std::string front = format == 1 ? "" : Big(id, 2);
        constexpr int kSizes[] = {0, 2, 4, 4, 0, 0, 4, 8, 8, 6, 0, 0, 0};
        const ZELDictionaryField& record = tables_.Field(id);
        const int type = id == 0 ? 0 : record.type;
        std::size_t size = static_cast<std::size_t>(type < 13 ? kSizes[type] : 0);
        if (type == kZELChars) {
            size = record.length > 0 ? static_cast<std::size_t>(record.length) : 0;
        }
        const bool counted = type == kZELText || type == kZELBytes10 || type == kZELBytes11;
        if (counted || size == 0 || input_.OneIn(16)) {
            size = static_cast<std::size_t>(input_.Below(20));
        }
        const std::string value = input_.Bytes(size);
        const bool lies = input_.OneIn(32);
        const auto stated = static_cast<std::uint32_t>(lies ? input_.Byte() : size);
        return front + (format == 2 || counted ? Big(stated, 2) : "") + value;
    }

    // A message that was never packed: the header with the type and sub-type, then fields in any order.
    void UnpackForeign() {
        subType_ = input_.Below(GeneratedTables::kSubTypes);
        const int format = input_.Below(input_.OneIn(16) ? 16 : 3);
        const int packFlags = input_.OneIn(8) ? input_.Below(16) : 1;
        const int encrypt = input_.OneIn(8) ? input_.Below(16) : 0;
        std::string payload;
        int fields = input_.Below(24);
        const ZELSubTypeNode& node = tables_.Node(subType_);
        const int count = node.repeatFieldId != 0 ? input_.Below(6) : 0;
        if (node.repeatFieldId != 0 && format != 1 && input_.Below(4) != 0) {
            const int size = tables_.Field(node.repeatFieldId).type == kZELInt ? 4 : 2;
            payload = Big(node.repeatFieldId, 2) + (format == 2 ? Big(static_cast<std::uint32_t>(size), 2) : "") +
                      Big(static_cast<std::uint32_t>(count), size);
        }
        for (int field = 0; field < fields; ++field) {
            payload += PayloadField(format);
        }
        fields += (payload.empty() ? 0 : 1) + (input_.OneIn(8) ? input_.Below(3) - 1 : 0);
        std::string message =
            Big(1, 2) +
            Big(static_cast<std::uint32_t>(encrypt << 12 | packFlags << 8 | format << 4 | input_.Below(4)), 2);
        message += Big(2, 2) + Big(static_cast<std::uint32_t>(GeneratedTables::kType << 16 | subType_), 4);
        message += Big(3, 2) + input_.Bytes(4) + Big(4, 2) + input_.Bytes(4);
        message += Big(5, 2) + Big(static_cast<std::uint32_t>(fields), 2);
        if (input_.OneIn(8)) {
            const int size = input_.Below(10);
            message +=
                Big(7, 2) + Big(static_cast<std::uint32_t>(size), 2) + input_.Bytes(static_cast<std::size_t>(size));
        } else {
            message += Big(6, 2) + input_.Bytes(4);
        }
        packed_ = std::string("\x01\x30\0\0\0\0", 6) + message + payload;
        Unpack(packed_);
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
                return UnpackForeign();
        }
    }

    Input& input_;
    GeneratedTables tables_;
    std::string transcript_;
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
