#include "tools/capture/capture_decoder.h"

#include <array>
#include <cstdio>

#include "tools/capture/message_listing.h"
#include "tools/io/out_of_memory.h"
#include "tools/text/findings.h"

namespace zel::tools {

namespace {

FrameKind KindOf(const Frame& frame) {
    switch (frame.messageAt) {
        case kShortFrameSize:
            return FrameKind::kShort;
        case kLongFrameSize:
            return FrameKind::kLong;
        default:
            return FrameKind::kNone;
    }
}

std::int16_t TypeOf(const HeaderNumbers& header) {
    return static_cast<std::int16_t>(HighHalf(header.msgType));
}

std::int16_t SubTypeOf(const HeaderNumbers& header) {
    return static_cast<std::int16_t>(LowHalf(header.msgType));
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
    errors_.AboutMessage(frame.offset, frame.number, text);
}

void CaptureDecoder::Decode(const Frame& frame) {
    ReceivedMessage message{frame.offset, frame.number, frame.size, KindOf(frame),
                            {},           nullptr,      nullptr,    &findings_.order};
    if (form_ == DecodedForm::kRaw) {
        return DecodeRaw(frame, message);
    }
    if (!Unpack(frame, message)) {
        ++bad_.messages;
        bad_.bytes += frame.size;
        return;
    }
    if (form_ == DecodedForm::kJson) {
        AppendMessageJson(output_.text, message);
    } else if (form_ == DecodedForm::kListing) {
        AppendListing(output_.text, *catalog_, message, streams_);
    } else {
        Count& count = counts_[{message.kind->type, message.kind->subType}];
        ++count.messages;
        count.bytes += frame.size;
    }
    FlushWhenLarge(output_);
}

void CaptureDecoder::DecodeRaw(const Frame& frame, ReceivedMessage& message) {
    const std::string_view bytes(frame.bytes + frame.messageAt, frame.size - frame.messageAt);
    if (!ReadHeader(bytes.data(), bytes.size(), message.header)) {
        return Complain(frame, "no header");
    }
    AppendRawListing(output_.text, message, bytes.substr(message.header.size));
    FlushWhenLarge(output_);
}

// False, told to the user, when the library refuses the message. What it passes over is told, too.
bool CaptureDecoder::Unpack(const Frame& frame, ReceivedMessage& message) {
    const std::string_view bytes(frame.bytes + frame.messageAt, frame.size - frame.messageAt);
    reports_.Clear();
    const long result = WithMemory([&] {
        return message.frame == FrameKind::kNone
                   ? object_->unpackMessageNoFrame(bytes.data(), static_cast<long>(bytes.size()))
                   : object_->unpackMessage(frame.bytes);
    });
    const bool hasHeader = ReadHeader(bytes.data(), bytes.size(), message.header);
    message.kind = catalog_->FindMessage(TypeOf(message.header), SubTypeOf(message.header));
    if (result != 0 || !hasHeader || message.kind == nullptr) {
        const bool isUnknown = hasHeader && message.kind == nullptr;
        Complain(frame,
                 Explain(reports_.reports(), catalog_) +
                     (isUnknown ? " (the dictionary has no message of type " + std::to_string(TypeOf(message.header)) +
                                      ", sub-type " + std::to_string(SubTypeOf(message.header)) + ')'
                                : ""));
        return false;
    }
    message.content = object_->message;
    findings_.order.clear();
    findings_.lost.clear();
    if (!reports_.reports().empty()) {
        findings_.lost = Explain(reports_.reports(), catalog_) + "; left out";
    } else if (!IsCompressed(PackFlags(message.header.flags))) {
        WalkPayload(*catalog_, message.header, bytes.substr(message.header.size), *message.content, findings_);
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
