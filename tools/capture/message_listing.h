// A message as a block of lines for people.
#ifndef ZEL_TOOLS_CAPTURE_MESSAGE_LISTING_H
#define ZEL_TOOLS_CAPTURE_MESSAGE_LISTING_H

#include <cstdint>
#include <set>
#include <string>

#include "tools/capture/wire_parts.h"
#include "tools/dictionary/catalog.h"
#include "tools/message/expanded_payload.h"
#include "tools/message/message_json.h"

namespace zel::tools {

// `streams`: ids of the fields whose filter or sort data is to be shown term by term.
void AppendListing(std::string& out, const Catalog& catalog, const ReceivedMessage& message,
                   const std::set<std::uint16_t>& streams);

// A message without a dictionary: the header, and in format 2 each field's id, length and bytes; in the other formats
// the payload's bytes. A compressed payload is expanded.
void AppendRawListing(std::string& out, const ReceivedMessage& message, Reader payload, ExpandedPayload& room);

// The message's bytes beside what they say.
void AppendAnnotated(std::string& out, const ReceivedMessage& message, const std::vector<WirePart>& parts);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_MESSAGE_LISTING_H
