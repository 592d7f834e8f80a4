#include "core/wire/compression.h"

#include <gtest/gtest.h>

#include <tuple>

#include "core/wire/transform.h"
#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_crush.h"

namespace zel::test {
namespace {

constexpr short kUntouched = 12288;

class Compression : public testing::Test {
protected:
    void SetUp() override { UseFakeCrush(&crush_); }
    void TearDown() override { UseFakeCrush(nullptr); }

    int Compress(unsigned char packFlags, const std::string& source) {
        return zelCompressPayload(packFlags, source.data(), static_cast<short>(source.size()), out_.data.get(),
                                  &length_);
    }
    int Expand(unsigned char packFlags, const std::string& source) {
        const ExactCopy exact(source);
        return zelExpandPayload(packFlags, exact.data.get(), static_cast<short>(exact.size), out_.data.get(), &length_);
    }
    std::string Output() const { return {out_.data.get(), static_cast<std::size_t>(length_)}; }

    FakeCrush crush_;
    ExactCopy out_{std::string(kZELMaxPayload, '?')};
    short length_ = kUntouched;
};

TEST_F(Compression, CopiesUncompressedPayloads) {
    constexpr unsigned char kNotCompressed[] = {0, 1, 8, 9, 12, 13};
    for (const unsigned char flags : kNotCompressed) {
        EXPECT_EQ(Compress(flags, "plain"), 0);
        EXPECT_EQ(Output(), "plain");
        EXPECT_EQ(Expand(flags, "as it is"), 0);
        EXPECT_EQ(Output(), "as it is");
    }
    EXPECT_EQ(crush_.begins, 0);
    constexpr std::size_t kSizes[] = {kZELMaxPayload, kZELMaxPayload + 1, 40000};
    for (const std::size_t size : kSizes) {
        EXPECT_EQ(Compress(8, std::string(size, 'x')), size == kZELMaxPayload ? 0 : -1);
        EXPECT_EQ(Expand(8, std::string(size, 'x')), size == kZELMaxPayload ? 0 : -1);
    }
}

TEST_F(Compression, FramesTheData) {
    const std::string source(5000, 'x');
    ASSERT_EQ(Compress(5, source), 0);
    const std::string framed = Output();
    EXPECT_EQ(ToHex(framed.substr(0, 4)), "00 00 13 88");
    EXPECT_EQ(static_cast<unsigned char>(framed[7]), framed.size() - 8);
    EXPECT_EQ(Expand(5, framed), 0);
    EXPECT_EQ(Output(), source);
    EXPECT_EQ(std::tuple(crush_.begins, crush_.ends), std::tuple(2, 2));
    for (std::size_t size = 0; size < framed.size(); ++size) {
        EXPECT_EQ(Expand(4, framed.substr(0, size)), -1) << size;
    }
    EXPECT_EQ(crush_.begins, crush_.ends);
    // Lengths that do not fit are refused before the compression library is called.
    crush_.expansions = 0;
    for (const char* lengths : {"00 00 30 01 00 00 00 08", "FF FF FF FF 00 00 00 08", "00 00 00 01 FF FF FF FF",
                                "00 00 00 01 80 00 00 00", "00 00 00 01 00 00 13 81"}) {
        EXPECT_EQ(Expand(4, FromHex(lengths) + std::string(4992, 'x')), -1) << lengths;
    }
    EXPECT_EQ(crush_.expansions, 0);
}

TEST_F(Compression, TakesEveryResultButTwoAsASize) {
    const std::tuple<short, int, bool> rows[] = {{0, -14, true},  {0, -16, true},  {1, 7, true},  {0, -1, false},
                                                 {0, -13, false}, {0, -15, false}, {0, 0, false}, {0, 7, false}};
    for (const auto& [begin, crushed, isPlain] : rows) {
        crush_ = {begin, crushed, {}};
        EXPECT_EQ(Compress(4, "payload"), isPlain ? -1 : 0) << crushed;
        EXPECT_EQ(length_, isPlain ? 7 : crushed + 8);
        EXPECT_EQ(out_.data[7], isPlain ? out_.data[7] : static_cast<char>(crushed));
        EXPECT_EQ(isPlain ? Output() : "payload", "payload");
        EXPECT_EQ(crush_.ends, begin == 0 ? 1 : 0) << "a pass that did not begin is not ended";
    }
}

TEST_F(Compression, FailedExpansionsLeaveTheLength) {
    std::string framed = FromHex("00 00 00 04 00 00 00 02") + "xx";
    crush_.expandStatus = short{3};
    EXPECT_EQ(Expand(4, framed), -1);
    EXPECT_EQ(crush_.ends, 1);
    crush_.beginStatus = 1;
    EXPECT_EQ(Expand(4, framed), -1);
    EXPECT_EQ(crush_.ends, 1);
    EXPECT_EQ(length_, kUntouched);
    EXPECT_EQ(out_.data[0], '?');
    crush_.beginStatus = 0;
    crush_.expandStatus = short{0};
    EXPECT_EQ(Expand(4, framed), 0);
    EXPECT_EQ(length_, 4) << "the stated length, not the source's";
}

TEST(Transform, CopiesUpToAWholePayload) {
    const std::string in(kZELMaxPayload, 'x');
    const ExactCopy out(std::string(kZELMaxPayload, '?'));
    short length = 7;
    EXPECT_EQ(ZELEncryptData(1, in.data(), -1, out.data.get(), &length), -1);
    EXPECT_EQ(ZELEncryptData(1, in.data(), kZELMaxPayload + 1, out.data.get(), &length), -1);
    EXPECT_EQ(length, 7);
    EXPECT_EQ(ZELEncryptData(1, in.data(), kZELMaxPayload, out.data.get(), &length), 0);
    EXPECT_EQ(std::tuple(length, std::string(out.data.get(), out.size)), std::tuple(kZELMaxPayload, in));
}

}  // namespace
}  // namespace zel::test
