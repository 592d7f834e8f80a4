// The verbs `zel dict show`, `zel dict diff` and `zel value`: what they write, byte for byte, and their exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

#include "tests/support/cases.h"
#include "tests/support/environment.h"
#include "tools/command_pages.h"
#include "tools/dict_command.h"
#include "tools/dictionary_diff.h"
#include "tools/dictionary_file.h"
#include "tools/dictionary_image.h"
#include "tools/help.h"
#include "tools/image_source.h"
#include "tools/json_file.h"
#include "tools/value_command.h"
#include "zeldata/checksum.h"
#include "zeldata/image_check.h"

namespace zel::tools {
namespace {

namespace fs = std::filesystem;

constexpr char kCases[] = ZEL_SOURCE_DIR "/tests/tools/cases/";

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Verbs : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(folder_ / "zeldata");
        fs::current_path(folder_);
        fs::copy_file(ZEL_SOURCE_DIR "/zeldata/sample.json", "zeldata/sample.json");
        for (const char* name : {"small.json", "newer.json"}) {
            fs::copy_file(std::string(kCases).append(name), name);
        }
        std::ofstream("broken.json") << R"({"fields": [], "messages": {}})";
        std::ofstream("other.txt") << "no image";
        test::SetEnvironment("ZELDATA_IMAGE", "small.img");
    }
    void TearDown() override {
        test::SetEnvironment("ZELDATA_IMAGE", "");
        fs::current_path(before_);
        fs::remove_all(folder_);
    }

    // What the command writes, complaints first, and its exit status.
    static std::string Run(const std::string& arguments) {
        CLI::App app("Tools", "zel");
        int status = 0;
        ConfigureApp(app);
        AddDictCommand(app, status);
        AddValueCommand(app, status);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        try {
            app.parse(arguments);
        } catch (const CLI::ParseError& error) {
            status = app.exit(error) == 0 ? 0 : 2;
        }
        std::cout.flush();
        const std::string said = testing::internal::GetCapturedStderr();
        return said + testing::internal::GetCapturedStdout() + "= " + std::to_string(status) + '\n';
    }

    static void RunExamples(const CLI::App& verb, int& count) {
        for (const std::string& line : Lines(verb.get_footer())) {
            if (IsExample(line)) {
                const std::string said = Run(line.substr(std::string("  zel ").size()));
                EXPECT_TRUE(said.ends_with("= 0\n")) << line << '\n' << said;
                ++count;
            }
        }
        for (const CLI::App* below : verb.get_subcommands([](const CLI::App*) { return true; })) {
            RunExamples(*below, count);
        }
    }

    fs::path before_ = fs::current_path();
    fs::path folder_ = fs::temp_directory_path() / ("zel-verbs-test-" + std::to_string(std::random_device()()));
};

// The transcript has each command behind "$ " and below it all that it writes.
TEST_F(Verbs, WriteWhatTheTranscriptSays) {
    const std::string expected = Read(std::string(kCases).append("transcript.txt"));
    std::string written;
    for (const std::string& line : Lines(expected)) {
        if (line.starts_with("$ zel ")) {
            written.append(line).append("\n").append(Run(line.substr(6)));
        }
    }
    EXPECT_EQ(written, expected);
    const std::string missing = Run("dict show missing.img");
    EXPECT_TRUE(missing.starts_with("missing.img: error: cannot be opened") && missing.ends_with("= 2\n")) << missing;
}

TEST_F(Verbs, EveryExampleOfTheHelpWorks) {
    CLI::App app;
    int status = 0;
    int count = 0;
    AddDictCommand(app, status);
    AddValueCommand(app, status);
    RunExamples(app, count);
    EXPECT_GT(count, 15);
}

// Blocks of the page that begin with a command, those of other verbs left out.
TEST_F(Verbs, WriteWhatTheirPageShows) {
    const std::string page = Read(ZEL_SOURCE_DIR "/docs/tools.md");
    int count = 0;
    for (const char* verb : {"dict ", "value "}) {
        const std::string start = std::string("```\n$ zel ").append(verb);
        for (std::size_t at = page.find(start); at != std::string::npos; at = page.find(start, at + 1)) {
            const std::size_t command = at + std::string("```\n$ zel ").size();
            const std::size_t output = page.find('\n', command) + 1;
            const std::string said = Run(page.substr(command, output - 1 - command));
            EXPECT_EQ(said.substr(0, said.rfind("= ")), page.substr(output, page.find("```", output) - output));
            ++count;
        }
    }
    EXPECT_EQ(count, 3);
}

TEST_F(Verbs, TellWhenNoSourceMakesTheImage) {
    Findings findings;
    std::vector<char> bytes = BuildDictionaryImage(ReadSourceFile("small.json", findings));
    image::ImageHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    // Optional as well, but not as sources make it.
    bytes[header.fieldListsOffset + sizeof(ZELFieldListEntry) + offsetof(ZELFieldListEntry, presence)] = 7;
    header.checksum = image::Checksum(bytes.data() + sizeof header, bytes.size() - sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    std::ofstream("odd.img", std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const std::string said = Run("dict show odd.img --json");
    EXPECT_TRUE(said.starts_with("odd.img: error: holds what a source cannot say") && said.ends_with("= 1\n")) << said;
    const std::string same = Run("dict show small.json --json");
    EXPECT_EQ(said.substr(said.find('{'), same.rfind('=')), same.substr(0, same.rfind('=')));
}

// A dictionary with gaps in its ids, all types, and fields in any order.
DictionarySource RandomDictionary(std::mt19937& random) {
    Findings findings;
    nlohmann::json json = ReadJsonFile(std::string(kCases).append("small.json"), findings);
    nlohmann::json names = nlohmann::json::array();
    for (auto id = random() % 9 + 200; id < 600; id += 1 + random() % 9) {
        const auto type = 1 + random() % 11;
        const std::string name = std::string(1 + random() % 3, 'N') + std::to_string(random());
        json["fields"].push_back({{"id", id}, {"name", name}, {"type", type}, {"version", random() % 16}});
        json["fields"].back()["text"] = std::string(random() % 3, '"') + "\xc3\xa9\\";
        if (type == 4) {
            json["fields"].back()["length"] = 1 + random() % 12284;
        }
        names.push_back({{"field", name}, {"presence", random() % 2 != 0 ? "mandatory" : "optional"}});
    }
    std::shuffle(json["fields"].begin(), json["fields"].end(), random);
    json["messages"][0]["fields"].push_back(names[0]);
    json["messages"][0]["fields"][2]["group"]["fields"].push_back(names[1]);
    json["messages"].push_back({{"type", -3}, {"subType", 7}, {"name", "THIRD"}, {"fields", {names[2], names[0]}}});
    json["messages"].push_back({{"type", 1}, {"subType", 3}, {"name", "FOURTH"}, {"fields", {}}});
    return ParseDictionary(json, findings);
}

TEST(ImageSource, BuildsBackToTheSameImage) {
    std::mt19937 random(20);
    for (int round = 0; round < 50; ++round) {
        const std::vector<char> bytes = BuildDictionaryImage(RandomDictionary(random));
        image::ImageView view;
        image::ImageFault fault;
        ASSERT_TRUE(image::CheckImage(bytes.data(), bytes.size(), view, fault)) << fault.text;
        Findings findings;
        const std::string text = SourceText(SourceOfImage(view));
        const DictionarySource again = ParseDictionary(ParseJson(text, findings), findings);
        EXPECT_TRUE(findings.empty());
        EXPECT_TRUE(BuildDictionaryImage(again) == bytes) << text;
    }
}

std::string Changes(const nlohmann::json& before, const nlohmann::json& after) {
    Findings findings;
    std::ostringstream out;
    for (const Change& change :
         CompareDictionaries(ParseDictionary(before, findings), ParseDictionary(after, findings))) {
        out << (out.tellp() > 0 ? "; " : "") << change.subject << ": " << change.text << " !";
        for (unsigned format = 0; format <= 2; ++format) {
            out << ((change.breaks >> format & 1U) != 0 ? std::to_string(format) : "");
        }
    }
    EXPECT_TRUE(findings.empty());
    return out.str();
}

TEST(DictionaryDiff, NamesEachChangeAndTheFormatsThatItBreaks) {
    Findings findings;
    const nlohmann::json before = ReadJsonFile(std::string(kCases).append("small.json"), findings);
    EXPECT_EQ(Changes(before, before), "");
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/changes.txt", 3)) {
        const nlohmann::json after = before.patch(nlohmann::json::parse(row[1]));
        EXPECT_EQ(Changes(before, after), row[2]) << row[0];
    }
}

TEST(CommandPages, CoverEveryVerbThatIsNotHidden) {
    CLI::App app("Tools \\ 'of' ~all~ `kinds`", "zel");
    ConfigureApp(app);
    app.footer("One paragraph.\nExamples:\n  zel go -a 'x'\n  .zel\nAnother.");
    CLI::App* group = app.add_subcommand("group", "A group");
    CLI::App* first = group->add_subcommand("first", "The first");
    first->add_option("FILE")->description("A file")->required();
    first->add_option("MORE")->description("Another");
    first->add_option("-o,--output")->description("Out-put")->option_text("NAME");
    first->add_flag("--hidden")->group("");
    AddPagesCommand(app, "1.2");
    EXPECT_EQ(ManualPage(app, "1.2"), Read(std::string(kCases).append("manual.txt")));
    EXPECT_EQ(BashCompletion(app), Read(std::string(kCases).append("completion.txt")));
}

}  // namespace
}  // namespace zel::tools
