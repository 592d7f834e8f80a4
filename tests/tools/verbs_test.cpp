// The verbs `zel dict` and `zel value`: what they write, byte for byte, their exit status, and what they leave on the
// disk.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "tests/support/cases.h"
#include "tests/support/environment.h"
#include "tests/support/work_folder.h"
#include "tests/tools/run_command.h"
#include "tools/dictionary/cpp_header.h"
#include "tools/dictionary/dictionary_changes.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/io/status.h"
#include "tools/text/json_file.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/help_text.h"
#include "tools/verbs/pages.h"
#include "zeldata/checksum.h"
#include "zeldata/image_check.h"

namespace zel::tools {
namespace {

std::string CasePath(const char* name) {
    return test::SourcePath("tests/tools/cases/") + name;
}

class Verbs : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory("zeldata");
        std::filesystem::rename("sample.json", "zeldata/sample.json");
        test::WriteFile("broken.json", R"({"fields": [], "messages": {}})");
        test::WriteFile("bad.json", "{\"fields\": [],\n}");
        test::WriteFile("other.txt", "no image");
        test::WriteFile("old.img", "old");
    }
    void TearDown() override { test::SetEnvironment("ZELDATA_IMAGE", ""); }

    // What the command writes, complaints first, and its exit status.
    static std::string Run(const std::string& arguments) {
        const Outcome outcome = RunZel(arguments);
        return outcome.err + outcome.out + "= " + std::to_string(outcome.status) + '\n';
    }

    static void RunExamples(const Verb& verb, int& count) {
        for (const std::string& line : Lines(verb.footer)) {
            if (IsExample(line)) {
                const std::size_t file = line.find(" > ");
                const Outcome outcome = RunZel(line.substr(6, file == line.npos ? file : file - 6));
                EXPECT_EQ(outcome.status, kStatusGood) << line << '\n' << outcome.err;
                if (file != line.npos) {
                    test::WriteFile(line.substr(file + 3), outcome.out);
                }
                ++count;
            }
        }
        for (const Verb& below : verb.verbs) {
            RunExamples(below, count);
        }
    }

    test::WorkFolder folder_{"zeldata/sample.json", "tests/tools/cases/small.json", "tests/tools/cases/newer.json"};
};

// The transcript has each command after "$ ", and below it all that it writes.
TEST_F(Verbs, WriteWhatTheTranscriptSays) {
    test::SetEnvironment("ZELDATA_IMAGE", "small.img");
    const std::string expected = test::ReadFile(CasePath("transcript.txt"));
    std::string written;
    for (const std::string& line : Lines(expected)) {
        if (line.starts_with("$ zel ")) {
            written.append(line).append("\n").append(Run(line.substr(6)));
        }
    }
    EXPECT_EQ(written, expected);
}

// The version may be asked for where nothing else works: what cannot be used is told on its line.
TEST_F(Verbs, TellTheirVersionAndWhatTheyFind) {
    const std::string start =
        "zel 1.2\ncommit      abc\nword size   " + std::to_string(sizeof(void*) * 8) + " bits\ndictionary  ";
    ASSERT_TRUE(Run("dict build small.json -o small.img").ends_with("= 0\n"));
    for (const auto& [image, found] :
         std::map<std::string, std::string>{{"small.img", "small.img: 12 fields, 2 messages, image version 1\n"},
                                            {"small.json", "none: small.json is a source, not an image\n"},
                                            {"other.txt", "none: other.txt is too short for a dictionary image"},
                                            {"missing.img", "none: missing.img cannot be opened: "},
                                            {"\x1b[2J", "none: \\u001b[2J cannot be opened: "}}) {
        test::SetEnvironment("ZELDATA_IMAGE", image.c_str());
        const std::string said = Run("--version");
        EXPECT_TRUE(said.starts_with(start + found)) << said;
        EXPECT_NE(said.find("\ncompressor  works: 1000 zero bytes travel as "), std::string::npos) << said;
        EXPECT_TRUE(said.ends_with("\n= 0\n")) << said;
    }
}

// Where a part of what is said is the system's, its start and its end are held against the table.
TEST_F(Verbs, TellWhatTheyDidAndLeaveNothingElse) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/commands.txt", 5)) {
        const std::string said = Run(row[0]);
        EXPECT_TRUE(said.starts_with(row[2]) && said.ends_with(row[3] + "\n= " + row[1] + '\n')) << row[0] << said;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), std::stoi(row[4])) << row[0];
    }
    EXPECT_EQ(test::ReadFile("old.img"), "old");
    EXPECT_TRUE(Run("dict build small.json --output old.img").ends_with("= 0\n"));
    EXPECT_EQ(test::ReadFile("old.img"), test::ReadFile("new.img"));
}

TEST_F(Verbs, EveryExampleOfTheHelpWorks) {
    int count = 0;
    RunExamples(DictVerb(), count);
    RunExamples(ValueVerb(), count);
    RunExamples(ExplainVerb(), count);
    RunExamples(SampleVerb(), count);
    EXPECT_GT(count, 15);
}

// The page is what the command writes, and has every text of the source.
TEST_F(Verbs, WriteThePageOfReports) {
    const std::string page = test::ReadFile(test::SourcePath("docs/reports.md"));
    EXPECT_EQ(Run("explain --markdown"), page + "= 0\n") << "zel explain --markdown > docs/reports.md";
    for (const std::string& line : Lines(test::ReadFile(test::SourcePath("runtime/reports.h")))) {
        if (line.starts_with("inline constexpr Report k")) {
            const std::size_t text = line.find('"') + 1;
            const std::string shown = line.substr(text, line.rfind('"') - text);
            EXPECT_NE(page.find(shown.empty() ? "|  | this report has no" : " | `" + shown + "` | "), std::string::npos)
                << line;
        }
    }
}

// Blocks of the page that begin with a command, those of other verbs left out.
TEST_F(Verbs, WriteWhatTheirPageShows) {
    const std::string page = test::ReadFile(test::SourcePath("docs/tools.md"));
    int count = 0;
    for (const char* verb : {"dict ", "value ", "sample ", "explain "}) {
        const std::string start = std::string("```\n$ zel ").append(verb);
        for (std::size_t at = page.find(start); at != std::string::npos; at = page.find(start, at + 1)) {
            const std::size_t command = at + std::string("```\n$ zel ").size();
            const std::size_t output = page.find('\n', command) + 1;
            const std::string said = Run(page.substr(command, output - 1 - command));
            EXPECT_EQ(said.substr(0, said.rfind("= ")), page.substr(output, page.find("```", output) - output));
            ++count;
        }
    }
    EXPECT_EQ(count, 7);
}

TEST_F(Verbs, TellWhenNoSourceMakesTheImage) {
    Findings findings;
    DictionarySource dictionary = ReadSourceFile("small.json", findings);
    std::vector<char> bytes = BuildDictionaryImage(dictionary);
    image::ImageHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    // Optional as well, but not as sources make it.
    bytes[header.fieldListsOffset + sizeof(ZELFieldListEntry) + offsetof(ZELFieldListEntry, presence)] = 7;
    header.checksum = image::Checksum(bytes.data() + sizeof header, bytes.size() - sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    test::WriteFile("odd.img", {bytes.begin(), bytes.end()});
    const std::string said = Run("dict show odd.img --json");
    EXPECT_TRUE(said.starts_with("odd.img: error: holds what a source cannot say") && said.ends_with("= 1\n")) << said;
    const std::string same = Run("dict show small.json --json");
    EXPECT_EQ(said.substr(said.find('{'), same.rfind('=')), same.substr(0, same.rfind('=')));
    // A name that ends no line of C++.
    dictionary.fields[0].name = "A\n\x7f\"1\u00fc";
    EXPECT_NE(CppHeader(dictionary, {}, {"x", 1}).find(R"({"A\012\177\"1\303\274"};)"), std::string::npos);
}

std::string Changes(const nlohmann::json& before, const nlohmann::json& after) {
    Findings findings;
    std::ostringstream out;
    const auto read = [&findings](const nlohmann::json& json) {
        const JsonDocument document = ParseJson(json.dump(), findings);
        return ParseDictionary(document.root(), findings);
    };
    for (const Change& change : CompareDictionaries(read(before), read(after))) {
        out << (out.tellp() > 0 ? "; " : "") << change.subject << ": " << change.text << " !";
        for (unsigned format = 0; format <= 2; ++format) {
            out << ((change.breaks >> format & 1U) != 0 ? std::to_string(format) : "");
        }
    }
    EXPECT_TRUE(findings.empty());
    return out.str();
}

TEST(DictionaryDiff, NamesEachChangeAndTheFormatsThatItBreaks) {
    const nlohmann::json before = nlohmann::json::parse(test::ReadFile(CasePath("small.json")));
    EXPECT_EQ(Changes(before, before), "");
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/changes.txt", 3)) {
        const nlohmann::json after = before.patch(nlohmann::json::parse(row[1]));
        EXPECT_EQ(Changes(before, after), row[2]) << row[0];
    }
}

TEST(CommandPages, CoverEveryVerbThatIsNotHidden) {
    std::string output;
    Verb first{.name = "first",
               .summary = "The first",
               .options = {{"FILE", &output, "A file", "", true},
                           {"MORE", &output, "Another"},
                           {"-o,--output", &output, "Out-put", "NAME"}},
               .run = [] { return 0; }};
    const Verb group{.name = "group", .summary = "A group", .verbs = {first}};
    first.isHidden = true;
    const Verb command{.name = "zel",
                       .summary = "Tools \\ 'of' ~all~ `kinds`",
                       .footer = "One paragraph.\nExamples:\n  zel go -a 'x'\n  .zel\nAnother.",
                       .verbs = {group, first},
                       .sections = {{"FILES", {{"a-b", "What it is"}}}}};
    EXPECT_EQ(ManualPage(command, "1.2"), test::ReadFile(CasePath("manual.txt")));
}

}  // namespace
}  // namespace zel::tools
