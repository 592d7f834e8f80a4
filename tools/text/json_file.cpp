#include "tools/text/json_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace zel::tools {

namespace {

using Json = nlohmann::json;

// Far deeper than sources and messages go. Whoever shows or copies a value calls itself for each level.
constexpr std::size_t kMostNested = 64;
struct NestedTooDeep {};

// Of a key, in a place.
constexpr std::size_t kMostShown = 64;

// An object or array that the parser is in.
struct OpenValue {
    bool isArray;
    std::size_t elements;  // begun so far
    std::set<std::string> keys;
    std::string key;  // the last one read
};

std::string Place(const std::vector<OpenValue>& open) {
    std::string place;
    for (const OpenValue& value : open) {
        if (value.isArray) {
            place += '[' + std::to_string(value.elements - 1) + ']';
            continue;
        }
        place += place.empty() ? "" : ".";
        place.append(value.key, 0, kMostShown);
    }
    return place;
}

void NoteElement(std::vector<OpenValue>& open) {
    if (!open.empty() && open.back().isArray) {
        ++open.back().elements;
    }
}

// Follows the parser and reports keys that stand twice. Throws NestedTooDeep.
void FollowParser(std::vector<OpenValue>& open, Json::parse_event_t event, const Json& parsed, Findings& findings) {
    switch (event) {
        case Json::parse_event_t::object_start:
        case Json::parse_event_t::array_start:
            NoteElement(open);
            if (open.size() == kMostNested) {
                throw NestedTooDeep();
            }
            open.push_back({event == Json::parse_event_t::array_start, 0, {}, {}});
            return;
        case Json::parse_event_t::object_end:
        case Json::parse_event_t::array_end:
            open.pop_back();
            return;
        case Json::parse_event_t::value:
            NoteElement(open);
            return;
        case Json::parse_event_t::key:
            open.back().key = parsed.get<std::string>();
            if (!open.back().keys.insert(open.back().key).second) {
                AddError(findings, Place(open), "stands twice in the same object; expected one");
            }
            return;
    }
}

// The parser's message reads "[id] parse error at line L, column C: text".
void AddSyntaxError(const std::string& message, Findings& findings) {
    const std::size_t at = message.find("line ");
    const std::size_t colon = message.find(": ", at);
    AddError(findings, message.substr(at, colon - at), message.substr(colon + 2));
}

}  // namespace

Json ParseJson(const std::string& text, Findings& findings) {
    std::vector<OpenValue> open;
    const auto follow = [&open, &findings](int /*depth*/, Json::parse_event_t event, const Json& parsed) {
        FollowParser(open, event, parsed, findings);
        return true;
    };
    try {
        return Json::parse(text, follow, true, true);
    } catch (const Json::parse_error& error) {
        AddSyntaxError(error.what(), findings);
    } catch (const Json::exception& error) {
        // A number beyond all others, which was not yet told to the follower. The message reads "[id] text".
        NoteElement(open);
        const std::string message = error.what();
        AddError(findings, Place(open), message.substr(message.find(' ') + 1));
    } catch (const NestedTooDeep&) {
        AddError(findings, Place(open), "has more than " + std::to_string(kMostNested) + " values within one another");
    }
    return Json(Json::value_t::discarded);
}

Json ReadJsonFile(const std::string& path, Findings& findings) {
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        AddError(findings, "", "cannot be read: it is a folder");
        return Json(Json::value_t::discarded);
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        AddError(findings, "", std::string("cannot be read: ") + std::strerror(errno));
        return Json(Json::value_t::discarded);
    }
    std::string text;
    std::array<char, 65536> block;
    while (file.read(block.data(), block.size()), file.gcount() > 0) {
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (file.bad()) {
        AddError(findings, "", std::string("cannot be read further: ") + std::strerror(errno));
        return Json(Json::value_t::discarded);
    }
    return ParseJson(text, findings);
}

}  // namespace zel::tools
