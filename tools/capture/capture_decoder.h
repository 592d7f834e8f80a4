// The messages of a capture, one after the other, in the form that the user wants to see.
#ifndef ZEL_TOOLS_CAPTURE_CAPTURE_DECODER_H
#define ZEL_TOOLS_CAPTURE_CAPTURE_DECODER_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "tools/capture/expanded_payload.h"
#include "tools/capture/frame_reader.h"
#include "tools/capture/library_reports.h"
#include "tools/capture/message_json.h"
#include "tools/capture/payload_walk.h"
#include "tools/dictionary/catalog.h"
#include "tools/io/byte_output.h"
#include "tools/io/error_lines.h"

namespace zel::tools {

enum class DecodedForm { kListing, kJson, kSummary, kRaw, kAnnotated };

class CaptureDecoder {
public:
    // Without a catalog, form kRaw or kAnnotated.
    CaptureDecoder(const Catalog* catalog, DecodedForm form, std::set<std::uint16_t> streams, ByteOutput& output,
                   ErrorLines& errors);

    // The reader that handed it out when frames inside one that is not read whole are to be found, else null.
    void Decode(Frame frame, FrameReader* resynchronised);
    // Shows what there is of a frame that was told to be cut.
    void ShowCut(const Frame& frame);
    // What is to be said at the end.
    void Finish();

private:
    struct Count {
        std::uint64_t messages;
        std::uint64_t bytes;
    };

    void Show(const Frame& frame, const ReceivedMessage& message);
    void Annotate(const Frame& frame, const ReceivedMessage& message);
    bool View(const Frame& frame, ReceivedMessage& message);
    bool Unpack(const Frame& frame, ReceivedMessage& message);
    void Complain(const Frame& frame, const std::string& text);

    const Catalog* catalog_;
    DecodedForm form_;
    std::set<std::uint16_t> streams_;
    ByteOutput& output_;
    ErrorLines& errors_;
    ReportCollector reports_;
    std::optional<CZELMessage> object_;  // not without a dictionary: its construction would complain
    PayloadFindings findings_;
    ExpandedPayload room_;
    std::map<std::pair<std::int16_t, std::int16_t>, Count> counts_;
    Count bad_{};
    std::uint64_t notWholeEnd_ = 0;  // of the last frame that was not read whole
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_CAPTURE_DECODER_H
