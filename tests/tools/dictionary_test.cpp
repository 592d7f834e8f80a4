// Dictionary sources: every fault is found, at its place, with what was expected.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "tests/support/cases.h"
#include "tools/dictionary/source_check.h"
#include "tools/text/json_file.h"

namespace zel::tools {
namespace {

// The findings as the command prints them.
std::string Report(const nlohmann::json& source, Findings findings = {}) {
    if (!source.is_discarded() && findings.empty()) {
        CheckDictionary(ParseDictionary(source, findings), findings);
    }
    std::ostringstream out;
    PrintFindings(out, "d.json", findings);
    return out.str();
}

class DictionarySources : public testing::Test {
protected:
    Findings none_;
    nlohmann::json source_ = ReadJsonFile(ZEL_SOURCE_DIR "/tests/tools/cases/small.json", none_);
};

TEST_F(DictionarySources, EachFaultIsTheOnlyFinding) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/faults.txt", 4)) {
        nlohmann::json source = source_;
        const nlohmann::json::json_pointer pointer(row[1]);
        if (row[2].empty()) {
            source.at(pointer.parent_pointer()).erase(pointer.back());
        } else {
            source[pointer] = ParseJson(row[2], none_);
        }
        EXPECT_EQ(Report(source), row[3].empty() ? "" : "d.json: " + row[3] + '\n') << row[0];
    }
}

TEST_F(DictionarySources, AllFaultsAreFoundInOneRun) {
    source_["fields"][7]["id"] = "x";
    source_["fields"][8]["type"] = nullptr;
    source_["messages"][1]["fields"][0] = "NOPE";
    Findings findings;
    CheckDictionary(ParseDictionary(source_, findings), findings);
    EXPECT_EQ(CountErrors(findings), 3U);
}

// Images count them in 16 bits.
TEST_F(DictionarySources, ATypeHasAsManySubTypesAsAnImageCounts) {
    DictionarySource source = ParseDictionary(source_, none_);
    source.messages.resize(1);
    for (int subType = INT16_MIN; subType < INT16_MAX; ++subType) {
        source.messages.push_back(source.messages.front());
        source.messages.back().subType = static_cast<std::int16_t>(subType);
        source.messages.back().name = std::to_string(subType);
    }
    source.messages.front().subType = INT16_MAX;
    CheckDictionary(source, none_);
    ASSERT_EQ(none_.size(), 1U);
    EXPECT_TRUE(none_[0].text.starts_with("is one sub-type too many of the type 1;")) << none_[0].text;
    source.messages.pop_back();
    CheckDictionary(source, none_ = {});
    EXPECT_EQ(none_.size(), 0U);
}

TEST(JsonSource, FaultsAreNamedWithTheirPlace) {
    for (const test::Cells& row : test::ReadCases("tests/tools/cases/syntax.txt", 2)) {
        Findings findings;
        (void)ParseJson(row[0], findings);
        EXPECT_EQ(findings.size(), 1U) << row[0];
        EXPECT_TRUE(Report({}, findings).starts_with("d.json: " + row[1])) << Report({}, findings);
    }
}

TEST(JsonSource, AllowsCommentsAndEqualKeysInDifferentObjects) {
    Findings findings;
    EXPECT_EQ(ParseJson("// one\n[{\"a\": 1}, /* two */ {\"a\": {\"a\": 2}}]", findings)[1]["a"]["a"].get<int>(), 2);
    EXPECT_TRUE(findings.empty());
}

}  // namespace
}  // namespace zel::tools
