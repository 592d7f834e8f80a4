#include "tools/text/json_members.h"

#include <algorithm>

#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

std::string Cut(std::string_view text) {
    constexpr std::size_t kMostShown = 60;
    return std::string(text.substr(0, kMostShown)) + (text.size() <= kMostShown ? "" : "...");
}

}  // namespace

std::string Shown(const JsonValue& value) {
    return value.Is(JsonKind::kText) ? Shown(value.Text()) : Cut(value.Source());
}

std::string Shown(std::string_view text) {
    std::string shown;
    AppendText(shown, text);
    return Cut(shown);
}

std::string MemberPlace(const std::string& place, std::string_view key) {
    return (place.empty() ? "" : place + '.') + std::string(key);
}

std::string ElementPlace(const std::string& place, std::size_t index) {
    return place + '[' + std::to_string(index) + ']';
}

bool ExpectObject(const JsonValue& value, const std::string& place, std::initializer_list<const char*> keys,
                  Findings& findings) {
    if (!value.Is(JsonKind::kObject)) {
        AddError(findings, place, Shown(value) + " is no object; expected one in braces");
        return false;
    }
    std::string known;
    for (const char* key : keys) {
        known += (known.empty() ? "" : ", ") + std::string(key);
    }
    for (const auto& [key, member] : value) {
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
            AddError(findings, MemberPlace(place, key), "unknown key; expected one of " + known);
        }
    }
    return true;
}

JsonValue ReadArray(const JsonValue& object, const std::string& place, const char* key, Findings& findings) {
    const JsonValue member = object.Find(key);
    if (!member) {
        AddError(findings, MemberPlace(place, key), "missing; expected an array");
        return {};
    }
    if (!member.Is(JsonKind::kArray)) {
        AddError(findings, MemberPlace(place, key), Shown(member) + " is no array");
        return {};
    }
    return member;
}

std::string ReadText(const JsonValue& object, const std::string& place, const char* key,
                     const std::optional<std::string>& whenMissing, Findings& findings) {
    const JsonValue member = object.Find(key);
    if (!member) {
        if (!whenMissing) {
            AddError(findings, MemberPlace(place, key), "missing; expected a text");
        }
        return whenMissing.value_or("");
    }
    if (!member.Is(JsonKind::kText)) {
        AddError(findings, MemberPlace(place, key), Shown(member) + " is no text in quotes");
        return "";
    }
    if (!whenMissing && member.Text().empty()) {
        AddError(findings, MemberPlace(place, key), "is empty; expected a text");
    }
    return std::string(member.Text());
}

std::optional<std::int64_t> ReadNumber(const JsonValue& object, const std::string& place, const char* key,
                                       std::int64_t least, std::int64_t most, std::optional<std::int64_t> whenMissing,
                                       Findings& findings) {
    const std::string expected =
        "expected a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    const JsonValue member = object.Find(key);
    if (!member) {
        if (!whenMissing) {
            AddError(findings, MemberPlace(place, key), "missing; " + expected);
        }
        return whenMissing;
    }
    const std::optional<std::int64_t> number = member.WholeNumber();
    if (!number || *number < least || *number > most) {
        AddError(findings, MemberPlace(place, key), "is " + Shown(member) + "; " + expected);
        return std::nullopt;
    }
    return number;
}

}  // namespace zel::tools
