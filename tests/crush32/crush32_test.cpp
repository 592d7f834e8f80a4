// The compression library: data survive a round trip, and nothing outside the stated lengths is touched. The fuzz
// target covers damaged data.
#include "crush32/crush32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/cases.h"

namespace {

// The result of one pass over a copy of `source` in `room` bytes. The guard after them catches writes, because the
// sanitizer does not see zlib's.
template <typename Pass>
std::string Run(const std::string& source, std::size_t room, Pass pass) {
    const zel::test::ExactCopy copy(source);
    std::string output(room + 64, 'G');
    EXPECT_EQ(CrushBegin(), 0);
    pass(copy.data.get(), output.data());
    CrushEnd();
    EXPECT_EQ(output.substr(room), std::string(64, 'G'));
    return output.substr(0, room);
}

// Returns "" when the result would not be smaller.
std::string Compress(const std::string& plain) {
    const auto length = static_cast<int>(plain.size());
    const int room = std::max(length - 9, 0);
    int size = 0;
    const std::string packed = Run(plain, static_cast<std::size_t>(room),
                                   [&](const char* from, char* to) { size = CrushCompress(from, to, length); });
    EXPECT_TRUE(size == -14 || (size > 0 && size <= room)) << size;
    return packed.substr(0, static_cast<std::size_t>(std::max(size, 0)));
}

// `packedLength` may leave out the end of `packed`, which must then be ignored. Nothing when refused.
std::optional<std::string> Expand(const std::string& packed, std::size_t packedLength, std::size_t plainLength) {
    int result = 0;
    const std::string plain = Run(packed, plainLength, [&](const char* from, char* to) {
        result = CrushExpand(from, to, static_cast<int>(plainLength), static_cast<int>(packedLength));
    });
    EXPECT_TRUE(result == 0 || result == -1) << result;
    return result == 0 ? std::optional(plain) : std::nullopt;
}

bool ComesBack(const std::string& plain, const std::string& packed) {
    return Expand(packed, packed.size(), plain.size()) == plain;
}

// Repeated field ids, numbers and short texts, as in payloads; or noise.
std::string Payload(std::size_t length, unsigned seed, bool noise = false) {
    std::mt19937 random(seed);
    std::string text;
    while (text.size() < length) {
        const char number[] = {static_cast<char>(random()), static_cast<char>(random())};
        text.append(noise ? "" : "\1\51ORD1000\1\52\1\1", noise ? 0 : 13).append(number, 2);
    }
    return text.substr(0, length);
}

TEST(Crush, RoundTripAtEveryKindOfLength) {
    for (std::size_t length = 0; length <= 32767; length += length < 300 ? 1 : length < 12288 ? 171 : 1861) {
        const auto seed = static_cast<unsigned>(length);
        EXPECT_EQ(Compress(Payload(length, seed, true)), "") << length;
        const std::string half = Payload(length / 2, seed);
        for (const std::string& plain : {half + half, half + Payload(length / 2, seed, true)}) {
            const std::string packed = Compress(plain);
            EXPECT_TRUE(!packed.empty() || length <= 60 || !plain.ends_with(half)) << length;
            EXPECT_TRUE(packed.empty() || ComesBack(plain, packed)) << length;
        }
    }
}

// Short runs of zeros all have the same compressed size, so the first that compresses is the one that saves one byte.
TEST(Crush, OneByteSavedIsEnough) {
    std::string run;
    while (run.size() < 40 && Compress(run).empty()) {
        run += '\0';
    }
    EXPECT_EQ(Compress(run).size() + 9, run.size());
}

TEST(Crush, TheWindowSpansAPayload) {
    const std::string noise = Payload(12288 - 3000, 1, true);
    EXPECT_NE(Compress(noise + noise.substr(0, 3000)), "");
}

// Bytes worked out by hand, valid for every compressor and platform.
TEST(Crush, ExpandsForeignData) {
    for (const zel::test::Cells& row : zel::test::ReadCases("tests/crush32/cases/foreign.txt", 4)) {
        const std::string packed = zel::test::FromHex(row[1]);
        EXPECT_EQ(Expand(packed, packed.size(), row[2].size()).value_or("refused"), row[3]) << row[0];
    }
}

TEST(Crush, WrongLengthsAreRefused) {
    for (const std::string& plain : {std::string(60, 'x'), Payload(400, 7), Payload(3000, 7)}) {
        const std::string packed = Compress(plain);
        for (std::size_t cut = 0; cut < packed.size(); ++cut) {
            EXPECT_FALSE(Expand(packed, cut, plain.size())) << cut;
        }
        for (const std::size_t wrong : {std::size_t{0}, plain.size() - 1, plain.size() + 1, 2 * plain.size()}) {
            EXPECT_FALSE(Expand(packed, packed.size(), wrong)) << wrong;
        }
        EXPECT_TRUE(ComesBack(plain, packed)) << "a bad pass spoilt the next";
    }
}

// More threads than states that the library keeps; then two shut-downs and another pass.
TEST(Crush, ThreadsPassAtTheSameTimeAndAfterShutDown) {
    CrushStartUp();
    std::atomic<int> wrong{0};
    const auto passes = [&wrong](unsigned seed) {
        for (unsigned pass = 0; pass < 200; ++pass) {
            const std::string plain = Payload(200 + pass * 37, seed + pass);
            wrong += ComesBack(plain, Compress(plain)) ? 0 : 1;
        }
    };
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < 12; ++number) {
        threads.emplace_back(passes, number * 1000);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    CrushShutDown();
    CrushShutDown();
    passes(0);
    EXPECT_EQ(wrong, 0);
}

}  // namespace
