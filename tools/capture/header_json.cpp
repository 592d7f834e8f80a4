#include "tools/capture/header_json.h"

#include <algorithm>
#include <array>
#include <optional>

#include "tools/text/findings.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_members.h"
#include "tools/text/json_text.h"
#include "tools/text/message_error.h"

namespace zel::tools {

namespace {

using Json = nlohmann::json;

constexpr const char* kFrameNames[] = {"none", "short", "long"};

// Set on every message that a program sends.
constexpr std::int64_t kPackSent = 1;

constexpr std::int64_t kMostNibble = 15;

void AppendPair(std::string& out, std::uint32_t number) {
    out += '[';
    AppendNumber(out, HighHalf(number));
    out += ',';
    AppendNumber(out, LowHalf(number));
    out += ']';
}

// The numbers of an array with a maximum for each.
template <std::size_t Count>
std::array<std::uint32_t, Count> ReadNumbers(const Json& json, const char* key,
                                             const std::array<std::uint32_t, Count>& most) {
    std::array<std::uint32_t, Count> numbers{};
    bool good = json.is_array() && json.size() == Count;
    for (std::size_t i = 0; good && i < Count; ++i) {
        const std::optional<std::int64_t> number = WholeNumber(json[i]);
        good = number && *number >= 0 && *number <= most[i];
        numbers[i] = good ? static_cast<std::uint32_t>(*number) : 0;
    }
    if (good) {
        return numbers;
    }
    std::string expected;
    for (const std::uint32_t each : most) {
        expected += (expected.empty() ? "" : ", ") + std::to_string(each);
    }
    throw MessageError(std::string(key) + ": is " + Shown(json) + "; expected numbers up to [" + expected + ']');
}

std::uint16_t ReadFlags(const Json& json) {
    std::int64_t flags = 0;
    flags = flags << 4U | ReadNumberMember(json, "encryptFlag", 0, kMostNibble, 0);
    flags = flags << 4U | ReadNumberMember(json, "packFlags", 0, kMostNibble, kPackSent);
    flags = flags << 4U | ReadNumberMember(json, "format", 0, kMostNibble, 0);
    flags = flags << 4U | ReadNumberMember(json, "version", 0, kMostNibble, 0);
    return static_cast<std::uint16_t>(flags);
}

void ReadVarUserData(const Json& json, GivenHeader& header) {
    const auto member = json.find("varUserData");
    if (member == json.end()) {
        return;
    }
    if (json.contains("userData")) {
        throw MessageError("varUserData: stands beside userData; a header has one of the two");
    }
    if (!member->is_string() || !ParseHex(member->get_ref<const std::string&>(), header.varUserData) ||
        header.varUserData.size() > UINT16_MAX) {
        throw MessageError("varUserData: is " + Shown(*member) + "; expected pairs of hex digits, at most 65535");
    }
    header.hasVarUserData = true;
}

}  // namespace

void AppendFrameJson(std::string& out, FrameKind frame) {
    out += "\"frame\":\"";
    out += kFrameNames[static_cast<std::size_t>(frame)];
    out += '"';
}

FrameKind ReadFrameJson(const Json& json) {
    const auto member = json.find("frame");
    if (member == json.end()) {
        return FrameKind::kLong;
    }
    const auto* const found = std::find_if(std::begin(kFrameNames), std::end(kFrameNames),
                                           [&member](const char* name) { return *member == name; });
    if (found == std::end(kFrameNames)) {
        throw MessageError("frame: is " + Shown(*member) + R"(; expected "long", "short" or "none")");
    }
    return static_cast<FrameKind>(found - std::begin(kFrameNames));
}

void AppendHeaderJson(std::string& out, const HeaderNumbers& header) {
    out += "\"serviceId\":";
    AppendPair(out, header.serviceId);
    out += ",\"messageId\":[";
    AppendNumber(out, HighHalf(header.msgId));
    out += ',';
    AppendNumber(out, header.msgId >> 8U & 0xFFU);
    out += ',';
    AppendNumber(out, header.msgId & 0xFFU);
    if (header.varUserData == nullptr) {
        out += "],\"userData\":";
        AppendNumber(out, header.userData);
    } else {
        out += "],\"varUserData\":\"";
        AppendHex(out, header.varUserData, header.varUserDataLength);
        out += '"';
    }
    out += ",\"format\":";
    AppendNumber(out, FieldFormat(header.flags));
    out += ",\"version\":";
    AppendNumber(out, Version(header.flags));
    out += ",\"packFlags\":";
    AppendNumber(out, PackFlags(header.flags));
    out += ",\"encryptFlag\":";
    AppendNumber(out, EncryptFlag(header.flags));
}

GivenHeader ReadHeaderJson(const Json& json) {
    GivenHeader header{};
    header.numbers.flags = ReadFlags(json);
    if (const auto member = json.find("serviceId"); member != json.end()) {
        const auto [high, low] = ReadNumbers<2>(*member, "serviceId", {UINT16_MAX, UINT16_MAX});
        header.numbers.serviceId = high << 16U | low;
    }
    if (const auto member = json.find("messageId"); member != json.end()) {
        const auto [sequence, part2, part3] = ReadNumbers<3>(*member, "messageId", {UINT16_MAX, UINT8_MAX, UINT8_MAX});
        header.numbers.msgId = sequence << 16U | part2 << 8U | part3;
        header.hasMessageId = true;
    }
    header.numbers.userData = static_cast<std::int32_t>(ReadNumberMember(json, "userData", INT32_MIN, INT32_MAX, 0));
    ReadVarUserData(json, header);
    return header;
}

std::int64_t ReadNumberMember(const Json& json, const char* key, std::int64_t least, std::int64_t most,
                              std::int64_t other) {
    Findings findings;
    const std::optional<std::int64_t> number = ReadNumber(json, "", key, least, most, other, findings);
    if (!number) {
        throw MessageError(findings.front().place + ": " + findings.front().text);
    }
    return *number;
}

}  // namespace zel::tools
