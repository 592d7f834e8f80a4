#include "fuzz/generated_source.h"

#include <utility>
#include <vector>

#include "include/zelprovider.h"
#include "tools/dictionary/source_check.h"
#include "zeldata/field_rules.h"

namespace zel::fuzz {

namespace {

using Json = nlohmann::json;

class Generator {
public:
    Generator(Input& input, bool isOdd) : input_(input), isOdd_(isOdd) {}

    Json Source() {
        Json fields = Json::array();
        for (int id = 1; id <= 7; ++id) {
            const bool isShort = id == 1 || id == 5;
            fields.push_back(Field(id, isShort ? kZELShort : id == 7 ? kZELText : kZELLong));
        }
        int id = 8;
        for (int count = input_.Below(16); count > 0; --count) {
            fields.push_back(Field(id, input_.Below(11) + 1));
            id += 1 + input_.Below(4) / 3;
        }
        if (input_.OneIn(2)) {
            fields.push_back(Field(kZELGroupMarker, kZELShort));
        }
        Json messages = Json::array();
        for (int count = input_.Below(6); count > 0; --count) {
            messages.push_back(Message(count));
        }
        return Odd({{"fields", fields}, {"messages", messages}});
    }

private:
    // The value, or sometimes another one.
    Json Odd(Json value) { return isOdd_ && input_.OneIn(64) ? OddValue(input_) : std::move(value); }

    Json Field(int id, int type) {
        const image::FieldTypeRule& rule = *image::FindFieldTypeRule(type);
        names_.push_back("F" + std::to_string(id));
        Json field = {{"id", Odd(id)}, {"name", Odd(names_.back())}, {"type", Odd(rule.name)}};
        if (rule.length == image::kAnyLength || input_.OneIn(16)) {
            field["length"] = Odd(rule.length == image::kAnyLength ? 1 + input_.Below(12) : rule.length);
        }
        if (input_.OneIn(4)) {
            field["version"] = Odd(input_.Below(16));
        }
        if (input_.OneIn(8)) {
            field["text"] = Odd(std::string(static_cast<std::size_t>(input_.Below(90)), '~'));
        }
        return Odd(field);
    }

    // The name of a field, mostly not one of the header's.
    std::string Name() {
        const std::size_t first = input_.OneIn(32) || names_.size() == 7 ? 0 : 7;
        return names_[first + static_cast<std::size_t>(input_.Byte()) % (names_.size() - first)];
    }

    Json Entry() {
        Json entry = {{"field", Odd(Name())}};
        const int kind = input_.Below(4);
        if (kind != 0) {
            entry["presence"] = Odd(kind == 1 ? "mandatory" : "optional");
        }
        return Odd(kind == 3 ? entry["field"] : entry);
    }

    Json Entries(int most) {
        Json entries = Json::array();
        for (int count = input_.Below(most); count > 0; --count) {
            entries.push_back(Entry());
        }
        return entries;
    }

    Json Message(int number) {
        Json entries = Entries(10);
        for (int groups = input_.Below(4); groups > (isOdd_ ? 1 : 2); --groups) {
            Json members = Entries(6);
            members.push_back(Entry());
            entries.push_back({{"group", Odd({{"count", Entry()}, {"fields", Odd(members)}})}});
        }
        if (input_.OneIn(2)) {
            const Json after = Entries(4);
            entries.insert(entries.end(), after.begin(), after.end());
        }
        return Odd({{"type", Odd(number % 3 - 1)},
                    {"subType", Odd(number)},
                    {"name", Odd("M" + std::to_string(number))},
                    {"fields", Odd(entries)}});
    }

    Input& input_;
    bool isOdd_;
    std::vector<std::string> names_;
};

}  // namespace

Json OddValue(Input& input) {
    switch (input.Below(16)) {
        case 0:
            return nullptr;
        case 1:
            return input.Below(2) == 0;
        case 2:
            return static_cast<std::int16_t>(input.Short());
        case 3:
            return static_cast<std::int64_t>(input.Wide());
        case 4:
            return UINT64_MAX - input.Byte();
        case 5:
            return INT16_MAX + std::int64_t{input.Below(3)};
        case 6:
            return input.Byte() / 16.0;
        case 7:
            return 1e300;
        case 8:
            return input.Bytes(static_cast<std::size_t>(input.Below(12)));
        case 9: {
            const std::size_t size = input.Byte();
            return std::string(size, input.Below(2) == 0 ? 'x' : '\n');
        }
        case 10:
            return "F" + std::to_string(input.Below(150));
        case 11:
            return Json::array({input.Below(20)});
        case 12:
            return Json::object({{input.Bytes(3), input.Below(20)}});
        case 13:
            return {{"group", {{"count", "F8"}, {"fields", Json::array({"F9"})}}}};
        case 14:
            return Json::array();
        default:
            return input.Below(20);
    }
}

Json GenerateSource(Input& input, bool isOdd) {
    return Generator(input, isOdd).Source();
}

tools::DictionarySource CheckedSource(const Json& json, tools::Findings& findings) {
    tools::DictionarySource source;
    if (!json.is_discarded()) {
        source = tools::ParseDictionary(json, findings);
        tools::CheckDictionary(source, findings);
    }
    return source;
}

}  // namespace zel::fuzz
