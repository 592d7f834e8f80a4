// Frames read as messages of the dictionary, with what the library says of them.
#ifndef ZEL_TOOLS_CAPTURE_MESSAGE_READER_H
#define ZEL_TOOLS_CAPTURE_MESSAGE_READER_H

#include <string>

#include "tools/capture/frame_reader.h"
#include "tools/dictionary/catalog.h"
#include "tools/message/library_reports.h"
#include "tools/message/message_json.h"
#include "tools/message/payload_walk.h"

namespace zel::tools {

// The frame's message without its content; `payload` is what follows the header. False: it has no header.
[[nodiscard]] bool ViewMessage(const Frame& frame, ReceivedMessage& message, Reader& payload);

// One at a time: it takes the library's reports.
class MessageReader {
public:
    explicit MessageReader(const Catalog& catalog) : catalog_(catalog), object_(0, 0) {}

    // False: the library refuses the message, and it has no content. `fault` says why, or what of the message the
    // library has passed over; empty: nothing. The content stays until the next message is read.
    [[nodiscard]] bool Read(const Frame& frame, ReceivedMessage& message, std::string& fault);

private:
    const Catalog& catalog_;
    ReportCollector reports_;
    CZELMessage object_;
    PayloadFindings findings_;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_MESSAGE_READER_H
