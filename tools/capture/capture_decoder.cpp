#include "tools/capture/capture_decoder.h"

#include "tools/capture/message_csv.h"
#include "tools/capture/message_listing.h"
#include "tools/text/complaint.h"
#include "tools/text/text_table.h"

namespace zel::tools {

CaptureDecoder::CaptureDecoder(const Catalog* catalog, DecodedView view, ByteOutput& output, ErrorLines& errors)
    : catalog_(catalog), view_(std::move(view)), output_(output), errors_(errors) {
    if (catalog_ != nullptr) {
        reader_.emplace(*catalog_);
    }
    for (const CatalogField* field : view_.fields) {
        fieldIds_.insert(field->id);
    }
    if (view_.form == DecodedForm::kCsv) {
        AppendCsvHead(output_.text, view_.fields, view_.hasFiles, view_.hasOffsets);
    }
}

void CaptureDecoder::Begin(const std::string& file) {
    file_ = file;
    notWholeEnd_ = 0;
    if (view_.hasFiles && IsForPeople()) {
        output_.text += "==> ";
        output_.text += Printable(file);
        output_.text += " <==\n\n";
    }
}

bool CaptureDecoder::IsForPeople() const {
    return view_.form == DecodedForm::kListing || view_.form == DecodedForm::kRaw ||
           view_.form == DecodedForm::kAnnotated;
}

// Counts what is selected.
bool CaptureDecoder::IsWanted(const ReceivedMessage& message, bool isRead) {
    if (!view_.selection.WantsType(message.hasHeader ? &message.header.numbers : nullptr) ||
        !view_.selection.WantsContent(isRead ? message.content : nullptr)) {
        return false;
    }
    ++selected_;
    return selected_ > view_.skip;
}

void CaptureDecoder::Complain(const Frame& frame, const std::string& text) {
    errors_.AddForMessage(frame.offset, frame.number, text);
}

void CaptureDecoder::Decode(Frame frame, FrameReader* resynchronised) {
    // A frame inside one that was not read whole ends where the next begins: so no byte is read more than twice.
    const bool isInner = frame.offset < notWholeEnd_;
    bool isCut = resynchronised != nullptr && isInner && resynchronised->CutAtInnerFrame(frame);
    const bool isRaw = view_.form == DecodedForm::kRaw || catalog_ == nullptr;
    Reader payload{};
    ReceivedMessage message{};
    std::string fault;
    const bool isRead = isRaw ? ViewMessage(frame, message, payload) : reader_->Read(frame, message, fault);
    if (!isRead || !fault.empty()) {
        Complain(frame, isRaw ? "no header" : fault);
    }
    const bool isWhole =
        isRead && fault.empty() && (!isRaw || resynchronised == nullptr || resynchronised->IsFollowedByFrame(frame));
    if (resynchronised != nullptr && !isInner && !isWhole) {
        notWholeEnd_ = frame.offset + frame.size;
        isCut = resynchronised->CutAtInnerFrame(frame);
    }
    if (isCut) {
        Complain(frame,
                 "another frame begins inside it; goes on at offset " + std::to_string(frame.offset + frame.size));
    }
    message.size = frame.size;
    if (!view_.hasOffsets) {
        message.offset.reset();
    }
    if (IsWanted(message, isRead)) {
        if (view_.form == DecodedForm::kAnnotated || (!isRead && IsForPeople())) {
            Annotate(frame, message);
        } else if (view_.form == DecodedForm::kSummary || view_.form == DecodedForm::kSummaryJson) {
            summary_.Add(isRead ? message.kind : nullptr, file_, frame.offset, frame.size);
        } else if (isRead) {
            Show(message, payload);
        }
    }
    FlushWhenLarge(output_);
}

void CaptureDecoder::ShowCut(const Frame& frame) {
    ReceivedMessage message{};
    if (frame.size != 0 && IsForPeople() && IsWanted(message, false)) {
        message.offset = view_.hasOffsets ? std::optional(frame.offset) : std::nullopt;
        message.number = frame.number;
        message.size = frame.size;
        Annotate(frame, message);
    }
}

void CaptureDecoder::Annotate(const Frame& frame, const ReceivedMessage& message) {
    AppendAnnotated(output_.text, message, TakeApart(catalog_, {frame.bytes, frame.size}, frame.kind, room_));
}

void CaptureDecoder::Show(const ReceivedMessage& message, const Reader& payload) {
    if (view_.form == DecodedForm::kRaw) {
        AppendRawListing(output_.text, message, payload, room_);
    } else if (view_.form == DecodedForm::kCsv) {
        AppendCsvRows(output_.text, message, view_.fields, view_.hasFiles ? file_ : "");
    } else if (catalog_ != nullptr && view_.form == DecodedForm::kJson) {
        AppendMessageJson(output_.text, *catalog_, message, {fieldIds_, view_.streams});
    } else if (catalog_ != nullptr) {
        AppendListing(output_.text, *catalog_, message, view_.streams);
    }
}

void CaptureDecoder::AppendSummary(std::string& out) const {
    if (catalog_ != nullptr && view_.form == DecodedForm::kSummary) {
        summary_.AppendTable(out, *catalog_);
    } else if (catalog_ != nullptr && view_.form == DecodedForm::kSummaryJson) {
        summary_.AppendJson(out, *catalog_, view_.hasFiles);
    }
}

}  // namespace zel::tools
