// The frame and the header of a message as members of its JSON form, and back.
#ifndef ZEL_TOOLS_MESSAGE_HEADER_JSON_H
#define ZEL_TOOLS_MESSAGE_HEADER_JSON_H

#include <string>

#include "core/wire/header_numbers.h"
#include "tools/message/frame_kind.h"
#include "tools/message/message_members.h"

namespace zel::tools {

// "frame":"long"
void AppendFrameJson(std::string& out, FrameKind frame);
// Throws MessageError. A message that does not say has a long frame.
[[nodiscard]] FrameKind ReadFrameJson(const MessageMembers& members);

// The members from "serviceId" on.
void AppendHeaderJson(std::string& out, const HeaderView& header);

struct GivenHeader {
    ZelMsgStruct numbers;  // of the members that the JSON can set
    bool hasMessageId;     // else the library gives one
    bool hasVarUserData;
    std::string varUserData;
};

// Throws MessageError. Members that are missing are 0, but for the flag that every message sent has.
[[nodiscard]] GivenHeader ReadHeaderJson(const MessageMembers& members);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_HEADER_JSON_H
