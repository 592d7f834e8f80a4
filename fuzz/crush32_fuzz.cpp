// The compression library, alone and with the framing of payloads: hostile data with hostile lengths expand within
// their bounds or not at all, and compressed data expand to their source. zlib is not built with the sanitizers, so
// guard bytes catch writes after a buffer; reads after a buffer are caught because other bytes there must not change
// the result.
#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

#include "core/wire/compression.h"
#include "core/wire/header.h"
#include "crush32/crush32.h"
#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "fuzz/exact_copy.h"
#include "fuzz/input.h"
#include "include/zelmessage.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 6;
constexpr int kMostPieces = 40;
constexpr std::size_t kLongestSource = 40000;
constexpr int kNotSmaller = -14;
constexpr std::size_t kFramingSize = 8;
constexpr std::size_t kGuard = 64;
constexpr char kGuardByte = '\x5A';

void AppendNoise(std::string& source, std::size_t size, std::uint32_t seed) {
    std::uint32_t state = seed | 1U;
    for (; size > 0; --size) {
        state = state * 1664525U + 1013904223U;
        source += static_cast<char>(state >> 24U);
    }
}

// Appends a copy of what lies `distance` bytes back; the two may overlap.
void AppendRepeat(std::string& source, std::size_t size, std::size_t distance) {
    if (source.empty()) {
        return;
    }
    distance = distance % source.size() + 1;
    for (; size > 0; --size) {
        source += source[source.size() - distance];
    }
}

std::string MakeSource(Input& input) {
    std::string source;
    for (int piece = input.Below(kMostPieces); piece >= 0 && source.size() < kLongestSource; --piece) {
        const int kind = input.Below(4);
        const std::size_t size = kind == 0 ? input.Byte() : input.Short() % 8192U;
        switch (kind) {
            case 0:
                source += input.Bytes(size);
                break;
            case 1:
                AppendNoise(source, size, input.Byte());
                break;
            case 2:
                source.append(size, static_cast<char>(input.Byte()));
                break;
            default:
                AppendRepeat(source, size, input.Short());
        }
    }
    source.resize(std::min(source.size(), kLongestSource));
    return source;
}

// The expanded bytes, or "" with *isGood false.
std::string Expand(const std::string& data, std::size_t size, bool* isGood) {
    const auto exactSource = ExactCopy(data);
    const auto exact = std::make_unique<char[]>(size);
    Check(CrushBegin() == 0, "a pass can begin");
    const short status =
        CrushExpand(exactSource.get(), exact.get(), static_cast<int>(size), static_cast<int>(data.size()));
    CrushEnd();
    Check(status == 0 || status == -1, "expanding returns 0 or -1");

    const std::string followed = data + std::string(kGuard, '\xFF');
    std::string guarded(size + kGuard, kGuardByte);
    (void)CrushBegin();
    const short again =
        CrushExpand(followed.data(), guarded.data(), static_cast<int>(size), static_cast<int>(data.size()));
    CrushEnd();
    Check(again == status, "bytes after the data do not matter");
    Check(guarded.find_first_not_of(kGuardByte, size) == std::string::npos, "expanding stays within its destination");
    Check(status != 0 || std::memcmp(exact.get(), guarded.data(), size) == 0, "expanding twice gives the same");
    *isGood = status == 0;
    return *isGood ? std::string(exact.get(), size) : "";
}

void ExpandHostile(Input& input, const std::string& data) {
    const std::size_t size = input.OneIn(4) ? input.Short() & 0xFF00U : input.Short();
    bool isGood = false;
    const std::string expanded = Expand(data, size, &isGood);
    if (isGood) {
        (void)Expand(data, size + 1, &isGood);
        Check(!isGood, "data expands to one length alone");
    }
}

// Negative lengths and null buffers.
void RefuseSenseless(Input& input) {
    char byte = kGuardByte;
    const int senseless = input.OneIn(2) ? INT_MIN : -1 - input.Below(256);
    Check(CrushExpand(&byte, &byte, senseless, 1) == -1 && CrushExpand(&byte, &byte, 1, senseless) == -1 &&
              CrushExpand(nullptr, &byte, 1, 1) == -1 && CrushExpand(&byte, nullptr, 1, 1) == -1,
          "senseless arguments are refused by expanding");
    Check(CrushCompress(&byte, &byte, senseless) == -16 && CrushCompress(nullptr, &byte, 100) == -16 &&
              CrushCompress(&byte, nullptr, 100) == -16,
          "senseless arguments are refused by compressing");
    Check(byte == kGuardByte, "what refuses writes nothing");
}

// "" when the source cannot be compressed.
std::string Compress(const std::string& source) {
    const std::size_t room = source.size() > kFramingSize ? source.size() - kFramingSize - 1 : 0;
    const auto exactSource = ExactCopy(source);
    std::string guarded(room + kGuard, kGuardByte);
    Check(CrushBegin() == 0, "a pass can begin");
    const int size = CrushCompress(exactSource.get(), guarded.data(), static_cast<int>(source.size()));
    CrushEnd();
    Check(size == kNotSmaller || (size > 0 && static_cast<std::size_t>(size) <= room),
          "compressed data is smaller by its framing at least");
    Check(guarded.find_first_not_of(kGuardByte, room) == std::string::npos, "compressing stays within its room");

    const auto exact = std::make_unique<char[]>(room);
    const int again = CrushCompress(exactSource.get(), exact.get(), static_cast<int>(source.size()));
    Check(again == size && (size < 0 || std::memcmp(exact.get(), guarded.data(), static_cast<std::size_t>(size)) == 0),
          "compressing twice gives the same");
    return size < 0 ? "" : guarded.substr(0, static_cast<std::size_t>(size));
}

// Compresses and expands; returns the compressed data, or "".
std::string RoundTrip(const std::string& source) {
    std::string data = Compress(source);
    if (data.empty()) {
        return "";
    }
    bool isGood = false;
    Check(Expand(data, source.size(), &isGood) == source && isGood, "what was compressed expands to what it was");
    (void)Expand(data, source.size() - 1, &isGood);
    Check(!isGood, "a length too small is refused");
    (void)Expand(data.substr(0, data.size() - 1), source.size(), &isGood);
    Check(!isGood, "data cut short is refused");
    (void)Expand(data + '\0', source.size(), &isGood);
    Check(!isGood, "data with more after it is refused");
    return data;
}

void ExpandPayload(unsigned char flags, const std::string& payload) {
    const auto exact = ExactCopy(payload);
    const auto destination = std::make_unique<char[]>(kZELMaxPayload);
    short length = -7;
    const int result =
        zelExpandPayload(flags, exact.get(), static_cast<short>(payload.size()), destination.get(), &length);
    Check(result == 0 || result == -1, "expanding a payload returns 0 or -1");
    Check(result == -1 || (length >= 0 && length <= kZELMaxPayload), "an expanded payload fits its buffer");
}

void RoundTripPayload(unsigned char flags, const std::string& source) {
    const auto exact = ExactCopy(source);
    const auto destination = std::make_unique<char[]>(kZELMaxPayload);
    short length = -7;
    const int result =
        zelCompressPayload(flags, exact.get(), static_cast<short>(source.size()), destination.get(), &length);
    if (source.size() > kZELMaxPayload) {
        Check(result == -1 && length == -7 && destination[0] == '\0', "an overlong payload is refused untouched");
        return;
    }
    const std::string sent(destination.get(), static_cast<std::size_t>(length));
    if (result == -1 || !IsCompressed(flags)) {
        Check(sent == source && (result == 0) == !IsCompressed(flags), "what is not compressed goes out plain");
        return;
    }
    Check(sent.size() < source.size(), "a compressed payload is smaller");
    const auto exactSent = ExactCopy(sent);
    short expanded = -7;
    Check(zelExpandPayload(flags, exactSent.get(), length, destination.get(), &expanded) == 0 &&
              source == std::string(destination.get(), static_cast<std::size_t>(expanded)),
          "a compressed payload expands to what it was");
}

// The data after two lengths that may be wrong.
std::string HostilePayload(Input& input, const std::string& data) {
    const std::uint32_t expanded = input.OneIn(4) ? input.Long() : input.Short() % 16384U;
    const bool lies = input.OneIn(4);
    const std::uint32_t compressed = lies ? input.Long() : static_cast<std::uint32_t>(data.size());
    std::string payload(kFramingSize, '\0');
    StoreU32Be(payload.data(), expanded);
    StoreU32Be(payload.data() + 4, compressed);
    payload += data;
    payload.resize(std::min(payload.size(), std::size_t{kMaxCompressedPayload}));
    if (input.OneIn(8)) {
        payload.resize(payload.size() % (2 * kFramingSize));
    }
    return payload;
}

void Step(Input& input) {
    const int choice = input.Below(8);
    if (choice == 0) {
        RefuseSenseless(input);
        return;
    }
    if (choice <= 2) {
        const std::string data = input.Bytes(input.Short() % 2048U);
        choice == 1 ? ExpandHostile(input, data) : ExpandPayload(kPackCompressed, HostilePayload(input, data));
        return;
    }
    std::string source = MakeSource(input);
    if (choice == 3) {
        source.resize(std::min(source.size(), std::size_t{kMaxCompressedPayload}));
        RoundTripPayload(static_cast<unsigned char>(input.OneIn(4) ? input.Byte() : kPackCompressed), source);
        return;
    }
    std::string data = RoundTrip(source);
    if (choice >= 6) {
        Damage(input, data, 0);
        choice == 6 ? ExpandHostile(input, data) : ExpandPayload(kPackCompressed, HostilePayload(input, data));
    }
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input input(data, size);
    for (int step = 0; step < zel::fuzz::kMostSteps && !input.IsEmpty(); ++step) {
        zel::fuzz::Step(input);
    }
    return 0;
}
