#include "tools/capture/header_json.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>

#include "core/wire/header.h"
#include "tools/text/findings.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_members.h"
#include "tools/text/json_text.h"
#include "tools/text/message_error.h"

namespace zel::tools {

namespace {

using Json = nlohmann::json;

constexpr const char* kFrameNames[] = {"none", "short", "long"};

constexpr std::int64_t kMostNibble = 15;

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

std::uint16_t ReadFlag(const Json& json, const char* key, std::int64_t other) {
    return static_cast<std::uint16_t>(ReadNumberMember(json, key, 0, kMostNibble, other));
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

void AppendHeaderJson(std::string& out, const HeaderView& header) {
    const ZelMsgStruct& numbers = header.numbers;
    out += "\"serviceId\":[";
    AppendNumber(out, static_cast<std::uint16_t>(numbers.serviceIdHigh));
    out += ',';
    AppendNumber(out, static_cast<std::uint16_t>(numbers.serviceIdLow));
    out += "],\"messageId\":[";
    AppendNumber(out, numbers.msgIdSeq);
    out += ',';
    AppendNumber(out, numbers.msgIdPart2);
    out += ',';
    AppendNumber(out, numbers.msgIdPart3);
    if (header.varUserData == nullptr) {
        out += "],\"userData\":";
        AppendNumber(out, numbers.userData);
    } else {
        out += "],\"varUserData\":\"";
        AppendHex(out, header.varUserData, numbers.varUserDataLen);
        out += '"';
    }
    out += ",\"format\":";
    AppendNumber(out, numbers.format);
    out += ",\"version\":";
    AppendNumber(out, numbers.version);
    out += ",\"packFlags\":";
    AppendNumber(out, numbers.packFlags);
    out += ",\"encryptFlag\":";
    AppendNumber(out, numbers.encryptFlag);
}

GivenHeader ReadHeaderJson(const Json& json) {
    GivenHeader header{};
    ZelMsgStruct& numbers = header.numbers;
    numbers.encryptFlag = ReadFlag(json, "encryptFlag", 0);
    numbers.packFlags = ReadFlag(json, "packFlags", kPackSent);
    numbers.format = ReadFlag(json, "format", 0);
    numbers.version = ReadFlag(json, "version", 0);
    if (const auto member = json.find("serviceId"); member != json.end()) {
        const auto [high, low] = ReadNumbers<2>(*member, "serviceId", {UINT16_MAX, UINT16_MAX});
        numbers.serviceIdHigh = static_cast<short>(high);
        numbers.serviceIdLow = static_cast<short>(low);
    }
    if (const auto member = json.find("messageId"); member != json.end()) {
        const auto [sequence, part2, part3] = ReadNumbers<3>(*member, "messageId", {UINT16_MAX, UINT8_MAX, UINT8_MAX});
        SplitMsgId(sequence << 16U | part2 << 8U | part3, numbers);
        header.hasMessageId = true;
    }
    numbers.userData = static_cast<std::int32_t>(ReadNumberMember(json, "userData", INT32_MIN, INT32_MAX, 0));
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
