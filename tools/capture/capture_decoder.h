// The messages of a capture, one after the other, in the form that the user wants to see.
#ifndef ZEL_TOOLS_CAPTURE_CAPTURE_DECODER_H
#define ZEL_TOOLS_CAPTURE_CAPTURE_DECODER_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/capture/capture_summary.h"
#include "tools/capture/frame_reader.h"
#include "tools/capture/message_reader.h"
#include "tools/capture/message_selection.h"
#include "tools/dictionary/catalog.h"
#include "tools/io/byte_output.h"
#include "tools/message/expanded_payload.h"
#include "tools/message/message_json.h"
#include "tools/text/error_lines.h"

namespace zel::tools {

enum class DecodedForm { kListing, kJson, kSummary, kRaw, kAnnotated, kCsv, kSummaryJson };

// Which messages are shown, and how.
struct DecodedView {
    DecodedForm form;
    std::set<std::uint16_t> streams = {};          // see AppendListing and AppendMessageJson
    std::vector<const CatalogField*> fields = {};  // the columns of kCsv, and what kJson is limited to
    bool hasOffsets = true;
    bool hasFiles = false;  // several: what is shown tells which one it is from
    MessageSelection selection = {};
    std::uint64_t skip = 0;  // of those that are selected
    std::uint64_t count = UINT64_MAX;
};

class CaptureDecoder {
public:
    // Without a catalog, form kRaw or kAnnotated.
    CaptureDecoder(const Catalog* catalog, DecodedView view, ByteOutput& output, ErrorLines& errors);

    // What follows comes from this file.
    void Begin(const std::string& file);
    // The reader that handed it out when frames inside one that is not read whole are to be found, else null.
    void Decode(Frame frame, FrameReader* resynchronised);
    // Shows what there is of a frame that was told to be cut.
    void ShowCut(const Frame& frame);
    // Whether as many as wanted were shown.
    [[nodiscard]] bool IsDone() const { return selected_ >= view_.skip && selected_ - view_.skip >= view_.count; }
    // What the summary says so far; nothing in other forms.
    void AppendSummary(std::string& out) const;

private:
    [[nodiscard]] bool IsForPeople() const;
    bool IsWanted(const ReceivedMessage& message, bool isRead);
    void Show(const ReceivedMessage& message, const Reader& payload);
    void Annotate(const Frame& frame, const ReceivedMessage& message);
    void Complain(const Frame& frame, const std::string& text);

    const Catalog* catalog_;
    DecodedView view_;
    std::set<std::uint16_t> fieldIds_;  // of the view's fields
    ByteOutput& output_;
    ErrorLines& errors_;
    std::optional<MessageReader> reader_;  // not without a dictionary: its construction would complain
    ExpandedPayload room_{};
    CaptureSummary summary_;
    std::string file_;
    std::uint64_t selected_ = 0;
    std::uint64_t notWholeEnd_ = 0;  // of the last frame that was not read whole
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_CAPTURE_DECODER_H
