// Frames as a peer could send them: ProcessRsp, getHeaderInfo, validating and unpacking, with the frame and without it,
// agree on what they are, down to the reports.
#include "core/message_validate.h"
#include "core/wire/frame.h"
#include "fuzz/check.h"
#include "fuzz/received_message.h"
#include "tests/support/made_message.h"
#include "tests/support/recorded_reports.h"

namespace zel::fuzz {

namespace {

constexpr short kUntouched = -7;

// The message in a frame, mostly a good one.
std::string Framed(test::Random& input, const std::string& message) {
    const int nibble = input.OneIn(16) ? input.Below(16) : input.Below(2) == 0 ? 1 : 3;
    const int shorter = input.OneIn(16) ? input.Byte() : 0;
    std::string framed(nibble == 1 ? 4 : 6, input.OneIn(32) ? '\x02' : '\x01');
    framed[1] = static_cast<char>(nibble << 4);
    // Only the long frame is known to take 6 bytes.
    const auto behind = static_cast<int>(message.size()) + (framed.size() == 6 && nibble != 3 ? 2 : 0);
    if (nibble == 1) {
        StoreU16Le(framed.data() + 2, static_cast<std::uint16_t>(behind - shorter));
    } else {
        StoreU32Le(framed.data() + 2, static_cast<std::uint32_t>(behind - shorter));
    }
    return framed + message;
}

struct Response {
    int result = 0;
    short types[2] = {kUntouched, kUntouched};
    std::string reports{};

    bool operator==(const Response&) const = default;
};

void CheckObject(const CZELMessage& object, const Response& response, const short (&numbers)[6]) {
    Check(object.msgType == response.types[0] && object.subType == response.types[1], "the type of its response");
    Check(numbers[1] == object.serviceIdHigh && numbers[2] == object.serviceIdLow && numbers[3] == object.msgType &&
              numbers[4] == object.subType && numbers[5] == object.repeatCount,
          "an object has the numbers of what it received");
    Check(object.message == nullptr ||
              (object.message->format == numbers[0] && object.message->msgType == object.msgType &&
               object.message->subType == object.subType && object.message->serviceIdLow == object.serviceIdLow),
          "a message agrees with its object");
}

void Receive(const std::string& framed) {
    static CZELMessage with(0, 0);
    static CZELMessage without(0, 0);
    test::RecordedReports reports;
    const test::ExactCopy bytes(framed[0] == kSoh ? framed : framed.substr(0, 1));
    long length = kUntouched;
    short frameType = kUntouched;
    const bool isFrame = with.getHeaderInfo(bytes.data.get(), &length, &frameType) == 0;
    Check(isFrame == (framed[0] == kSoh) && isFrame == (frameType != kUntouched), "a frame begins with SOH");
    Response response;
    reports.Take();
    response.result = ProcessRsp(bytes.data.get(), 0, response.types, response.types + 1, 0);
    response.reports = reports.TakeText();
    const long unpacked = with.unpackMessage(bytes.data.get());
    if (!isFrame) {
        return Check(response.result == -1 && unpacked == -1, "without a frame there is no message");
    }
    // The same without its frame, as far as the frame says that it reaches.
    const test::ExactCopy message(
        std::string_view(framed).substr(frameType == 3 ? 6 : 4, static_cast<std::size_t>(std::max(length, 0L))));
    Response same;
    reports.Take();
    same.result = ProcessRspNoFrame(message.data.get(), length, same.types, same.types + 1);
    same.reports = reports.TakeText();
    Check(same == response, "a response is the same with and without its frame");
    short numbers[6] = {};
    Check(ValidateZELMsg(message.data.get(), length, numbers, numbers + 1, numbers + 2, numbers + 3, numbers + 4,
                         numbers + 5) == response.result,
          "a response is a valid message");
    Check(without.unpackMessageNoFrame(message.data.get(), length) == unpacked, "both are unpacked, or neither");
    Check(response.result == 0 || unpacked == -1, "what is no response cannot be unpacked");
    if (response.result == 0) {
        CheckObject(with, response, numbers);
        CheckObject(without, response, numbers);
        Check(unpacked != 0 || test::HasSameFields(*with.message, *without.message), "both have the same fields");
    }
    with.destroyStruct();
    without.destroyStruct();
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ZELSetMostRepetitions(500);
    zel::test::Random input(data, size);
    const zel::test::RandomTables& tables = zel::fuzz::UseTablesOf(input.Byte());
    const std::string message =
        zel::fuzz::MakeReceived(input, tables, input.Below(zel::test::RandomTables::kSubTypes)).bytes;
    zel::fuzz::Receive(zel::fuzz::Framed(input, message));
    return 0;
}
