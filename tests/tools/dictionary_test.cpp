// Dictionary sources: every fault is found, at its place, with what was expected.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tools/dictionary_check.h"
#include "tools/dictionary_source.h"
#include "tools/json_file.h"

namespace zel::tools {
namespace {

using Json = nlohmann::json;

Json GoodSource() {
    return Json::parse(R"({"fields": [
        {"id": 1, "name": "FLAGS", "type": "short"}, {"id": 2, "name": "TYPE", "type": "long"},
        {"id": 3, "name": "SERVICE", "type": "long"}, {"id": 4, "name": "MSGID", "type": "long"},
        {"id": 5, "name": "COUNT", "type": "short"}, {"id": 6, "name": "DATA", "type": "long"},
        {"id": 7, "name": "VARDATA", "type": "bytes11"},
        {"id": 10, "name": "CODE", "type": "chars", "length": 12, "text": "Code"},
        {"id": 11, "name": "LEGS", "type": "short"},
        {"id": 12, "name": "PRICE", "type": "money"},
        {"id": 13, "name": "NEWER", "type": "text", "version": 2},
        {"id": 140, "name": "MARK", "type": "short"}],
      "messages": [
        {"type": 1, "subType": 1, "name": "ONE", "fields": [{"field": "CODE", "presence": "mandatory"}, "PRICE",
            {"group": {"count": {"field": "LEGS", "presence": "mandatory"}, "fields": [
                {"field": "MARK", "presence": "mandatory"}, "NEWER"]}}]},
        {"type": 1, "subType": 2, "name": "TWO", "fields": ["PRICE"]}]})");
}

// The findings as the command prints them.
std::string Report(const Json& source) {
    Findings findings;
    CheckDictionary(ParseDictionary(source, findings), findings);
    std::ostringstream out;
    PrintFindings(out, "d.json", findings);
    return out.str();
}

TEST(DictionarySource, IsCleanWhenNothingIsWrong) {
    EXPECT_EQ(Report(GoodSource()), "");
}

struct Fault {
    const char* name;
    const char* pointer;  // where the source is changed
    const char* value;    // to this JSON; empty: taken out
    const char* report;   // a line of the report
};

class DictionaryFault : public testing::TestWithParam<Fault> {};

TEST_P(DictionaryFault, IsTheOnlyFinding) {
    Json source = GoodSource();
    const Json::json_pointer pointer(GetParam().pointer);
    if (GetParam().value[0] != '\0') {
        source[pointer] = Json::parse(GetParam().value);
    } else {
        source.at(pointer.parent_pointer()).erase(pointer.back());
    }
    EXPECT_EQ(Report(source), std::string("d.json: ") + GetParam().report + '\n');
}

const Fault kFaults[] = {
    // Shape.
    {"UnknownKey", "/version", "1", "error: version: unknown key; expected one of $schema, fields, messages"},
    {"UnknownFieldKey", "/fields/8/size", "1",
     "error: fields[8].size: unknown key; expected one of id, name, type, length, version, text"},
    {"NoName", "/messages/1/name", R"("")", "error: messages[1].name: is empty; expected a text"},
    {"NoId", "/fields/9/id", "", "error: fields[9].id: missing; expected a whole number from 1 to 32767"},
    {"IdTooLarge", "/fields/9/id", "32768", "error: fields[9].id: is 32768; expected a whole number from 1 to 32767"},
    {"IdZero", "/fields/9/id", "0", "error: fields[9].id: is 0; expected a whole number from 1 to 32767"},
    {"IdFraction", "/fields/9/id", "1.5", "error: fields[9].id: is 1.5; expected a whole number from 1 to 32767"},
    {"IdBeyondLong", "/fields/9/id", "18446744073709551615",
     "error: fields[9].id: is 18446744073709551615; expected a whole number from 1 to 32767"},
    {"VersionTooLarge", "/fields/9/version", "16",
     "error: fields[9].version: is 16; expected a whole number from 0 to 15"},
    {"NoType", "/fields/9/type", "",
     "error: fields[9].type: missing; expected short, long, int, chars, text, float, double, datetime, money, bytes10, "
     "bytes11, or a number from 1 to 11"},
    {"UnknownType", "/fields/9/type", "12",
     "error: fields[9].type: 12 is no field type; expected short, long, int, chars, text, float, double, datetime, "
     "money, bytes10, bytes11, or a number from 1 to 11"},
    {"TextNoText", "/fields/9/text", "7", "error: fields[9].text: 7 is no text in quotes"},
    {"SubTypeTooLarge", "/messages/1/subType", "-32769",
     "error: messages[1].subType: is -32769; expected a whole number from -32768 to 32767"},
    {"FieldsNoArray", "/messages/1/fields", "{}", "error: messages[1].fields: {} is no array"},
    {"EntryNoObject", "/messages/1/fields/0", "12",
     "error: messages[1].fields[0]: 12 is no object; expected one in braces"},
    {"Presence", "/messages/0/fields/0/presence", R"("must")",
     R"(error: messages[0].fields[0].presence: "must" is no presence; expected "mandatory" or "optional")"},
    {"SecondGroup", "/messages/0/fields/3", R"({"group": {"count": "PRICE", "fields": ["CODE"]}})",
     "error: messages[0].fields[3].group: is a second repeating group; a message has at most one"},
    {"NoGroupCount", "/messages/0/fields/2/group/count", "",
     "error: messages[0].fields[2].group.count: missing; expected the field that counts the repetitions"},
    {"GroupInGroup", "/messages/0/fields/2/group/fields/1", R"({"group": {}})",
     "error: messages[0].fields[2].group.fields[1]: is a group within a group; expected a field"},
    // Lengths.
    {"CharsWithoutLength", "/fields/7/length", "",
     "error: fields[7].length: missing; expected a whole number from 1 to 12284"},
    {"CharsTooLong", "/fields/7/length", "12285",
     "error: fields[7].length: is 12285; expected a whole number from 1 to 12284"},
    {"MoneyLength", "/fields/9/length", "8", "error: fields[9].length: is 8; expected 6, the length of type money"},
    // Names and texts.
    {"SameName", "/fields/9/name", R"("CODE")",
     "error: fields[9].name: the name CODE is taken by fields[7]\nd.json: error: messages[0].fields[1]: unknown field "
     "\"PRICE\"; expected the name of a field\nd.json: error: messages[1].fields[0]: unknown field \"PRICE\"; expected "
     "the "
     "name of a field"},
    {"SameId", "/fields/9/id", "10", "error: fields[9].id: the id 10 is taken by fields[7]"},
    {"BlankInName", "/messages/0/name", R"("O NE")",
     R"(error: messages[0].name: "O NE" is no name; expected printable ASCII without blanks)"},
    {"LongName", "/messages/0/name", R"("A2345678901234567890123456789012345678901234567890123456789012345")",
     "error: messages[0].name: is 65 characters long; expected at most 64"},
    {"LongText", "/fields/7/text",
     R"("12345678901234567890123456789012345678901234567890123456789012345678901234567890123456789")",
     "error: fields[7].text: is 89 bytes long; expected at most 88"},
    {"TwoLines", "/fields/7/text", R"("a\nb")",
     "error: fields[7].text: has a control character; expected one line of text"},
    {"SameMessageName", "/messages/1/name", R"("ONE")",
     "error: messages[1].name: the name ONE is taken by messages[0]"},
    {"SameMessageType", "/messages/1/subType", "1",
     "error: messages[1]: the type 1 and sub-type 1 are taken by messages[0]"},
    // What the message library could not serve.
    {"HeaderFieldMissing", "/fields/2/id", "30",
     "error: fields: the header field 3 is missing; expected one of type long or int"},
    {"HeaderFieldType", "/fields/4/type", R"("long")",
     "error: fields[4].type: the header field 5 has the wrong type; expected short"},
    {"UnknownField", "/messages/1/fields/0", R"("PRISE")",
     "error: messages[1].fields[0]: unknown field \"PRISE\"; expected the name of a field"},
    {"HeaderFieldListed", "/messages/0/fields/2/group/count/field", R"("DATA")",
     "warning: messages[0].fields[2].group.count: DATA is a header field, which every message carries anyway"},
    {"CountIsText", "/fields/8/type", R"("text")",
     "error: messages[0].fields[2].group.count: LEGS cannot count repetitions; expected a field of type short, long or "
     "int"},
    {"GroupEmpty", "/messages/0/fields/2/group/fields", "[]",
     "error: messages[0].fields[2].group.count: the group behind it has no fields; expected one or more"},
    {"CountListedTwice", "/messages/0/fields/1", R"("LEGS")",
     "error: messages[0].fields[2].group.count: LEGS counts the group's repetitions and is listed at "
     "messages[0].fields[1] too; expected it once, as the group's count"},
    {"TooLarge", "/fields/7/length", "12284",
     "error: messages[0]: its smallest form takes 12294 bytes; a payload holds 12288"},
    // What it serves in a way that surprises.
    {"ListedTwice", "/messages/0/fields/1", R"("NEWER")",
     "warning: messages[0].fields[2].group.fields[1]: NEWER is listed at messages[0].fields[1] too: when a message "
     "carries one of the two, the receiver takes it for the first"},
    {"NewerMandatory", "/messages/1/fields/0", R"({"field": "NEWER", "presence": "mandatory"})",
     "warning: messages[1].fields[0]: NEWER is mandatory and of version 2: a message of an older version that leaves "
     "it "
     "out cannot be sent"},
    {"CountOptional", "/messages/0/fields/2/group/count", R"("LEGS")",
     "warning: messages[0].fields[2].group.count: LEGS is optional: a message without it is read as one of 0 "
     "repetitions, and what stands behind the group is lost"},
    {"MarkerOptional", "/messages/0/fields/2/group/fields/0", R"("MARK")",
     "warning: messages[0].fields[2].group.fields[0]: MARK marks the start of each repetition and is optional: fields "
     "that follow a marker left out land in the wrong repetition or are lost"},
    {"MarkerNotFirst", "/messages/0/fields/2/group/fields", R"(["NEWER", {"field": "MARK", "presence": "mandatory"}])",
     "warning: messages[0].fields[2].group.fields[1]: MARK marks the start of each repetition; expected it first in "
     "its "
     "group"},
};

INSTANTIATE_TEST_SUITE_P(Table, DictionaryFault, testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(DictionarySource, ReportsAllFaultsOfOneRun) {
    Json source = GoodSource();
    source["fields"][7]["id"] = "x";
    source["fields"][8]["type"] = nullptr;
    source["messages"][1]["fields"][0] = "NOPE";
    Findings findings;
    CheckDictionary(ParseDictionary(source, findings), findings);
    EXPECT_EQ(CountErrors(findings), 3U);
}

struct Syntax {
    const char* text;
    const char* place;
    const char* report;  // its beginning
};

TEST(JsonSource, NamesThePlace) {
    const Syntax table[] = {
        {"{\n  \"a\": 1,\n}", "line 3, column 1", "syntax error"},
        {"", "line 1, column 1", "syntax error"},
        {"{\"a\": 1e999}", "", "number overflow"},
        {"{\"a\": [1, {\"b\": 1, \"b\": 2}]}", "a[1].b", "stands twice"},
        {"{\"a\": {\"x\": []}, \"c\": 0, \"a\": 1}", "a", "stands twice"},
    };
    for (const Syntax& row : table) {
        Findings findings;
        (void)ParseJson(row.text, findings);
        ASSERT_EQ(findings.size(), 1U) << row.text;
        EXPECT_EQ(findings[0].place, row.place) << row.text;
        EXPECT_EQ(findings[0].text.rfind(row.report, 0), 0U) << findings[0].text;
    }
}

TEST(JsonSource, AllowsCommentsAndEqualKeysInDifferentObjects) {
    Findings findings;
    const Json value = ParseJson("// one\n[{\"a\": 1}, /* two */ {\"a\": {\"a\": 2}}]", findings);
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(value[1]["a"]["a"], 2);
}

}  // namespace
}  // namespace zel::tools
