// The verbs `zel decode` and `zel encode`: what they write, what they say of what is wrong, and that the one undoes the
// other.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/random_message.h"
#include "tests/support/work_folder.h"
#include "tests/tools/run_command.h"
#include "tools/verbs/help_text.h"

namespace zel::tools {
namespace {

namespace fs = std::filesystem;

using test::ReadFile;
using test::SourcePath;
using test::WriteFile;

// In a folder of its own, with the sample orders and the capture made of them.
class Messages : public testing::Test {
protected:
    void SetUp() override { WriteFile("orders.zel", Encoded("orders.jsonl")); }

    // The bytes of messages. As hex text, because captured output is not kept byte for byte everywhere.
    static std::string Encoded(const std::string& path) { return test::FromHex(RunZel("encode --hex " + path).out); }

    static std::string Golden(const std::string& name) { return ReadFile(SourcePath("tests/tools/golden/" + name)); }

    // Writes b.zel: these of the sample orders, counted from 1, with `from` replaced by `to`.
    static void WriteOthers(const std::string& numbers, const std::string& from, const std::string& to) {
        const std::vector<std::string> orders = Lines(ReadFile("orders.jsonl"));
        std::istringstream list(numbers);
        std::string text;
        for (std::size_t number = 0; list >> number;) {
            text += orders.at(number - 1) + '\n';
        }
        if (!from.empty()) {
            text.replace(text.find(from), from.size(), to);
        }
        WriteFile("b.jsonl", text);
        WriteFile("b.zel", Encoded("b.jsonl"));
    }

    test::WorkFolder folder_{"examples/orders.jsonl", "zeldata/sample.json", "tests/tools/cases/odd_names.json"};
};

TEST_F(Messages, AreShownAsTheGoldenFilesSay) {
    std::string damaged = ReadFile("orders.zel");
    damaged[247 + 4 + 1] = 9;
    WriteFile("damaged.zel", damaged);
    WriteFile("unframed.bin", damaged.substr(6, 247 - 6));
    WriteFile("odd.zel", Encoded(SourcePath("tests/tools/cases/odd.jsonl")));
    WriteFile("orders.txt", RunZel("encode --hex orders.jsonl").out);
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/golden.txt", 4)) {
        const Outcome outcome = RunZel(row[0]);
        EXPECT_EQ(outcome.status, std::stoi(row[1])) << row[0];
        EXPECT_EQ(outcome.out, Golden(row[2])) << row[0];
        EXPECT_EQ(outcome.err, row[3].empty() ? "" : row[3] + '\n') << row[0];
    }
}

TEST_F(Messages, StreamsAreListedBelowTheirField) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/streams.txt", 3)) {
        std::string hex = row[0];
        std::erase(hex, ' ');
        WriteFile("query.jsonl",
                  R"({"name":"ORDER_QUERY","fields":{"QUERY_REF":"Q","FILTER_STREAM":")" + hex + "\"}}\n");
        WriteFile("query.zel", Encoded("query.jsonl"));
        std::istringstream lines(RunZel("decode --streams FILTER_STREAM query.zel").out);
        std::string listed;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("         ")) {
                listed += (listed.empty() ? "" : "; ") + line.substr(line.find_first_not_of(' '));
            }
        }
        EXPECT_EQ(listed, row[1]) << row[0];
        EXPECT_EQ(RunZel("value stream " + hex).out, row[2].empty() ? "" : row[2] + '\n') << row[0];
        if (!row[2].empty()) {
            EXPECT_NE(
                RunZel("decode --json --streams FILTER_STREAM query.zel").out.find("FILTER_STREAM\":" + row[2] + '}'),
                std::string::npos)
                << row[0];
            WriteFile("json.jsonl",
                      R"({"name":"ORDER_QUERY","fields":{"QUERY_REF":"Q","FILTER_STREAM":)" + row[2] + "}}\n");
            EXPECT_EQ(Encoded("json.jsonl"), Encoded("query.jsonl")) << row[0];
        }
    }
}

// The hex text with its names put in.
std::string Bytes(std::string text) {
    const std::string header = "00 01 01 00 00 02 00 0A 00 02 00 03 00 01 00 02 00 04 00 07 01 01";
    const std::string good =
        "01 30 2B 00 00 00" + header + "00 05 00 02 00 06 00 00 00 00 00 0B 00 01 41 00 0C 00 02 4F 4B";
    for (const auto& [name, bytes] : {std::pair("GOOD", good), std::pair("HEAD", header)}) {
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name)) {
            text.replace(at, 4, bytes);
        }
    }
    return test::FromHex(text);
}

// The lines of an output that begin so, with ";" between them.
std::string LinesThatBegin(const std::string& output, const std::string& start) {
    std::istringstream lines(output);
    std::string found;
    for (std::string line; std::getline(lines, line);) {
        found += line.starts_with(start) ? (found.empty() ? "" : "; ") + line.substr(start.size()) : "";
    }
    return found;
}

TEST_F(Messages, FaultsOfCapturesAreToldWithTheirPlace) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/bad_captures.txt", 5)) {
        const std::string capture = Bytes(row[1]);
        WriteFile("bad.zel", capture);
        const Outcome outcome = RunZel("decode --json bad.zel" + row[3]);
        EXPECT_EQ(outcome.err, "bad.zel: offset " + row[2] + '\n') << row[0];
        EXPECT_EQ(outcome.status, 1) << row[0];
        // Whatever is good is there.
        EXPECT_EQ(outcome.out.find("\"SYMBOL\":\"OK\"") != std::string::npos, capture.find("OK") != std::string::npos)
            << row[0] << outcome.out;
        EXPECT_EQ(LinesThatBegin(RunZel("decode --annotate bad.zel" + row[3]).out, "> "), row[4]) << row[0];
    }
}

TEST_F(Messages, AreSelectedByTypeAndValues) {
    WriteFile("odd.zel", Encoded(SourcePath("tests/tools/cases/odd.jsonl")));
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/selections.txt", 3)) {
        const Outcome outcome = RunZel("decode " + row[0]);
        EXPECT_EQ(LinesThatBegin(outcome.out, ""), row[1]) << row[0];
        EXPECT_EQ(outcome.err, row[2].empty() ? "" : row[2] + "\nRun with --help for more information.\n") << row[0];
        EXPECT_EQ(outcome.status, row[2].empty() ? 0 : 2) << row[0];
    }
}

TEST_F(Messages, AreComparedWithThoseOfAnotherCapture) {
    std::string damaged = ReadFile("orders.zel");
    damaged[247 + 37] = 9;
    damaged[621 + 38] = 9;
    WriteFile("damaged.zel", damaged);
    WriteFile("unframed.bin", ReadFile("orders.zel").substr(6, 247 - 6));
    WriteFile("orders.txt", RunZel("encode --hex orders.jsonl").out);
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/capture_diffs.txt", 8)) {
        WriteOthers(row[1], row[2], row[3]);
        const Outcome outcome = RunZel("diff " + row[4]);
        EXPECT_EQ(LinesThatBegin(outcome.out, ""), row[6]) << row[0];
        EXPECT_EQ(LinesThatBegin(outcome.err, ""), row[7]) << row[0];
        EXPECT_EQ(outcome.status, std::stoi(row[5])) << row[0];
    }
}

// One byte of every frame at a time, in each way that a length can go wrong: shorter, longer, negative, without end.
TEST_F(Messages, AroundADamagedOneAreReadAfterResynchronising) {
    const std::string orders = ReadFile("orders.zel");
    const std::size_t starts[] = {0, 247, 327, 513, 621, orders.size()};
    std::string capture;
    std::set<std::string> expected;
    for (const int flip : {0x01, 0x06, 0x20, 0x80, 0xFF}) {
        for (std::size_t at = 0; at < orders.size(); ++at) {
            for (int i = 0; i < 5; ++i) {
                expected.insert(std::to_string(capture.size() + starts[i]));
                if (at < starts[i] || at >= starts[i + 1]) {
                    expected.insert(std::to_string(capture.size() + orders.size() + starts[i]));
                }
            }
            capture += orders + orders;
            char& damaged = capture[capture.size() - orders.size() + at];
            damaged = static_cast<char>(static_cast<unsigned char>(damaged) ^ static_cast<unsigned>(flip));
        }
    }
    WriteFile("damaged.zel", capture);
    std::istringstream lines(RunZel("decode --resync --json damaged.zel").out);
    for (std::string line; std::getline(lines, line);) {
        expected.erase(line.substr(10, line.find(',') - 10));
    }
    EXPECT_EQ(expected.size(), 0U) << *expected.begin();
}

TEST_F(Messages, FaultsOfJsonAreToldWithTheirPlace) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/bad_messages.txt", 2)) {
        WriteFile("bad.jsonl", '\n' + row[0] + "\n{\"name\":\"HEARTBEAT\"}\n");
        const Outcome outcome = RunZel("encode --hex bad.jsonl");
        EXPECT_EQ(outcome.err, "bad.jsonl: offset 1, message 1: " + row[1] + '\n') << row[0];
        EXPECT_EQ(outcome.status, 1) << row[0];
        EXPECT_EQ(outcome.out.size(), 38 * 3U) << row[0];
    }
}

// An object over several lines, at whose end or fault a line that begins with a brace begins the next.
TEST_F(Messages, AreReadOverSeveralLines) {
    const std::string beat = "{\n  \"name\": /* a\n comment */\n\n \"HEARTBEAT\"\n}\n";
    const std::string longest(std::size_t{4} << 20U, ' ');
    std::string many;
    for (int i = 0; i < 200000; ++i) {
        many += "{},";
    }
    WriteFile("lines.jsonl", beat + "{\"name\":\n" + beat + "{\"name\":]\n}\n\n" + beat + '{' + longest +
                                 "\n}\n{\"offset\":[" + many + "0],\"name\":\"HEARTBEAT\"}\n{\n");
    const Outcome outcome = RunZel("encode --hex lines.jsonl");
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 4);
    EXPECT_EQ(outcome.err,
              "lines.jsonl: offset 45, message 2: line 1, column 9: the text ends within a value\n"
              "lines.jsonl: offset 99, message 4: line 1, column 9: unexpected ']'; expected a value\n"
              "lines.jsonl: offset 157, message 6: is longer than 4194304 bytes; no message needs so many\n"
              "lines.jsonl: offset 4794499, message 8: line 1, column 2: the text ends within a value\n");
    // Mistyped money is refused, unless it is wanted.
    WriteFile("typed.jsonl",
              R"({"name":"NEW_ORDER","fields":{"SYMBOL":"RYE","LIMIT_PRICE":"12,5","SIDE":1,"QUANTITY":1}})");
    EXPECT_EQ(RunZel("encode --hex --lenient typed.jsonl").err.find("12,5"), std::string::npos);
    EXPECT_NE(RunZel("encode --hex typed.jsonl").err.find("has a comma that does not part"), std::string::npos);
}

// What is sampled can be sent and comes back.
TEST_F(Messages, AreSampled) {
    for (const char* arguments : {"sample --count 500 --seed 5", "sample -d odd_names.json --count 50"}) {
        const std::string dictionary =
            std::string(arguments).find("odd_names") != std::string::npos ? " -d odd_names.json" : "";
        const Outcome sampled = RunZel(arguments);
        EXPECT_EQ(sampled.status, 0) << sampled.err;
        WriteFile("sampled.jsonl", sampled.out);
        const Outcome encoded = RunZel("encode --hex sampled.jsonl" + dictionary);
        WriteFile("sampled.txt", encoded.out);
        const Outcome decoded = RunZel("decode --hex --json sampled.txt" + dictionary);
        EXPECT_EQ(encoded.err + decoded.err, "");
        WriteFile("again.jsonl", decoded.out);
        EXPECT_EQ(RunZel("encode --hex again.jsonl" + dictionary).out, encoded.out);
        EXPECT_EQ(std::count(encoded.out.begin(), encoded.out.end(), '\n'),
                  std::count(sampled.out.begin(), sampled.out.end(), '\n'));
    }
}

// The outputs of docs/tools.md are those of the command.
TEST_F(Messages, AreDocumentedAsTheyAre) {
    std::ifstream page(SourcePath("docs/tools.md"));
    std::string output;
    int lines = 0;
    WriteOthers("1 3 4 5", "101.50", "101.75");
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("$ zel decode ") || line.starts_with("$ zel diff ")) {
            output = RunZel(line.substr(6)).out;
        } else if (line.starts_with("$ echo")) {
            WriteFile("echo.jsonl", line.substr(8, line.find("' |") - 8));
            output = RunZel("encode --hex echo.jsonl").out;
        } else if (line.starts_with("$ ") || line.starts_with("```")) {
            output.clear();
        } else if (!output.empty() && line != "...") {
            EXPECT_NE(output.find(line + '\n'), std::string::npos) << line;
            ++lines;
        }
    }
    EXPECT_EQ(lines, 41);
}

TEST_F(Messages, AnswerDictionaryFaultsWithStatus2) {
    WriteFile("broken.json", "{\"fields\": [], \"messages\": [");
    WriteFile("broken.img", "ZELDATA");
    for (const char* arguments :
         {"decode -d broken.json orders.zel", "encode -d broken.img orders.jsonl", "decode -d missing.img orders.zel",
          "decode missing.zel", "decode .", "decode --json --raw orders.zel", "decode --streams NOPE orders.zel"}) {
        const Outcome outcome = RunZel(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_EQ(outcome.out, "") << arguments;
        EXPECT_NE(outcome.err, "") << arguments;
    }
    // A source serves as well as the image beside the provider, names of messages included, and leaves no image behind.
    const auto images = [] {
        return std::count_if(fs::directory_iterator(fs::temp_directory_path()), {},
                             [](const fs::directory_entry& entry) { return entry.path().extension() == ".img"; });
    };
    const auto before = images();
    EXPECT_EQ(RunZel("decode --json -d sample.json orders.zel").out, RunZel("decode --json orders.zel").out);
    EXPECT_EQ(images(), before);
}

TEST_F(Messages, AreReadFromDumpsAsLogsHaveThem) {
    std::map<std::string, std::string> dumps;
    std::string name;
    std::ifstream file(SourcePath("tests/tools/cases/dumps.txt"));
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("# ")) {
            name = line.substr(2);
            continue;
        }
        dumps[name] += line + '\n';
    }
    ASSERT_GE(dumps.size(), 7U);
    const std::string expected = Golden("dump.jsonl");
    for (const auto& [kind, text] : dumps) {
        WriteFile("dump.txt", text);
        const Outcome outcome = RunZel("decode --json --hex dump.txt");
        EXPECT_EQ(outcome.out, expected) << kind;
        EXPECT_EQ(outcome.err, kind.starts_with("line ") ? "dump.txt: " + kind + '\n' : "");
    }
}

// A message of any format, frame, flags, ids and user data.
std::string RandomMessage(const test::Tables& tables, short type, const ZELSubTypeNode& node, test::Random& random) {
    static std::vector<char> buffer(kZELMaxFrame + 100);
    static char userData[100] = "any bytes \xff";
    const auto format = static_cast<unsigned short>(random() % 3);
    CZELMessage sent(static_cast<short>(format == 1 ? 0 : random() % 16), 0);
    sent.sequence = static_cast<short>(random() % 3 == 0 ? 0 : random());
    test::FillRandomly(sent, tables, type, node, static_cast<short>(random() % 4), format == 1, random);
    sent.serviceIdHigh = static_cast<short>(random());
    sent.serviceIdLow = static_cast<short>(random());
    sent.shortFrame = static_cast<int>(random() % 2);
    sent.compressMode = random() % 2 == 0 ? 2 : 0;
    sent.message->format = format;
    sent.message->encryptFlag = static_cast<unsigned short>(random() % 16);
    sent.message->userData = static_cast<ZELLong>(random());
    if (random() % 2 == 0) {
        sent.message->varUserData = userData;
        sent.message->varUserDataLen = static_cast<unsigned short>(random() % sizeof userData);
    }
    long length = 0;
    EXPECT_EQ(sent.packMessage(buffer.data(), &length), 0) << type << ' ' << node.subType;
    // Peers set packing flags and ids that the message object would not.
    char* header = buffer.data() + (sent.shortFrame != 0 ? 4 : 6);
    header[2] = static_cast<char>(static_cast<unsigned char>(header[2]) ^ (random() % 2 == 0 ? 2U : 1U));
    header[20] = static_cast<char>(random());
    return {buffer.data(), static_cast<std::size_t>(length)};
}

// 10,000 messages of every kind.
TEST_F(Messages, ComeBackByteForByte) {
    CZELMessage::init();
    const test::Tables tables{CZELMessage::getVormaZelData()->dataDictionary(),
                              CZELMessage::getVormaZelData()->messageTable()};
    test::Random random(2024);
    std::string capture;
    int count = 0;
    while (count < 10000) {
        for (const ZELTypeNode* type = tables.messages; type != nullptr; type = type->next) {
            for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next, ++count) {
                capture += RandomMessage(tables, type->type, *node, random);
            }
        }
    }
    CZELMessage::terminate();
    WriteFile("random.zel", capture);
    const Outcome decoded = RunZel("decode --json random.zel");
    EXPECT_EQ(decoded.status, 0) << decoded.err.substr(0, 500);
    EXPECT_EQ(std::count(decoded.out.begin(), decoded.out.end(), '\n'), count);
    WriteFile("random.jsonl", decoded.out);
    EXPECT_TRUE(Encoded("random.jsonl") == capture);
}

}  // namespace
}  // namespace zel::tools
