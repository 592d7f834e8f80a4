#include "tools/capture/capture_decoder.h"

#include <array>
#include <cstdio>

#include "core/wire/compression.h"
#include "tools/capture/message_listing.h"
#include "tools/io/out_of_memory.h"
#include "tools/text/findings.h"

namespace zel::tools {

namespace {

Reader ReaderOf(std::string_view bytes) {
    return {bytes.data(), bytes.data() + bytes.size()};
}

void AppendCount(std::string& out, std::uint64_t messages, std::uint64_t bytes, const std::string& what) {
    std::array<char, 64> numbers;
    (void)std::snprintf(numbers.data(), numbers.size(), "%12llu %16llu  ", static_cast<unsigned long long>(messages),
                        static_cast<unsigned long long>(bytes));
    out += numbers.data();
    out += what;
    out += '\n';
}

}  // namespace

CaptureDecoder::CaptureDecoder(const Catalog* catalog, DecodedForm form, std::set<std::uint16_t> streams,
                               ByteOutput& output, ErrorLines& errors)
    : catalog_(catalog), form_(form), streams_(std::move(streams)), output_(output), errors_(errors) {
    if (catalog_ != nullptr) {
        object_.emplace(short{0}, 0);
    }
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
    const bool isRaw = form_ == DecodedForm::kRaw || catalog_ == nullptr;
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
    if (!isRead) {
        ++bad_.messages;
        bad_.bytes += frame.size;
    }
    if (form_ == DecodedForm::kAnnotated || (!isRead && (isRaw || form_ == DecodedForm::kListing))) {
        Annotate(frame, message);
    } else if (isRead) {
        Show(frame, message);
    }
    FlushWhenLarge(output_);
}

void CaptureDecoder::ShowCut(const Frame& frame) {
    const bool isForPeople = form_ != DecodedForm::kJson && form_ != DecodedForm::kSummary;
    if (isForPeople && frame.size != 0) {
        ReceivedMessage message{};
        message.offset = frame.offset;
        message.number = frame.number;
        message.size = frame.size;
        Annotate(frame, message);
    }
}

void CaptureDecoder::Annotate(const Frame& frame, const ReceivedMessage& message) {
    AppendAnnotated(output_.text, message, TakeApart(catalog_, {frame.bytes, frame.size}, frame.kind, room_));
}

void CaptureDecoder::Show(const Frame& frame, const ReceivedMessage& message) {
    if (form_ == DecodedForm::kRaw) {
        Reader payload = ReaderOf(frame.Message());
        HeaderView header{};
        (void)ViewHeader(payload, header);
        AppendRawListing(output_.text, message, payload, room_);
    } else if (form_ == DecodedForm::kJson) {
        AppendMessageJson(output_.text, message);
    } else if (form_ == DecodedForm::kListing && catalog_ != nullptr) {
        AppendListing(output_.text, *catalog_, message, streams_);
    } else {
        Count& count = counts_[{message.kind->type, message.kind->subType}];
        ++count.messages;
        count.bytes += message.size;
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

void CaptureDecoder::Finish() {
    if (form_ != DecodedForm::kSummary) {
        return;
    }
    std::string& out = output_.text;
    out += "    messages            bytes  type\n";
    Count all = bad_;
    for (const auto& [type, count] : counts_) {
        const CatalogMessage* kind = catalog_->FindMessage(type.first, type.second);
        AppendCount(out, count.messages, count.bytes,
                    std::to_string(type.first) + ' ' + std::to_string(type.second) + "  " + kind->name);
        all.messages += count.messages;
        all.bytes += count.bytes;
    }
    if (bad_.messages != 0) {
        AppendCount(out, bad_.messages, bad_.bytes, "bad");
    }
    AppendCount(out, all.messages, all.bytes, "in all");
}

}  // namespace zel::tools
