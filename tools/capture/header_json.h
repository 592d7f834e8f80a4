// The frame and the header of a message as members of its JSON form, and back.
#ifndef ZEL_TOOLS_CAPTURE_HEADER_JSON_H
#define ZEL_TOOLS_CAPTURE_HEADER_JSON_H

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "core/wire/header_numbers.h"
#include "tools/capture/frame_kind.h"

namespace zel::tools {

// "frame":"long"
void AppendFrameJson(std::string& out, FrameKind frame);
// Throws MessageError. A message that does not say has a long frame.
[[nodiscard]] FrameKind ReadFrameJson(const nlohmann::json& json);

// The members from "serviceId" on.
void AppendHeaderJson(std::string& out, const HeaderView& header);

struct GivenHeader {
    ZelMsgStruct numbers;  // of the members that the JSON can set
    bool hasMessageId;     // else the library gives one
    bool hasVarUserData;
    std::string varUserData;
};

// Throws MessageError. Members that are missing are 0, but for the flag that every message sent has.
[[nodiscard]] GivenHeader ReadHeaderJson(const nlohmann::json& json);

// The member's whole number in [least, most]; `other` when it is missing. Throws MessageError.
[[nodiscard]] std::int64_t ReadNumberMember(const nlohmann::json& json, const char* key, std::int64_t least,
                                            std::int64_t most, std::int64_t other);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_HEADER_JSON_H
