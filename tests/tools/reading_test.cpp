// What the verbs read and write their bytes with: captures in pieces of any size, files that grow, numbers as text.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/random_message.h"
#include "tests/support/work_folder.h"
#include "tools/capture/frame_reader.h"
#include "tools/io/byte_input.h"
#include "tools/io/line_reader.h"
#include "tools/io/progress.h"
#include "tools/message/library_reports.h"
#include "tools/text/complaint.h"
#include "tools/text/hex_dump.h"
#include "tools/text/json_text.h"
#include "tools/text/value_json.h"
#include "tools/text/value_text.h"

namespace zel::tools {
namespace {

// The bytes in pieces of at most `piece`.
ByteInput Pieces(std::string bytes, std::size_t piece) {
    return [bytes = std::move(bytes), piece, at = std::size_t{0}](char* to, std::size_t size) mutable {
        const std::size_t count = std::min({piece, size, bytes.size() - at});
        bytes.copy(to, count, at);
        at += count;
        return count;
    };
}

std::string FrameOf(std::size_t size, char fill) {
    std::string frame = test::FromHex("01 30");
    for (unsigned shift = 0; shift < 32; shift += 8) {
        frame += static_cast<char>(size >> shift);
    }
    return frame + std::string(size, fill);
}

// More than the buffer holds, up to the longest frame and one that is longer.
TEST(Frames, AreTheSameInPiecesOfAnySize) {
    std::string capture;
    for (int i = 0; i < 40; ++i) {
        capture += FrameOf(static_cast<std::size_t>(i) * 1990, static_cast<char>('a' + i % 26));
    }
    capture += FrameOf(kLongestMessage, '+');
    const std::size_t good = capture.size();
    capture += FrameOf(kLongestMessage + 1, '-');
    for (const std::size_t piece : {std::size_t{7}, std::size_t{4096}, capture.size()}) {
        FrameReader reader(Pieces(capture, piece));
        std::string read;
        Frame frame{};
        std::string fault;
        for (int i = 0; i < 41; ++i) {
            ASSERT_EQ(reader.Next(frame, fault), FrameState::kFrame) << fault;
            EXPECT_EQ(frame.offset, read.size());
            read.append(frame.bytes, frame.size);
        }
        EXPECT_TRUE(capture.substr(0, good) == read);
        EXPECT_EQ(reader.Next(frame, fault), FrameState::kLost);
        EXPECT_EQ(frame.number, 42U);
        EXPECT_FALSE(reader.Resynchronise());
        EXPECT_EQ(reader.offset(), capture.size());
    }
}

struct Layout {
    const char* name;
    const char* offset;
    unsigned long base;  // of the first byte
    std::size_t perLine;
    std::size_t group;
    const char* digits;
    const char* between;
    const char* column[2];  // what stands before and after the text; none: there is no text
    char blank;             // what the text shows for one
    const char* end;
};

// The column of text; nothing where there is none.
std::string TextOf(const std::string& bytes, const Layout& layout) {
    if (*layout.column[0] == '\0') {
        return "";
    }
    std::string text = layout.column[0];
    for (const char c : bytes) {
        text += c == ' ' ? layout.blank : c > ' ' && c <= '~' ? c : '.';
    }
    return text + layout.column[1];
}

std::string DumpOf(const std::string& bytes, const Layout& layout) {
    std::array<char, 64> text;
    const auto print = [&text](const char* format, std::size_t number) {
        (void)std::snprintf(text.data(), text.size(), format, static_cast<unsigned long>(number));
        return std::string(text.data());
    };
    std::string dump;
    for (std::size_t at = 0; at < bytes.size(); at += layout.perLine) {
        dump += print(layout.offset, layout.base + at);
        for (std::size_t i = 0; i < layout.perLine; ++i) {
            dump += i != 0 && i % layout.group == 0 ? layout.between : "";
            dump += i == 8 && *layout.column[1] == '|' ? " " : "";
            const bool isThere = at + i < bytes.size();
            const std::string pair = print(layout.digits, isThere ? static_cast<unsigned char>(bytes[at + i]) : 0);
            dump += isThere ? pair : *layout.column[0] == '\0' ? "" : std::string(pair.size(), ' ');
        }
        dump += TextOf(bytes.substr(at, layout.perLine), layout) + '\n';
    }
    return dump + print(layout.end, bytes.size());
}

std::string ReadHex(const std::string& text, std::string& complaints) {
    const ByteInput input =
        HexInput(Pieces(text, 100), [&complaints](const std::string& complaint) { complaints += complaint + '\n'; });
    std::string bytes(4096, ' ');
    std::size_t size = 0;
    for (std::size_t count = 1; count != 0; size += count) {
        count = input(bytes.data() + size, bytes.size() - size);
    }
    return bytes.substr(0, size);
}

TEST(HexText, IsReadInEveryLayout) {
    constexpr Layout kLayouts[] = {
        {"xxd", "%08lx: ", 0, 16, 2, "%02lx", " ", {"  ", ""}, ' ', ""},
        {"xxd -g1 -c4", "%08lx: ", 0, 4, 1, "%02lX", " ", {"  ", ""}, ' ', ""},
        {"xxd -s 70 -c7", "%08lx: ", 70, 7, 2, "%02lX", " ", {"  ", ""}, ' ', ""},
        {"xxd -p", "", 0, 30, 30, "%02lx", "", {"", ""}, ' ', ""},
        {"xxd -p -c16", "", 0, 16, 16, "%02lx", "", {"", ""}, ' ', ""},
        {"xxd -p -c4", "", 0, 4, 4, "%02lx", "", {"", ""}, ' ', ""},
        {"xxd -p -c3", "", 0, 3, 3, "%02lx", "", {"", ""}, ' ', ""},
        {"groups of 4", "", 0, 16, 4, "%02lx", " ", {"", ""}, ' ', ""},
        {"od -An -tx1", " ", 0, 16, 1, "%02lx", " ", {"", ""}, ' ', ""},
        {"od -Ax -tx1", "%06lx ", 0, 16, 1, "%02lx", " ", {"", ""}, ' ', "%06lx\n"},
        {"od -Ad -tx1z", "%07lu ", 0, 16, 1, "%02lx", " ", {"  >", "<"}, ' ', "%07lu\n"},
        {"od -tx1", "%07lo ", 0, 16, 1, "%02lx", " ", {"", ""}, ' ', "%07lo"},
        {"hexdump -C", "%08lx  ", 0, 16, 1, "%02lx", " ", {"  |", "|"}, ' ', "%08lx\n"},
        {"tshark -x", "%04lx  ", 0, 16, 1, "%02lx", " ", {"   ", ""}, ' ', ""},
        {"tcpdump -X", "\t0x%04lx:  ", 0, 16, 2, "%02lx", " ", {"  ", ""}, '.', ""},
        {"gdb x/8xb", "0x%lx <buffer+8>:\t", 0x7ffe4020, 8, 1, "0x%02lx", "\t", {"", ""}, ' ', ""},
        {"words with offsets", "%08lx ", 0, 16, 4, "%02lx", " ", {"", ""}, ' ', ""},
    };
    constexpr char kLikely[] = {0, 0, 0, 1, ' ', '|', '0', '1', 'a', 'b', '.', '<', '\n', '\xfc'};
    test::Random random(5);
    for (int run = 0; run < 100; ++run) {
        std::string bytes = "\x01";  // as captures begin
        for (std::size_t size = 17 + random() % 80; bytes.size() < size;) {
            bytes += random() % 4 == 0 ? static_cast<char>(random()) : kLikely[random() % sizeof kLikely];
        }
        for (const Layout& layout : kLayouts) {
            const std::string dump = DumpOf(bytes, layout);
            std::string complaints;
            ASSERT_EQ(test::ToHex(ReadHex(dump, complaints)), test::ToHex(bytes)) << layout.name << '\n' << dump;
            ASSERT_EQ(complaints, "") << layout.name << '\n' << dump;
        }
    }
}

TEST(HexText, LosesNothingSilently) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/hex_lines.txt", 3)) {
        std::string text = row[0];
        std::replace(text.begin(), text.end(), ';', '\n');
        std::string complaints;
        EXPECT_EQ(test::ToHex(ReadHex(text, complaints)), row[1]) << row[0];
        EXPECT_EQ(complaints, row[2].empty() ? "" : row[2] + '\n') << row[0];
    }
}

TEST(Lines, AreTheSameInPiecesOfAnySize) {
    const std::string longLine(LineReader::kLongestLine + 1, 'x');
    for (const std::size_t piece : {1UL, 3UL, 100000UL}) {
        LineReader reader(Pieces("one\n\nthree\r\nlast", piece));
        Line line{};
        std::string read;
        while (reader.Next(line)) {
            read += std::to_string(line.number) + '@' + std::to_string(line.offset) + line.text + ' ';
        }
        EXPECT_EQ(read, "1@0one 2@4 3@5three\r 4@12last ");
    }
    LineReader reader(Pieces(longLine + "\nnext", 100000));
    Line line{};
    ASSERT_TRUE(reader.Next(line));
    EXPECT_TRUE(line.isCut);
    ASSERT_TRUE(reader.Next(line));
    EXPECT_EQ(line.text, "next");
    EXPECT_FALSE(line.isCut);
}

TEST(FollowedFile, IsReadAsItGrows) {
    const test::WorkFolder folder;
    const std::string path = "growing.zel";
    const std::string bytes = FrameOf(10, 'a') + FrameOf(20, 'b');
    test::WriteFile(path, bytes.substr(0, 5));
    InputFile file(path);
    std::size_t written = 5;
    FrameReader reader(FollowedInput(file, [&] {
        std::ofstream(path, std::ios::binary | std::ios::app) << bytes.substr(std::min(written, bytes.size()), 3);
        written += 3;
        return written < bytes.size() + 6;
    }));
    Frame frame{};
    std::string fault;
    EXPECT_EQ(reader.Next(frame, fault), FrameState::kFrame);
    EXPECT_EQ(reader.Next(frame, fault), FrameState::kFrame);
    EXPECT_EQ(std::string(frame.bytes, frame.size), FrameOf(20, 'b'));
    EXPECT_EQ(reader.Next(frame, fault), FrameState::kEnd);

    std::filesystem::resize_file(path, 3);
    char next = 0;
    InputFile again(path);
    ByteInput cut = FollowedInput(again, [&] {
        std::filesystem::resize_file(path, 0);
        return true;
    });
    EXPECT_EQ(cut(&next, 1) + cut(&next, 1) + cut(&next, 1), 3U);
    EXPECT_THROW(cut(&next, 1), InputError);
}

template <typename Bits>
void ExpectSame(Bits bits, void (*append)(std::string&, Bits), ZELFieldType type) {
    std::string json;
    append(json, bits);
    Findings findings;
    const JsonDocument document = ParseJson(json, findings);
    const std::string read = ReadValueJson(document.root(), {type, sizeof bits}, Reading::kStrict);
    ASSERT_EQ(ValueAt<Bits>(read.data()), bits) << json;
}

TEST(Reals, ComeBackBitForBit) {
    const auto single = [](std::uint32_t bits) { ExpectSame(bits, AppendFloat, kZELFloat); };
    const auto wide = [](std::uint64_t bits) { ExpectSame(bits, AppendDouble, kZELDouble); };
    for (const double edge : {0.0, -0.0, 5e-324, 2.2250738585072014e-308, 1e22, 1e23, HUGE_VAL, -HUGE_VAL}) {
        wide(std::bit_cast<std::uint64_t>(edge));
        single(std::bit_cast<std::uint32_t>(static_cast<float>(edge)));
    }
    // NaNs of every kind.
    for (unsigned bit = 0; bit < 23; ++bit) {
        single(0x7F800000U | 1U << bit);
        single(0xFF800000U | 1U << bit);
        wide(0x7FF0000000000000U | std::uint64_t{1} << bit * 2);
    }
}

// Lenient and strict reading: no other forms; and nothing that no calendar has.
TEST(DatesAndTimes, OfOtherFormsAreRefused) {
    _datetime value{};
    for (const char* text : {"1999-11-30T", "1999-11-3", "1899-01-01", "2156-01-01", "1999-1-01", "T09:05:07",
                             "25:00:00", "09:60:00", "09:05", "1999-11-30 09:05:07Z", "19991130", " "}) {
        EXPECT_STREQ(ReadDateTimeText(text, Reading::kLenient, value), "is no date or time") << text;
    }
    const std::pair<const char*, const char*> strict[] = {{"2024-02-29", nullptr},
                                                          {"1900-02-29", "is no day of the calendar"},
                                                          {"2024-04-31", "is no day of the calendar"},
                                                          {"2024-11-00", "is no day of the calendar"},
                                                          {"24:00:00", nullptr},
                                                          {"2024-11-01T24:00:01", "is no time of a day"}};
    for (const auto& [text, fault] : strict) {
        EXPECT_EQ(ReadDateTimeText(text, Reading::kLenient, value), nullptr) << text;
        EXPECT_STREQ(ReadDateTimeText(text, Reading::kStrict, value), fault) << text;
        std::string written;
        EXPECT_EQ(AppendDateTimeText(written, value), fault == nullptr) << text;
    }
}

TEST(Amounts, MeanWhatTheirTextSays) {
    _money money{};
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/amounts.txt", 2)) {
        const char* const fault = ReadMoneyText(row[0], Reading::kStrict, money);
        EXPECT_STREQ(fault != nullptr ? fault : "", row[1].c_str()) << row[0];
    }
    // What is written is read.
    test::Random random(7);
    for (int code = 0; code <= INT16_MAX; ++code) {
        for (const ZELLong amount :
             {0, 1, -1, 99, 19999999, -20000001, INT32_MAX, INT32_MIN, static_cast<int>(random())}) {
            const _money given{amount, static_cast<short>(code)};
            std::string text;
            if (AppendMoneyText(text, given)) {
                EXPECT_EQ(ReadMoneyText(text, Reading::kStrict, money), nullptr) << amount << ' ' << code << text;
                EXPECT_EQ(money.amount, amount) << text;
            }
        }
    }
}

TEST(Utf8, IsToldFromOtherBytes) {
    for (const char* text :
         {"plain", "\xc3\x86", "\xe2\x82\xac", "\xf0\x9d\x84\x9e", "\xf4\x8f\xbf\xbf", "\xed\x9f\xbf"}) {
        EXPECT_TRUE(IsUtf8(text)) << text;
    }
    for (const char* text : {"\x80", "\xc3", "\xc0\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf",
                             "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "a\xe2\x82z", "\xff"}) {
        EXPECT_FALSE(IsUtf8(text)) << text;
    }
}

TEST(Complaints, EscapeWhatTerminalsObey) {
    EXPECT_EQ(Printable("a\xff\x1b\u009b\u202e\n\u20ac\U0001d11e"),
              "a\\xff\\u001b\\u009b\\u202e\\u000a\u20ac\U0001d11e");
}

TEST(Reports, NameTheirField) {
    EXPECT_EQ(FieldInReport("FieldId[12]"), 12);
    EXPECT_EQ(FieldInReport("Field Received[65535] is not in the list of fields"), 65535);
    EXPECT_EQ(FieldInReport("Manadatory field(12) not in the list."), 12);
    EXPECT_EQ(FieldInReport("Invalid Field[7], FieldType[99] received"), 7);
    EXPECT_EQ(FieldInReport("Invalid Field Type[12] received"), std::nullopt);
    EXPECT_EQ(FieldInReport("ZEL_HDR_MSGID"), std::nullopt);
}

TEST(ProgressBar, ShowsHowFarTheWorkIs) {
    EXPECT_EQ(ProgressLine(50000000, 200000000, 41), "[#####               ]  25%  50 of 200 MB");
    EXPECT_EQ(ProgressLine(300, 200, 79), "[####################] 100%  0 of 0 MB");
    EXPECT_EQ(ProgressLine(50000000, 200000000, 39), " 25%");
    EXPECT_EQ(ProgressLine(5000000, 0, 79), "5 MB");
}

}  // namespace
}  // namespace zel::tools
