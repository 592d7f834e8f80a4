// The compression library: what comes out is what went in, nothing outside the stated lengths is touched, and no data
// however damaged does harm.
#include "crush32/crush32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Outcome {
    int result;
    std::string bytes;
};

// One pass over a copy of `source` into `room` bytes; the guard behind them catches writes of code that the sanitizer
// does not watch.
template <typename Pass>
Outcome Run(const std::string& source, std::size_t room, Pass pass) {
    const std::vector<char> copy(source.begin(), source.end());
    std::string output(room + 64, 'G');
    EXPECT_EQ(CrushBegin(), 0);
    const int result = pass(copy.empty() ? "" : copy.data(), output.data());
    CrushEnd();
    EXPECT_EQ(output.substr(room), std::string(64, 'G'));
    return {result, output.substr(0, room)};
}

Outcome Compress(const std::string& plain) {
    const std::size_t length = plain.size();
    Outcome packed = Run(plain, length > 9 ? length - 9 : 0,
                         [=](const char* from, char* to) { return CrushCompress(from, to, static_cast<int>(length)); });
    packed.bytes.resize(static_cast<std::size_t>(std::max(packed.result, 0)));
    return packed;
}

// `packedLength` may leave out the end of `packed`, which then must not count.
Outcome Expand(const std::string& packed, std::size_t packedLength, std::size_t plainLength) {
    return Run(packed, plainLength, [=](const char* from, char* to) {
        return int{CrushExpand(from, to, static_cast<int>(plainLength), static_cast<int>(packedLength))};
    });
}

bool ComesBack(const std::string& plain, const std::string& packed) {
    const Outcome back = Expand(packed, packed.size(), plain.size());
    return back.result == 0 && back.bytes == plain;
}

// Field ids, numbers and short texts over and over, as payloads have them, or noise.
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
        EXPECT_EQ(Compress(Payload(length, seed, true)).result, -14) << length;
        const std::string half = Payload(length / 2, seed);
        for (const std::string& plain : {half + half, half + Payload(length / 2, seed, true)}) {
            const Outcome packed = Compress(plain);
            const bool expected = length > 60 && plain.ends_with(half);
            EXPECT_TRUE(packed.result > 0 || (packed.result == -14 && !expected)) << length;
            EXPECT_TRUE(packed.result < 0 || ComesBack(plain, packed.bytes)) << length;
        }
    }
}

// Short runs of zeros all have the same compressed size, so the first that compresses is the one that saves one byte.
TEST(Crush, OneByteSavedIsEnough) {
    std::string run;
    while (run.size() < 40 && Compress(run).result == -14) {
        run += '\0';
    }
    EXPECT_EQ(Compress(run).bytes.size() + 9, run.size());
}

TEST(Crush, ArgumentsThatCannotBe) {
    char text[64] = {};
    EXPECT_EQ(CrushCompress(nullptr, text, 64), -16);
    EXPECT_EQ(CrushCompress(text, nullptr, 64), -16);
    EXPECT_EQ(CrushCompress(text, text, -1), -16);
    EXPECT_EQ(CrushExpand(nullptr, text, 1, 1), -1);
    EXPECT_EQ(CrushExpand(text, nullptr, 1, 1), -1);
    EXPECT_EQ(CrushExpand(text, text, -1, 1), -1);
    EXPECT_EQ(CrushExpand(text, text, 1, -1), -1);
}

// Bytes worked out by hand: they hold for every compressor and platform.
TEST(Crush, ExpandsForeignData) {
    const struct {
        const char* name;
        std::string packed, plain;
        int result;
    } rows[] = {
        {"stored block", {"\1\5\0\xfa\xffHello", 10}, "Hello", 0},
        {"two blocks", {"\0\2\0\xfd\xffHe\1\3\0\xfc\xffllo", 15}, "Hello", 0},
        {"fixed codes, no content", {"\3\0", 2}, "", 0},
        {"fixed codes, one letter", {"\x4b\4\0", 3}, "a", 0},
        {"no last block", {"\0\5\0\xfa\xffHello", 10}, "Hello", -1},
        {"length without its complement", {"\1\5\0\xfb\xffHello", 10}, "Hello", -1},
        {"no such kind of block", {"\7\0\0\0", 4}, "Hello", -1},
        {"garbage behind the end", {"\1\5\0\xfa\xffHello\0", 11}, "Hello", -1},
        {"nothing", "", "", -1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Expand(row.packed, row.packed.size(), row.plain.size()).result, row.result) << row.name;
        EXPECT_EQ(ComesBack(row.plain, row.packed), row.result == 0) << row.name;
    }
}

TEST(Crush, DamagedDataIsHarmlessAndWrongLengthsAreRefused) {
    for (const std::string& plain : {std::string(60, 'x'), Payload(400, 7), Payload(3000, 7)}) {
        const std::string packed = Compress(plain).bytes;
        for (std::size_t cut = 0; cut < packed.size(); ++cut) {
            EXPECT_EQ(Expand(packed, cut, plain.size()).result, -1) << cut;
        }
        for (const std::size_t wrong : {std::size_t{0}, plain.size() - 1, plain.size() + 1, 2 * plain.size()}) {
            EXPECT_EQ(Expand(packed, packed.size(), wrong).result, -1) << wrong;
        }
        for (std::size_t at = 0; at < packed.size(); ++at) {
            for (int flip = 1; flip < 256; flip += plain.size() < 3000 ? 1 : 37) {
                std::string damaged = packed;
                damaged[at] = static_cast<char>(damaged[at] ^ flip);
                EXPECT_GE(0, Expand(damaged, damaged.size(), plain.size()).result) << at;
            }
        }
        EXPECT_TRUE(ComesBack(plain, packed)) << "a bad pass spoilt the next";
    }
    for (unsigned seed = 0; seed < 5000; ++seed) {
        Expand(Payload(seed % 200, seed, true), seed % 200, 500);
    }
}

// More threads than the library keeps working memory for; then shut-down, twice, and another pass.
TEST(Crush, ThreadsPassAtTheSameTimeAndAfterShutDown) {
    CrushStartUp();
    std::atomic<int> wrong{0};
    const auto passes = [&wrong](unsigned seed) {
        for (unsigned pass = 0; pass < 200; ++pass) {
            const std::string plain = Payload(200 + pass * 37, seed + pass);
            wrong += ComesBack(plain, Compress(plain).bytes) ? 0 : 1;
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
