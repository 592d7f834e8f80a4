// Dictionary sources: every fault is found, at its place, with what was expected.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/cases.h"
#include "tests/support/random_message.h"
#include "tests/support/work_folder.h"
#include "tools/dictionary/source_check.h"
#include "tools/text/json_file.h"

namespace zel::tools {
namespace {

// The findings as the command prints them.
std::string Report(const std::string& source) {
    Findings findings;
    const JsonDocument document = ParseJson(source, findings);
    if (findings.empty()) {
        CheckDictionary(ParseDictionary(document.root(), findings), findings);
    }
    std::string report;
    for (const Finding& finding : findings) {
        report += FindingText("d.json", finding) + '\n';
    }
    return report;
}

class DictionarySources : public testing::Test {
protected:
    nlohmann::json source_ = nlohmann::json::parse(test::ReadFile(test::SourcePath("tests/tools/cases/small.json")));
};

TEST_F(DictionarySources, EachFaultIsTheOnlyFinding) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/faults.txt", 4)) {
        nlohmann::json source = source_;
        const nlohmann::json::json_pointer pointer(row[1]);
        if (row[2].empty()) {
            source.at(pointer.parent_pointer()).erase(pointer.back());
        } else {
            source[pointer] = nlohmann::json::parse(row[2]);
        }
        EXPECT_EQ(Report(source.dump()), row[3].empty() ? "" : "d.json: " + row[3] + '\n') << row[0];
    }
}

TEST_F(DictionarySources, AllFaultsAreFoundInOneRun) {
    source_["fields"][7]["id"] = "x";
    source_["fields"][8]["type"] = nullptr;
    source_["messages"][1]["fields"][0] = "NOPE";
    const std::string report = Report(source_.dump());
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 3) << report;
}

// Images count them in 16 bits.
TEST_F(DictionarySources, ATypeHasAsManySubTypesAsAnImageCounts) {
    Findings none;
    const JsonDocument document = ParseJson(source_.dump(), none);
    DictionarySource source = ParseDictionary(document.root(), none);
    source.messages.resize(1);
    for (int subType = INT16_MIN; subType < INT16_MAX; ++subType) {
        source.messages.push_back(source.messages.front());
        source.messages.back().subType = static_cast<std::int16_t>(subType);
        source.messages.back().name = std::to_string(subType);
    }
    source.messages.front().subType = INT16_MAX;
    CheckDictionary(source, none);
    ASSERT_EQ(none.size(), 1U);
    EXPECT_TRUE(none[0].text.starts_with("is one sub-type too many of the type 1;")) << none[0].text;
    source.messages.pop_back();
    CheckDictionary(source, none = {});
    EXPECT_EQ(none.size(), 0U);
}

TEST(JsonSource, FaultsAreNamedWithTheirPlace) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/syntax.txt", 2)) {
        const std::string report = Report(row[0]);
        EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 1) << row[0];
        EXPECT_EQ(report, "d.json: " + row[1] + '\n');
    }
}

TEST(JsonSource, TakesLittleMemoryForManyFaults) {
    std::string text = "[0";
    Findings findings;
    for (int i = 0; i < 2000; ++i) {
        AddWarning(findings, "", "odd");
        text += R"(,{"a":1,"a":1})";
    }
    EXPECT_EQ(CountErrors(findings), 0U);
    AddError(findings, "", "wrong");
    EXPECT_EQ(CountErrors(findings), 1U);
    findings.clear();
    (void)ParseJson(text + ']', findings);
    EXPECT_EQ(findings.size(), 1001U);
    EXPECT_EQ(FindingText("d.json", findings.back()), "d.json: error: there is more, which is not told");
    // A field that lacks everything takes 3 bytes.
    text = R"({"fields":[{})";
    for (int i = 0; i < 2000; ++i) {
        text += ",{}";
    }
    findings.clear();
    const JsonDocument source = ParseJson(text + "]}", findings);
    EXPECT_LT(ParseDictionary(source.root(), findings).fields.size(), 1000U);
    // Without an end, where the system has such a file.
    findings.clear();
    EXPECT_FALSE(ReadJsonFile("/dev/zero", findings).root());
    EXPECT_EQ(findings.size(), 1U);
}

// The same texts are JSON as for another parser.
TEST(JsonSource, IsToldFromOtherTexts) {
    const std::string good =
        R"([1.5e-3, -0, {"a\u00e6\ud834\udd1e": "\n\"", "\u00c3\u0086": [true, null]}, {}, 12345678901234567890])";
    test::Random random(11);
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string text = good;
        for (unsigned changes = random() % 3; changes != 0; --changes) {
            text[random() % text.size()] = good[random() % good.size()];
        }
        Findings findings;
        const bool isJson = static_cast<bool>(ParseJson(text, findings).root());
        ASSERT_EQ(isJson, nlohmann::json::accept(text)) << text;
        accepted += isJson ? 1 : 0;
    }
    EXPECT_GT(accepted, 4000);
    EXPECT_LT(accepted, 16000);
}

TEST(JsonSource, AllowsCommentsAndEqualKeysInDifferentObjects) {
    Findings findings;
    EXPECT_TRUE(ParseJson("\xEF\xBB\xBF// one\n[{\"a\": 1}, /* two */ {\"a\": {\"a\": 2}}] //", findings).root());
    const JsonDocument escapes = ParseJson(R"(["\u00e6\/\ud834\udd1e\t"])", findings);
    EXPECT_EQ((*escapes.root().begin()).value.Text(), "\u00e6/\U0001d11e\t");
    EXPECT_TRUE(findings.empty());
    EXPECT_FALSE(ParseJson("[\"\xc3(\"]", findings).root());
}

}  // namespace
}  // namespace zel::tools
