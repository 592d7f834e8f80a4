// Messages as JSON over the sample dictionary: what encodes decodes to JSON that encodes to the same bytes, and so do
// random messages. Captures and hex dumps of any bytes are shown in every form.
#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <set>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "tests/support/made_message.h"
#include "tests/support/random_message.h"
#include "tools/capture/capture_decoder.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/io/descriptor.h"
#include "tools/message/message_writer.h"
#include "tools/text/hex_dump.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_document.h"
#include "tools/text/message_error.h"
#include "zeldata/image_check.h"
#include "zeldata/message_table.h"

namespace zel::fuzz {

namespace {

using test::Random;

// The sample dictionary, in use from the first time on.
class Dictionary {
public:
    Dictionary() {
        tools::Findings findings;
        const tools::DictionarySource source = tools::ReadSourceFile(ZEL_SOURCE_DIR "/zeldata/sample.json", findings);
        image_ = tools::BuildDictionaryImage(source);
        image::ImageView view;
        image::ImageFault fault{};
        Check(image::CheckImage(image_.data(), image_.size(), view, fault), fault.text);
        nodes_ = std::make_unique<char[]>(image::MessageTableSize(view));
        tables_ = {view.dictionary, image::LinkMessageTable(view, nodes_.get())};
        catalog_.emplace(tools::DictionaryTables{tables_.dictionary, tables_.messages, view});
        UseTables(tables_.dictionary, tables_.messages);
    }

    static const Dictionary& Get() {
        static const Dictionary dictionary;
        return dictionary;
    }

    const test::Tables& tables() const { return tables_; }
    const tools::Catalog& catalog() const { return *catalog_; }

private:
    std::vector<char> image_;
    std::unique_ptr<char[]> nodes_;
    test::Tables tables_{};
    std::optional<tools::Catalog> catalog_;
};

// The bytes of a line, or nothing when it cannot be written.
std::optional<std::string> Encode(const std::string& line) {
    tools::Findings findings;
    const tools::JsonDocument document = tools::ParseJson(line, findings);
    if (!findings.empty()) {
        return std::nullopt;
    }
    tools::MessageWriter writer(Dictionary::Get().catalog(), tools::Reading::kStrict);
    try {
        return std::string(writer.Write(document.root()));
    } catch (const tools::MessageError& error) {
        Check(error.what()[0] != '\0', "a refused line has a reason");
        return std::nullopt;
    }
}

// In a form; `isTold`: something was wrong with it.
std::string Decode(const tools::Frame& frame, tools::DecodedForm form, bool* isTold) {
    tools::ByteOutput output{tools::kStandardError, ""};
    tools::ErrorLines errors("", output);
    tools::CaptureDecoder decoder(&Dictionary::Get().catalog(), {.form = form, .streams = {201, 202}}, output, errors);
    decoder.Decode(frame, nullptr);
    decoder.AppendSummary(output.text);
    *isTold = errors.any();
    return output.text;
}

// In format 1 no id tells the receiver what is missing. What one of the later slots of an id held comes back in the
// first: where the later one is mandatory, nobody can send that.
bool LosesNothing(const ZelMsgStruct& header) {
    const tools::CatalogMessage* kind = Dictionary::Get().catalog().FindMessage(header.msgType, header.subType);
    std::set<const tools::CatalogField*> listed;
    return header.format <= kIdLengthAndValue &&
           std::all_of(kind->entries.begin(), kind->entries.end(), [&](const tools::CatalogEntry& entry) {
               return header.format == kValueOnly ? entry.field->type != kZELBytes10 && header.version == 0
                                                  : listed.insert(entry.field).second;
           });
}

// A message without a frame may look like one by chance, but the length hardly fits.
tools::Frame FrameOf(const std::string& bytes) {
    const short format = FrameFormatOf(bytes.data());
    auto kind = tools::FrameKind::kNone;
    if (bytes[0] == kSoh && (format == kShortFrame || format == kLongFrame) &&
        MessageOffset(format) + FrameLengthOf(bytes.data(), format) == static_cast<long>(bytes.size())) {
        kind = format == kShortFrame ? tools::FrameKind::kShort : tools::FrameKind::kLong;
    }
    return {bytes.data(), bytes.size(), kind, 0, 1};
}

// What a frame decodes to encodes to the same bytes.
void CheckBytes(const std::string& bytes, bool isOurs) {
    const tools::Frame frame = FrameOf(bytes);
    Reader message{frame.Message().data(), bytes.data() + bytes.size()};
    HeaderView header{};
    Check(ViewHeader(message, header), "each message has a header");
    bool isTold = false;
    const std::string line = Decode(frame, tools::DecodedForm::kJson, &isTold);
    Check(!isTold || !isOurs, "what an object packed decodes");
    if (!isTold && LosesNothing(header.numbers)) {
        Check(Encode(line) == bytes, "what a message decodes to encodes to the same bytes");
    }
}

void CheckLine(const std::string& line) {
    if (const std::optional<std::string> bytes = Encode(line)) {
        CheckBytes(*bytes, false);
    }
}

std::string RandomFrame(Random& input) {
    std::vector<std::pair<short, const ZELSubTypeNode*>> kinds;
    for (const ZELTypeNode* type = Dictionary::Get().tables().messages; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            kinds.emplace_back(type->type, node);
        }
    }
    const auto& [type, node] = kinds[input.Byte() % kinds.size()];
    const int format = input.Below(3);
    CZELMessage object(0, 0);
    test::FillRandomly(object, Dictionary::Get().tables(), type, *node, static_cast<short>(input.Below(4)), format == 1,
                       input);
    object.message->format = static_cast<unsigned short>(format);
    object.message->userData = input.Byte();
    object.shortFrame = input.Below(2);
    object.sequence = 1;
    return test::Pack(object);
}

// Shows each frame of a capture, which comes in pieces, in a form.
void Read(Random& input, const std::string& capture, bool isHex) {
    const auto form = static_cast<tools::DecodedForm>(input.Below(6));
    const bool isUnframed = input.OneIn(8);
    const auto most = static_cast<std::size_t>(input.Byte()) + 1;
    tools::ByteInput bytes = [&capture, most, at = std::size_t{0}](char* to, std::size_t size) mutable {
        const std::size_t count = capture.copy(to, std::min(size, most), at);
        at += count;
        return count;
    };
    tools::FrameReader reader(isHex ? tools::HexInput(bytes, [](const std::string& /*text*/) {}) : bytes);
    for (int frames = 0; frames < 64; ++frames) {
        tools::Frame frame{};
        std::string fault;
        const tools::FrameState state = isUnframed ? reader.Rest(frame, fault) : reader.Next(frame, fault);
        if (state == tools::FrameState::kEnd) {
            return;
        }
        if (state != tools::FrameState::kFrame) {
            Check(!fault.empty(), "a refused frame has a reason");
            if (state == tools::FrameState::kLost && (isUnframed || !reader.Resynchronise())) {
                return;
            }
            continue;
        }
        // Not a byte more than the frame has.
        const test::ExactCopy exact(std::string_view(frame.bytes, frame.size));
        frame.bytes = exact.data.get();
        bool isTold = false;
        const std::string text = Decode(frame, form, &isTold);
        if (form == tools::DecodedForm::kJson && !isTold) {
            // Whoever built it by other rules, what was read from it once is read from it again.
            CheckLine(text);
        }
    }
}

void Run(Random& input) {
    const int kind = input.Below(8);
    if (kind == 0) {
        return CheckLine(input.Rest());
    }
    const std::string frame = RandomFrame(input);
    if (kind < 3) {
        return frame.empty() ? void() : CheckBytes(frame, true);
    }
    bool isTold = false;
    std::string text = frame;
    if (kind == 3 && !frame.empty()) {
        text = Decode(FrameOf(frame), tools::DecodedForm::kJson, &isTold);
    } else if (kind > 5) {
        text.clear();
        tools::AppendSpacedHex(text, frame.data(), frame.size());
    }
    Random choices(input.Long());
    Damage(input, text);
    kind == 3 ? CheckLine(text) : Read(choices, text + frame, kind > 5);
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::test::Random input(data, size);
    zel::fuzz::Run(input);
    return 0;
}
