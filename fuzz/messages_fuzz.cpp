// Messages of random tables, in order, out of order and damaged: what unpacks packs to bytes that unpack to the same
// fields, compressed or not, and fields that came as the list has them pack to the bytes that they came in.
#include "fuzz/check.h"
#include "fuzz/received_message.h"
#include "tests/support/made_message.h"

namespace zel::fuzz {

namespace {

void RoundTrip(CZELMessage& first, const ReceivedMessage& received, bool isOdd, int compressMode) {
    static CZELMessage second(0, 0);
    if (!received.swapped.empty() && !isOdd) {
        const test::ExactCopy swapped(received.swapped);
        Check(second.unpackMessageNoFrame(swapped.data.get(), static_cast<long>(swapped.size)) == 0 &&
                  test::HasSameFields(*first.message, *second.message),
              "fields may come in any order");
    }
    first.sequence = 1;
    // A negative one borrows from the upper half each time that it is sent.
    first.serviceIdLow = 0;
    first.compressMode = 0;
    first.version = static_cast<short>(first.message->version);
    const std::string once = test::Pack(first);
    Check(isOdd || !received.isInOrder || once.ends_with(received.payload), "in order, the same bytes");
    // In format 1 nothing tells what was not set.
    if (once.empty() || isOdd || (first.message->format == 1 && !received.isInOrder)) {
        return;
    }
    Check(test::Unpack(second, once) == 0, "what was packed can be unpacked");
    // A version leaves out what is newer, and a date-time may have come with a length that is not its own.
    const bool mayDiffer = first.version != 0 || (first.message->format == 2 && !received.isInOrder);
    Check(mayDiffer || test::HasSameFields(*first.message, *second.message), "the same fields");
    second.sequence = 1;
    second.version = first.version;
    second.compressMode = compressMode;
    const std::string twice = test::Pack(second);
    // A mandatory field that the version left out is missing.
    if (twice.empty() && first.version != 0) {
        return second.destroyStruct();
    }
    Check(compressMode % 2 != 0 || twice.substr(12) == once.substr(12), "packed twice, the same bytes");
    Check(test::Unpack(first, twice) == 0, "what was packed twice can be unpacked");
    Check(test::HasSameFields(*first.message, *second.message), "the same fields again");
    second.destroyStruct();
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    static CZELMessage object(0, 0);
    ZELSetErrorSink(KeepReport, nullptr);
    ZELSetMostRepetitions(500);
    zel::test::Random input(data, size);
    const zel::test::RandomTables& tables = UseTablesOf(input.Byte());
    const int compressMode = input.OneIn(8) ? input.Below(4) : 0;
    const ReceivedMessage received = MakeReceived(input, tables, input.Below(zel::test::RandomTables::kSubTypes));
    const zel::test::ExactCopy bytes(received.bytes);
    if (object.unpackMessageNoFrame(bytes.data.get(), static_cast<long>(bytes.size)) == 0) {
        RoundTrip(object, received, tables.IsOdd(), compressMode);
    }
    object.destroyStruct();
    return 0;
}
