#include "tools/message/header_json.h"

#include <algorithm>
#include <array>
#include <optional>

#include "core/wire/header.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_members.h"
#include "tools/text/json_text.h"
#include "tools/text/message_error.h"

namespace zel::tools {

namespace {

constexpr std::string_view kFrameNames[] = {"none", "short", "long"};

constexpr std::int64_t kMostNibble = 15;

// The numbers of an array with a maximum for each.
template <std::size_t Count>
std::array<std::uint32_t, Count> ReadNumbers(const MessageMembers& members, MemberKey key,
                                             const std::array<std::uint32_t, Count>& most) {
    const JsonValue& array = members[key];
    std::array<std::uint32_t, Count> numbers{};
    bool good = array.Is(JsonKind::kArray) && array.size() == Count;
    if (good) {
        std::size_t i = 0;
        for (const JsonValue::Member& element : array) {
            const std::int64_t number = element.value.WholeNumber().value_or(-1);
            good = good && number >= 0 && number <= most[i];
            numbers[i++] = static_cast<std::uint32_t>(number);
        }
    }
    if (good) {
        return numbers;
    }
    std::string expected;
    for (const std::uint32_t each : most) {
        expected += (expected.empty() ? "" : ", ") + std::to_string(each);
    }
    throw MessageError(std::string(MessageMembers::NameOf(key)) + ": is " + Shown(array) +
                       "; expected numbers up to [" + expected + ']');
}

std::uint16_t ReadFlag(const MessageMembers& members, MemberKey key, std::int64_t other) {
    return static_cast<std::uint16_t>(members.Number(key, 0, kMostNibble, other));
}

void ReadVarUserData(const MessageMembers& members, GivenHeader& header) {
    const JsonValue& member = members[MemberKey::kVarUserData];
    if (!member) {
        return;
    }
    if (members[MemberKey::kUserData]) {
        throw MessageError("varUserData: stands beside userData; a header has one of the two");
    }
    if (!member.Is(JsonKind::kText) || !ParseHex(member.Text(), header.varUserData) ||
        header.varUserData.size() > UINT16_MAX) {
        throw MessageError("varUserData: is " + Shown(member) + "; expected pairs of hex digits, at most 65535");
    }
    header.hasVarUserData = true;
}

}  // namespace

void AppendFrameJson(std::string& out, FrameKind frame) {
    out += "\"frame\":\"";
    out += kFrameNames[static_cast<std::size_t>(frame)];
    out += '"';
}

FrameKind ReadFrameJson(const MessageMembers& members) {
    const JsonValue& member = members[MemberKey::kFrame];
    if (!member) {
        return FrameKind::kLong;
    }
    const auto* const found = std::find(std::begin(kFrameNames), std::end(kFrameNames), member.Text());
    if (found == std::end(kFrameNames)) {
        throw MessageError("frame: is " + Shown(member) + R"(; expected "long", "short" or "none")");
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

GivenHeader ReadHeaderJson(const MessageMembers& members) {
    GivenHeader header{};
    ZelMsgStruct& numbers = header.numbers;
    numbers.encryptFlag = ReadFlag(members, MemberKey::kEncryptFlag, 0);
    numbers.packFlags = ReadFlag(members, MemberKey::kPackFlags, kPackSent);
    numbers.format = ReadFlag(members, MemberKey::kFormat, 0);
    numbers.version = ReadFlag(members, MemberKey::kVersion, 0);
    if (members[MemberKey::kServiceId]) {
        const auto [high, low] = ReadNumbers<2>(members, MemberKey::kServiceId, {UINT16_MAX, UINT16_MAX});
        numbers.serviceIdHigh = static_cast<short>(high);
        numbers.serviceIdLow = static_cast<short>(low);
    }
    if (members[MemberKey::kMessageId]) {
        const auto [sequence, part2, part3] =
            ReadNumbers<3>(members, MemberKey::kMessageId, {UINT16_MAX, UINT8_MAX, UINT8_MAX});
        SplitMsgId(sequence << 16U | part2 << 8U | part3, numbers);
        header.hasMessageId = true;
    }
    numbers.userData = static_cast<std::int32_t>(members.Number(MemberKey::kUserData, INT32_MIN, INT32_MAX, 0));
    ReadVarUserData(members, header);
    return header;
}

}  // namespace zel::tools
