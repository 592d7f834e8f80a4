// The compression library: data survive a round trip at any length. The fuzz target covers damaged data, wrong
// lengths, and bounds.
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

// "" when the result would not be smaller.
std::string Compress(const std::string& plain) {
    std::string packed(plain.size(), '\0');
    EXPECT_EQ(CrushBegin(), 0);
    const int size = CrushCompress(plain.data(), packed.data(), static_cast<int>(plain.size()));
    CrushEnd();
    return packed.substr(0, static_cast<std::size_t>(std::max(size, 0)));
}

// Nothing when refused.
std::optional<std::string> Expand(const std::string& packed, std::size_t length) {
    std::string plain(length, '\0');
    EXPECT_EQ(CrushBegin(), 0);
    const int result =
        CrushExpand(packed.data(), plain.data(), static_cast<int>(length), static_cast<int>(packed.size()));
    CrushEnd();
    return result == 0 ? std::optional(plain) : std::nullopt;
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
        EXPECT_EQ(Expand(packed, row[2].size()).value_or("refused"), row[3]) << row[0];
    }
}

// More threads than states that the library keeps; then two shut-downs and another pass.
TEST(Crush, ThreadsPassAtTheSameTimeAndAfterShutDown) {
    CrushStartUp();
    std::atomic<int> wrong{0};
    const auto passes = [&wrong](unsigned seed) {
        for (unsigned pass = 0; pass < 60; ++pass) {
            const std::string plain = Payload(60 + pass * 546, seed + pass);
            wrong += Expand(Compress(plain), plain.size()) == plain ? 0 : 1;
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
