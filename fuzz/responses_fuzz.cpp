// Frames that a peer could send, packed or invented, and then damaged: ProcessRsp, getHeaderInfo and unpacking, with
// the frame and without it, agree about them.
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "core/message_validate.h"
#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "fuzz/exact_copy.h"
#include "fuzz/generated_tables.h"
#include "fuzz/input.h"
#include "fuzz/received_bytes.h"
#include "fuzz/transcript.h"
#include "include/zelmessage.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 8;
constexpr short kUntouched = -7;

// Makes tables from a number. While the number stays the same, the tables do, too: making them takes longer than a run.
const GeneratedTables& UseTables(std::uint8_t number) {
    static std::unique_ptr<const GeneratedTables> tables;
    static std::uint8_t madeFrom = 0;
    if (tables == nullptr || madeFrom != number) {
        std::string noise;
        std::uint32_t state = number;
        for (int i = 0; i < 512; ++i) {
            state = state * 1664525U + 1013904223U;
            noise += static_cast<char>(state >> 24U);
        }
        Input input(reinterpret_cast<const std::uint8_t*>(noise.data()), noise.size());
        tables.reset();
        tables = std::make_unique<const GeneratedTables>(input);
        madeFrom = number;
    }
    return *tables;
}

// A message that an object packed, or "".
std::string PackedMessage(Input& input, int subType) {
    CZELMessage object(static_cast<short>(input.Below(4)), input.Below(2));
    object.msgType = GeneratedTables::kType;
    object.subType = static_cast<short>(subType);
    object.repeatCount = static_cast<short>(input.Below(6));
    object.compressMode = input.OneIn(4) ? input.Below(4) : 0;
    object.shortFrame = input.OneIn(4) ? 1 : 0;
    object.createStruct();
    if (object.message == nullptr) {
        return "";
    }
    const std::string value = input.Bytes(40) + std::string(300, '\0');
    int passed[256] = {};
    for (int i = 0; i < object.message->dataBuf->count && i < kMostShown; ++i) {
        const _field_data& slot = object.message->dataBuf->fields[i];
        const auto occurrence = static_cast<short>(++passed[slot.id % 256U]);
        if (slot.length <= 256) {
            object.setFieldValue(static_cast<short>(slot.id), value.data() + i % 30, occurrence);
        }
    }
    const auto buffer = std::make_unique<char[]>(kZELMaxFrame);
    long length = 0;
    return object.packMessage(buffer.get(), &length) == 0 ? std::string(buffer.get(), static_cast<std::size_t>(length))
                                                          : "";
}

std::size_t MessageAt(std::string_view framed) {
    return static_cast<unsigned char>(framed[1]) >> 4U == 3 ? 6 : 4;
}

struct Response {
    int result;
    short msgType;
    short subType;
};

// `framed` is a whole frame whose length is right, too small, or negative.
void Receive(const std::string& framed) {
    const auto exact = ExactCopy(framed);
    CZELMessage object(0, 0);
    long length = kUntouched;
    short frameType = kUntouched;
    const int isFrame = object.getHeaderInfo(exact.get(), &length, &frameType);
    Check(framed[0] == 1 ? isFrame == 0 && frameType == static_cast<unsigned char>(framed[1]) >> 4U
                         : isFrame == -1 && length == kUntouched && frameType == kUntouched,
          "a frame begins with SOH");

    Transcript reports;
    ZELSetErrorSink(&Transcript::Record, &reports);
    Response response{0, kUntouched, kUntouched};
    response.result = ProcessRsp(exact.get(), 0, &response.msgType, &response.subType, 0);
    ZELSetErrorSink(nullptr, nullptr);
    Check((reports.text().find(" !1005 ") == 0) == (isFrame != 0), "a missing SOH is reported first");
    if (isFrame != 0) {
        Check(response.result == -1, "without a frame there is no message");
    }

    object.compressMode = kUntouched;
    const long unpacked = object.unpackMessage(exact.get());
    Check(response.result == 0 || unpacked == -1, "what is no response cannot be unpacked");
    Check(response.result == 0 ? response.msgType == object.msgType && response.subType == object.subType
                               : response.msgType == kUntouched && response.subType == kUntouched,
          "a response has the type of its message");
    Check(unpacked == 0 ? object.message != nullptr && object.message->msgType == object.msgType &&
                              object.message->subType == object.subType
                        : object.compressMode == kUntouched,
          "an object and its message agree");
    if (isFrame != 0) {
        return;
    }

    // Without its frame, as long as getHeaderInfo says.
    const std::string_view after = std::string_view(framed).substr(MessageAt(framed));
    const auto reach = static_cast<std::size_t>(std::max(length, 0L));
    Check(length <= static_cast<long>(after.size()), "a frame's length holds");
    const auto message = ExactCopy(after.substr(0, reach));
    Transcript reportsWithout;
    ZELSetErrorSink(&Transcript::Record, &reportsWithout);
    Response without{0, kUntouched, kUntouched};
    without.result = ProcessRspNoFrame(message.get(), length, &without.msgType, &without.subType);
    ZELSetErrorSink(nullptr, nullptr);
    Check(std::memcmp(&without, &response, sizeof response) == 0 && reportsWithout.text() == reports.text(),
          "a response is the same with and without its frame");
    short outputs[6] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
    Check(ValidateZELMsg(message.get(), length, outputs, outputs + 1, outputs + 2, outputs + 3, outputs + 4,
                         outputs + 5) == response.result,
          "a response is a valid message");
    if (response.result == 0) {
        Check(outputs[1] == object.serviceIdHigh && outputs[2] == object.serviceIdLow && outputs[3] == object.msgType &&
                  outputs[4] == object.subType && outputs[5] == object.repeatCount,
              "an object has the numbers of what it received");
    }

    CZELMessage other(0, 0);
    other.compressMode = object.compressMode;
    Check(other.unpackMessageNoFrame(message.get(), length) == unpacked,
          "a message is unpacked with and without its frame, or neither way");
    Transcript shown;
    shown.Show(object);
    Transcript shownWithout;
    shownWithout.Show(other);
    Check(shown.text() == shownWithout.text(), "a message is the same with and without its frame");
    Check(unpacked != 0 || object.message->format == static_cast<unsigned short>(outputs[0]), "the format is known");
}

void RawBytes(Input& input) {
    std::string framed(1, input.OneIn(8) ? static_cast<char>(input.Byte()) : '\x01');
    const int nibble = input.Below(input.OneIn(8) ? 16 : 4);
    if (framed[0] != '\x01') {
        // An exact copy: nothing may be read after bytes that are not a frame.
        const auto exact = ExactCopy(framed);
        short type = kUntouched;
        Check(ProcessRsp(exact.get(), 0, &type, &type, 0) == -1 && type == kUntouched, "no frame, no message");
        framed.resize(6);
        return Receive(framed);
    }
    framed += static_cast<char>(nibble << 4 | input.Below(16));
    framed += input.Bytes(nibble == 1 ? 2 : 4);
    framed += input.Bytes(input.Byte());
    (void)SetFrameLength(framed);
    // A smaller length, or 0.
    if (input.OneIn(4)) {
        const std::size_t last = FrameSize(framed) - 1;
        framed[2] = static_cast<char>(input.Byte() % (static_cast<unsigned char>(framed[2]) + 1U));
        framed[last] = static_cast<char>(framed[last] | (input.OneIn(4) ? 0x80 : 0));
    }
    Receive(framed);
}

void Step(Input& input, const GeneratedTables& tables) {
    const int choice = input.Below(8);
    if (choice == 0) {
        return RawBytes(input);
    }
    const int subType = input.Below(GeneratedTables::kSubTypes);
    std::string framed = choice <= 3 ? PackedMessage(input, subType) : ForeignMessage(input, tables, subType);
    if (framed.empty()) {
        return;
    }
    if (choice == 1 || choice == 4) {
        Damage(input, framed, MessageAt(framed));
    } else if (choice == 2 || choice == 5) {
        framed.resize(MessageAt(framed) + input.Short() % (framed.size() - MessageAt(framed) + 1));
    }
    if (SetFrameLength(framed)) {
        Receive(framed);
    }
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input input(data, size);
    const zel::fuzz::GeneratedTables& tables = zel::fuzz::UseTables(input.Byte());
    for (int step = 0; step < zel::fuzz::kMostSteps && !input.IsEmpty(); ++step) {
        zel::fuzz::Step(input, tables);
    }
    return 0;
}
