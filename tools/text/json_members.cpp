#include "tools/text/json_members.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace zel::tools {

namespace {

using Json = nlohmann::json;

}  // namespace

std::string Shown(const Json& value) {
    constexpr std::size_t kMostShown = 60;
    const std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
    return text.size() <= kMostShown ? text : text.substr(0, kMostShown) + "...";
}

std::string MemberPlace(const std::string& place, const char* key) {
    return place.empty() ? key : place + '.' + key;
}

std::string ElementPlace(const std::string& place, std::size_t index) {
    return place + '[' + std::to_string(index) + ']';
}

bool ExpectObject(const Json& value, const std::string& place, std::initializer_list<const char*> keys,
                  Findings& findings) {
    if (!value.is_object()) {
        AddError(findings, place, Shown(value) + " is no object; expected one in braces");
        return false;
    }
    std::string known;
    for (const char* key : keys) {
        known += (known.empty() ? "" : ", ") + std::string(key);
    }
    for (const auto& member : value.items()) {
        if (std::find(keys.begin(), keys.end(), member.key()) == keys.end()) {
            AddError(findings, MemberPlace(place, member.key().c_str()), "unknown key; expected one of " + known);
        }
    }
    return true;
}

const Json& ReadArray(const Json& object, const std::string& place, const char* key, Findings& findings) {
    static const Json kNone = Json::array();
    const auto member = object.find(key);
    if (member == object.end()) {
        AddError(findings, MemberPlace(place, key), "missing; expected an array");
        return kNone;
    }
    if (!member->is_array()) {
        AddError(findings, MemberPlace(place, key), Shown(*member) + " is no array");
        return kNone;
    }
    return *member;
}

std::string ReadText(const Json& object, const std::string& place, const char* key,
                     const std::optional<std::string>& whenMissing, Findings& findings) {
    const auto member = object.find(key);
    if (member == object.end()) {
        if (!whenMissing) {
            AddError(findings, MemberPlace(place, key), "missing; expected a text");
        }
        return whenMissing.value_or("");
    }
    if (!member->is_string()) {
        AddError(findings, MemberPlace(place, key), Shown(*member) + " is no text in quotes");
        return "";
    }
    if (!whenMissing && member->get_ref<const std::string&>().empty()) {
        AddError(findings, MemberPlace(place, key), "is empty; expected a text");
    }
    return member->get<std::string>();
}

std::optional<std::int64_t> WholeNumber(const Json& value) {
    if (!value.is_number_integer() ||
        (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT64_MAX})) {
        return std::nullopt;
    }
    return value.get<std::int64_t>();
}

std::optional<std::int64_t> ReadNumber(const Json& object, const std::string& place, const char* key,
                                       std::int64_t least, std::int64_t most, std::optional<std::int64_t> whenMissing,
                                       Findings& findings) {
    const std::string expected =
        "expected a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    const auto member = object.find(key);
    if (member == object.end()) {
        if (!whenMissing) {
            AddError(findings, MemberPlace(place, key), "missing; " + expected);
        }
        return whenMissing;
    }
    const std::optional<std::int64_t> number = WholeNumber(*member);
    if (!number || *number < least || *number > most) {
        AddError(findings, MemberPlace(place, key), "is " + Shown(*member) + "; " + expected);
        return std::nullopt;
    }
    return number;
}

}  // namespace zel::tools
