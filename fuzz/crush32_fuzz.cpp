// The compression library, alone and behind the framing of payloads: hostile data with hostile lengths expand within
// their bounds or not at all, and what was compressed expands to what it was. zlib itself is not built with the
// sanitizers: writes behind a buffer show in guard bytes, reads behind one by what is read there changing the outcome.
#include "core/wire/compression.h"
#include "crush32/crush32.h"
#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "runtime/byte_order.h"
#include "tests/support/bytes.h"

namespace zel::fuzz {

namespace {

using test::ExactCopy;
using test::Random;

constexpr std::size_t kGuard = 64;

// A few pieces: bytes, noise, and what was there before, overlapping.
std::string MakeSource(Random& input) {
    std::string source;
    for (int piece = input.Below(4); piece >= 0; --piece) {
        const int kind = input.Below(4);
        const int size = kind == 0 ? input.Below(64) : input.Short() % 2048;
        if (kind == 0) {
            source += input.Bytes(size);
        } else if (kind == 1) {
            source += Random(input.Byte()).Bytes(size);
        } else {
            source += source.empty() ? "x" : "";
            const std::size_t back = input.Short() % source.size() + 1;
            for (int i = 0; i < size; ++i) {
                source += source[source.size() - back];
            }
        }
    }
    return source;
}

// The data expanded to exactly `size` bytes, or "" with *isGood false.
std::string Expand(const std::string& data, std::size_t size, bool* isGood) {
    std::string expanded[2];
    short status[2] = {};
    for (const bool isAgain : {false, true}) {
        // With other bytes behind the data.
        const ExactCopy source(data + std::string(isAgain ? kGuard : 0, '\xFF'));
        std::string& to = expanded[isAgain ? 1 : 0];
        to.assign(size + kGuard, '\x5A');
        Check(CrushBegin() == 0, "a pass can begin");
        status[isAgain ? 1 : 0] =
            CrushExpand(source.data.get(), to.data(), static_cast<int>(size), static_cast<int>(data.size()));
        CrushEnd();
        Check(to.find_first_not_of('\x5A', size) == std::string::npos, "expanding stays within its destination");
    }
    Check(status[0] == status[1] && (status[0] == 0 || status[0] == crush::kNotExpanded), "expanding is 0 or -1");
    Check(status[0] != 0 || expanded[0] == expanded[1], "what lies behind the data has no say");
    *isGood = status[0] == 0;
    return expanded[0].substr(0, size);
}

// "" when the source cannot be compressed.
std::string Compress(const std::string& source) {
    const std::size_t room = source.size() > crush::kFramingSize ? source.size() - crush::kFramingSize - 1 : 0;
    const ExactCopy bytes(source);
    std::string data(room + kGuard, '\x5A');
    Check(CrushBegin() == 0, "a pass can begin");
    const int size = CrushCompress(bytes.data.get(), data.data(), static_cast<int>(source.size()));
    CrushEnd();
    Check(size == crush::kNotSmaller || (size > 0 && static_cast<std::size_t>(size) <= room), "smaller by its framing");
    Check(data.find_first_not_of('\x5A', room) == std::string::npos, "compressing stays within its room");
    return size < 0 ? "" : data.substr(0, static_cast<std::size_t>(size));
}

void RoundTrip(Random& input) {
    const std::string source = MakeSource(input);
    const std::string data = Compress(source);
    if (!data.empty()) {
        bool isGood = false;
        Check(Expand(data, source.size(), &isGood) == source && isGood, "what was compressed expands to what it was");
        (void)Expand(data, source.size() + 2 * static_cast<std::size_t>(input.Below(2)) - 1, &isGood);
        Check(!isGood, "data expands to one length alone");
        (void)Expand(input.Below(2) == 0 ? data + '\0' : data.substr(0, data.size() - 1), source.size(), &isGood);
        Check(!isGood, "data cut short or with more behind it is refused");
    }
}

std::string SomeData(Random& input) {
    return Compress(std::string(static_cast<std::size_t>(input.Below(200)), 'x') + "abcdefgh");
}

void ExpandHostile(Random& input) {
    std::string data = SomeData(input);
    const int size = input.OneIn(4) ? input.Short() : input.Below(256);
    Damage(input, data);
    bool isGood = false;
    (void)Expand(data, static_cast<std::size_t>(size), &isGood);
}

void RoundTripPayload(Random& input) {
    const auto flags = static_cast<unsigned char>(input.OneIn(4) ? input.Byte() : kPackCompressed);
    const ExactCopy source(MakeSource(input));
    const std::string_view bytes(source.data.get(), source.size);
    const auto destination = std::make_unique<char[]>(kZELMaxPayload);
    short length = -7;
    const int result =
        zelCompressPayload(flags, source.data.get(), static_cast<short>(source.size), destination.get(), &length);
    const ExactCopy sent(std::string_view(destination.get(), static_cast<std::size_t>(length)));
    if (result != 0 || !IsCompressed(flags)) {
        return Check(bytes == std::string_view(sent.data.get(), sent.size), "what is not compressed goes out plain");
    }
    Check(sent.size < source.size, "a compressed payload is smaller");
    Check(zelExpandPayload(flags, sent.data.get(), length, destination.get(), &length) == 0 &&
              bytes == std::string_view(destination.get(), static_cast<std::size_t>(length)),
          "a compressed payload expands to what it was");
}

// Data with lengths of its own in front.
void ExpandPayload(Random& input) {
    std::string data = SomeData(input);
    std::string payload(crush::kFramingSize, '\0');
    StoreU32Be(payload.data(), input.OneIn(4) ? input.Long() : static_cast<std::uint32_t>(input.Below(16384)));
    StoreU32Be(payload.data() + 4, input.OneIn(4) ? input.Long() : static_cast<std::uint32_t>(data.size()));
    Damage(input, data);
    const ExactCopy bytes(payload + data);
    const auto destination = std::make_unique<char[]>(kZELMaxPayload);
    short length = -7;
    const int result =
        zelExpandPayload(kPackCompressed, bytes.data.get(), static_cast<short>(bytes.size), destination.get(), &length);
    Check(result == -1 || (result == 0 && length >= 0 && length <= kZELMaxPayload), "it fits, or is refused");
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr void (*kKinds[])(zel::test::Random&) = {zel::fuzz::RoundTrip, zel::fuzz::ExpandHostile,
                                                      zel::fuzz::RoundTripPayload, zel::fuzz::ExpandPayload};
    zel::test::Random input(data, size);
    input.Pick(kKinds)(input);
    return 0;
}
