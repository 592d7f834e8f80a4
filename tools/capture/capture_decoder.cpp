#include "tools/capture/capture_decoder.h"

#include "tools/capture/message_csv.h"
#include "tools/capture/message_listing.h"
#include "tools/io/out_of_memory.h"
#include "tools/text/complaint.h"
#include "tools/text/text_table.h"

namespace zel::tools {

namespace {

Reader ReaderOf(std::string_view bytes) {
    return {bytes.data(), bytes.data() + bytes.size()};
}

}  // namespace

CaptureDecoder::CaptureDecoder(const Catalog* catalog, DecodedView view, ByteOutput& output, ErrorLines& errors)
    : catalog_(catalog), view_(std::move(view)), output_(output), errors_(errors) {
    if (catalog_ != nullptr) {
        object_.emplace(short{0}, 0);
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
    ReceivedMessage message{frame.offset, frame.number, frame.size, frame.kind,      false,
                            {},           nullptr,      nullptr,    &findings_.order};
    // A frame inside one that was not read whole ends where the next begins: so no byte is read more than twice.
    const bool isInner = frame.offset < notWholeEnd_;
    bool isCut = resynchronised != nullptr && isInner && resynchronised->CutAtInnerFrame(frame);
    const bool isRaw = view_.form == DecodedForm::kRaw || catalog_ == nullptr;
    const bool isRead = isRaw ? View(frame, message) : Unpack(frame, message);
    const bool isWhole = isRead && findings_.lost.empty() &&
                         (!isRaw || resynchronised == nullptr || resynchronised->IsFollowedByFrame(frame));
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
            Show(frame, message);
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

void CaptureDecoder::Show(const Frame& frame, const ReceivedMessage& message) {
    if (view_.form == DecodedForm::kRaw) {
        Reader payload = ReaderOf(frame.Message());
        HeaderView header{};
        (void)ViewHeader(payload, header);
        AppendRawListing(output_.text, message, payload, room_);
    } else if (view_.form == DecodedForm::kJson) {
        AppendMessageJson(output_.text, message, fieldIds_);
    } else if (view_.form == DecodedForm::kCsv) {
        AppendCsvRows(output_.text, message, view_.fields, view_.hasFiles ? file_ : "");
    } else if (catalog_ != nullptr) {
        AppendListing(output_.text, *catalog_, message, view_.streams);
    }
}

bool CaptureDecoder::View(const Frame& frame, ReceivedMessage& message) {
    Reader payload = ReaderOf(frame.Message());
    findings_.lost.clear();
    message.hasHeader = ViewHeader(payload, message.header);
    if (!message.hasHeader) {
        Complain(frame, "no header");
    }
    return message.hasHeader;
}

// False, told to the user, when the library refuses the message. What it passes over is told, too.
bool CaptureDecoder::Unpack(const Frame& frame, ReceivedMessage& message) {
    const std::string_view bytes = frame.Message();
    reports_.Clear();
    const long result =
        WithMemory([&] { return object_->unpackMessageNoFrame(bytes.data(), static_cast<long>(bytes.size())); });
    Reader payload = ReaderOf(bytes);
    message.hasHeader = ViewHeader(payload, message.header);
    const ZelMsgStruct& header = message.header.numbers;
    message.kind = message.hasHeader ? catalog_->FindMessage(header.msgType, header.subType) : nullptr;
    if (result != 0 || !message.hasHeader || message.kind == nullptr) {
        const bool isUnknown = message.hasHeader && message.kind == nullptr;
        Complain(frame, Explain(reports_.reports(), catalog_) +
                            (isUnknown ? " (the dictionary has no message of type " + std::to_string(header.msgType) +
                                             ", sub-type " + std::to_string(header.subType) + ')'
                                       : ""));
        return false;
    }
    message.content = object_->message;
    findings_.order.clear();
    findings_.lost.clear();
    if (!reports_.reports().empty()) {
        findings_.lost = Explain(reports_.reports(), catalog_) + "; left out";
    } else {
        WalkPayload(*catalog_, header, payload, *message.content, findings_);
    }
    if (!findings_.lost.empty()) {
        Complain(frame, findings_.lost);
    }
    return true;
}

void CaptureDecoder::AppendSummary(std::string& out) const {
    if (catalog_ != nullptr && view_.form == DecodedForm::kSummary) {
        summary_.AppendTable(out, *catalog_);
    } else if (catalog_ != nullptr && view_.form == DecodedForm::kSummaryJson) {
        summary_.AppendJson(out, *catalog_, view_.hasFiles);
    }
}

}  // namespace zel::tools
