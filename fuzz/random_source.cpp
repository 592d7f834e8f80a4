#include "fuzz/random_source.h"

#include <algorithm>

#include "tools/dictionary/image_builder.h"
#include "tools/dictionary/source_check.h"
#include "tools/text/json_document.h"
#include "zeldata/field_rules.h"

namespace zel::fuzz {

namespace {

// An image has a record for each id up to the highest: large ones cost time and tell nothing.
constexpr int kHighestId = 2000;

class Source {
public:
    Source(test::Random& random, bool isOdd) : random_(random), isOdd_(isOdd) {}

    std::string Text() {
        std::string fields;
        const int count = 8 + random_.Below(16);
        for (int id = 1; id < count; ++id) {
            const int type = id == 1 || id == 5 ? kZELShort : id == 7 ? kZELText : id < 8 ? kZELLong : 0;
            fields += (id == 1 ? "" : ",") + Field(id, type != 0 ? type : 1 + random_.Below(11));
        }
        fields += random_.OneIn(8) ? "," + Field(kZELGroupMarker, kZELShort) : "";
        std::string messages;
        for (int number = random_.Below(6); number > 0; --number) {
            messages += (messages.empty() ? "" : ",") + Message(number, count);
        }
        return "{\"fields\":[" + fields + "],\"messages\":[" + messages + "]}";
    }

private:
    // The value, or now and then another one.
    std::string Odd(const std::string& value) {
        constexpr const char* kOdd[] = {"null",
                                        "true",
                                        "-1",
                                        "0",
                                        "32767",
                                        "32768",
                                        "18446744073709551615",
                                        "1e300",
                                        "0.5",
                                        "\"\"",
                                        "[]",
                                        "\"F8\"",
                                        "{}",
                                        "[20]",
                                        "\"\\n\"",
                                        "{\"group\":{\"count\":\"F8\",\"fields\":[\"F9\"]}}"};
        return isOdd_ && random_.OneIn(64) ? random_.Pick(kOdd) : value;
    }

    static std::string Quoted(const std::string& text) { return '"' + text + '"'; }

    std::string Member(const char* key, const std::string& value) { return Quoted(key) + ':' + Odd(value); }

    std::string Field(int id, int type) {
        const image::FieldTypeRule& rule = *image::FindFieldTypeRule(type);
        std::string field = Member("id", std::to_string(id)) + ',' + Member("name", Quoted("F" + std::to_string(id)));
        field += ',' + Member("type", Quoted(rule.name));
        if (rule.length == image::kAnyLength || random_.OneIn(16)) {
            field += ',' + Member("length", std::to_string(std::max(rule.length, 1 + random_.Below(12))));
        }
        field += random_.OneIn(4) ? ',' + Member("version", std::to_string(random_.Below(16))) : "";
        field += random_.OneIn(8) ? ',' + Member("text", Quoted(std::string(random_.Byte() % 90U, '~'))) : "";
        return Odd('{' + field + '}');
    }

    // A field after those of the header, as a rule.
    std::string Entry(int count) {
        const int first = count == 8 || random_.OneIn(32) ? 1 : 8;
        const std::string name = Quoted("F" + std::to_string(first + random_.Below(count - first)));
        const bool isMandatory = random_.OneIn(3);
        return Odd(isMandatory ? '{' + Member("field", name) + ",\"presence\":" + Odd("\"mandatory\"") + '}' : name);
    }

    std::string Entries(int count, int most) {
        std::string entries = Entry(count);
        for (int left = random_.Below(most); left > 0; --left) {
            entries += ',' + Entry(count);
        }
        return entries;
    }

    std::string Message(int number, int count) {
        std::string entries = Entries(count, 10);
        if (random_.OneIn(2)) {
            const std::string group = Member("count", Entry(count)) + ",\"fields\":[" + Entries(count, 6) + ']';
            entries += ",{" + Member("group", '{' + group + '}') + "}," + Entries(count, 4);
        }
        return Odd('{' + Member("type", std::to_string(number % 3 - 1)) + ',' +
                   Member("subType", std::to_string(number)) + ',' +
                   Member("name", Quoted("M" + std::to_string(number))) + ",\"fields\":[" + entries + "]}");
    }

    test::Random& random_;
    bool isOdd_;
};

}  // namespace

std::string RandomSource(test::Random& random, bool isOdd) {
    return Source(random, isOdd).Text();
}

std::optional<std::vector<char>> Compile(const std::string& text, tools::Findings& findings) {
    const tools::JsonDocument document = tools::ParseJson(text, findings);
    if (!document.root()) {
        return std::nullopt;
    }
    const tools::DictionarySource source = tools::ParseDictionary(document.root(), findings);
    tools::CheckDictionary(source, findings);
    const bool isSmall = std::all_of(source.fields.begin(), source.fields.end(),
                                     [](const tools::FieldSource& field) { return field.id <= kHighestId; });
    return CountErrors(findings) == 0 && isSmall ? std::optional(tools::BuildDictionaryImage(source)) : std::nullopt;
}

}  // namespace zel::fuzz
