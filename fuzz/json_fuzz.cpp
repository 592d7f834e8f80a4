// JSON messages for the sample dictionary and generated ones: if a message can be encoded, it decodes to JSON that
// encodes to the same bytes. Also captures and hex dumps of any bytes, shown in every form.
#include <cstring>
#include <memory>
#include <optional>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "fuzz/generated_message.h"
#include "fuzz/generated_source.h"
#include "tools/capture/capture_decoder.h"
#include "tools/capture/message_writer.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/io/descriptor.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_file.h"
#include "tools/text/message_error.h"
#include "zeldata/image_check.h"
#include "zeldata/message_table.h"

namespace zel::fuzz {

namespace {

constexpr unsigned kMostFrames = 64;

class Dictionary {
public:
    explicit Dictionary(const tools::DictionarySource& source) : image_(tools::BuildDictionaryImage(source)) {
        image::ImageView view;
        image::ImageFault fault{};
        Check(image::CheckImage(image_.data(), image_.size(), view, fault), fault.text);
        nodes_ = std::make_unique<char[]>(image::MessageTableSize(view));
        tables_ = {view.dictionary, image::LinkMessageTable(view, nodes_.get()), view};
        catalog_.emplace(tables_);
        for (const ZELTypeNode* type = tables_.messages; type != nullptr; type = type->next) {
            for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
                kinds_.push_back(catalog_->FindMessage(type->type, node->subType));
            }
        }
    }
    const tools::DictionaryTables& tables() const { return tables_; }
    const tools::Catalog& catalog() const { return *catalog_; }
    const std::vector<const tools::CatalogMessage*>& kinds() const { return kinds_; }

private:
    std::vector<char> image_;
    std::unique_ptr<char[]> nodes_;
    tools::DictionaryTables tables_{};
    std::optional<tools::Catalog> catalog_;
    std::vector<const tools::CatalogMessage*> kinds_;
};

const Dictionary& SampleDictionary() {
    static const Dictionary dictionary = [] {
        tools::Findings findings;
        const tools::DictionarySource source = tools::ReadSourceFile(ZEL_SOURCE_DIR "/zeldata/sample.json", findings);
        Check(CountErrors(findings) == 0, "the sample dictionary can be read");
        return Dictionary(source);
    }();
    return dictionary;
}

class Run {
public:
    Run(Input& input, const Dictionary& dictionary)
        : input_(input), catalog_(dictionary.catalog()), kinds_(dictionary.kinds()) {
        UseTables(dictionary.tables().fields, dictionary.tables().messages);
    }
    ~Run() {
        StopUsingTables();
        ReleasePlans();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    void Go() {
        const int kind = input_.Below(8);
        if (kind == 0) {
            return CheckLine(input_.Bytes(6000));
        }
        if (kind < 6) {
            std::string line = Line();
            if (kind == 5) {
                Damage(input_, line, 0);
            }
            return CheckLine(line);
        }
        std::string capture = Capture();
        if (kind == 6) {
            return Read(Memory(capture));
        }
        CheckHex(capture);
        Read(tools::HexInput(Memory(Dump(capture)), [](const std::string& /*text*/) {}));
    }

private:
    std::string Line() {
        if (kinds_.empty()) {
            return "{}";
        }
        return GenerateMessage(input_, *kinds_[input_.Byte() % kinds_.size()]);
    }

    // The bytes of a line, or nothing when it cannot be written.
    std::optional<std::string> Encode(const std::string& line) {
        tools::Findings findings;
        const nlohmann::json json = tools::ParseJson(line, findings);
        if (!findings.empty()) {
            return std::nullopt;
        }
        tools::MessageWriter writer(catalog_);
        try {
            return std::string(writer.Write(json));
        } catch (const tools::MessageError& error) {
            Check(error.what()[0] != '\0', "a refused line has a reason");
            return std::nullopt;
        }
    }

    struct Decoded {
        std::string text;
        bool isTold;  // a fault was reported
    };

    Decoded Decode(const tools::Frame& frame, tools::DecodedForm form) {
        tools::ByteOutput output{tools::kStandardError, ""};
        tools::ErrorLines errors("", output);
        const std::set<std::uint16_t> streams = {201, 202, 9, 10};
        tools::CaptureDecoder decoder(&catalog_, form, streams, output, errors);
        decoder.Decode(frame);
        decoder.Finish();
        return {output.text, errors.any()};
    }

    // In format 1 no id tells the receiver what is missing. What one of the later slots of an id held comes back in the
    // first: where the later one is mandatory, nobody can send that.
    static bool LosesNothing(const tools::Catalog& catalog, const ZelMsgStruct& header) {
        const tools::CatalogMessage* kind = catalog.FindMessage(header.msgType, header.subType);
        if (header.format != kValueOnly) {
            std::set<const tools::CatalogField*> listed;
            for (const tools::CatalogEntry& entry : kind->entries) {
                listed.insert(entry.field);
            }
            return header.format <= kIdLengthAndValue && listed.size() == kind->entries.size();
        }
        const auto isEmpty = [](const tools::CatalogEntry& entry) { return entry.field->type == kZELBytes10; };
        return header.version == 0 && std::none_of(kind->entries.begin(), kind->entries.end(), isEmpty);
    }

    // A message without a frame may look like one by chance, but the length hardly fits.
    static tools::Frame FrameOf(const std::string& bytes) {
        const short format = FrameFormatOf(bytes.data());
        auto kind = tools::FrameKind::kNone;
        if (bytes[0] == kSoh && (format == kShortFrame || format == kLongFrame) &&
            MessageOffset(format) + FrameLengthOf(bytes.data(), format) == static_cast<long>(bytes.size())) {
            kind = format == kShortFrame ? tools::FrameKind::kShort : tools::FrameKind::kLong;
        }
        return {bytes.data(), bytes.size(), kind, 0, 1};
    }

    void CheckLine(const std::string& line) {
        const std::optional<std::string> bytes = Encode(line);
        if (!bytes) {
            return;
        }
        const tools::Frame frame = FrameOf(*bytes);
        Reader message{frame.Message().data(), bytes->data() + bytes->size()};
        HeaderView header{};
        Check(ViewHeader(message, header), "each message has a header");
        const Decoded decoded = Decode(frame, tools::DecodedForm::kJson);
        if (decoded.isTold || !LosesNothing(catalog_, header.numbers)) {
            return;
        }
        const std::optional<std::string> again = Encode(decoded.text);
        Check(again.has_value(), "what a message decodes to can be encoded");
        Check(again == bytes, "what a message decodes to encodes to the same bytes");
    }

    std::string Capture() {
        std::string capture;
        for (int count = input_.Below(4); count >= 0; --count) {
            const int kind = input_.Below(4);
            std::string frame = kind == 0 ? input_.Bytes(input_.Byte()) : Encode(Line()).value_or("");
            if (kind > 1) {
                Damage(input_, frame, 0);
                // Corrects the length.
                if (frame.size() > 6 && input_.Below(8) != 0) {
                    const std::size_t size = frame.size() - (frame[1] == 0x10 ? 4 : 6);
                    frame[2] = static_cast<char>(size);
                    frame[3] = static_cast<char>(size >> 8U);
                }
            }
            capture += frame;
        }
        return capture;
    }

    tools::ByteInput Memory(std::string bytes) {
        return [this, bytes = std::move(bytes), at = std::size_t{0}](char* to, std::size_t size) mutable {
            const std::size_t few = static_cast<std::size_t>(input_.Byte()) + 1;
            const std::size_t count = bytes.copy(to, input_.IsEmpty() ? size : std::min(size, few), at);
            at += count;
            return count;
        };
    }

    void Read(tools::ByteInput bytes) {
        const auto form = static_cast<tools::DecodedForm>(input_.Below(4));
        const bool isUnframed = input_.OneIn(8);
        tools::FrameReader reader(std::move(bytes));
        for (unsigned frames = 0; frames < kMostFrames; ++frames) {
            tools::Frame frame{};
            std::string fault;
            const tools::FrameState state = isUnframed ? reader.Rest(frame, fault) : reader.Next(frame, fault);
            if (state == tools::FrameState::kEnd) {
                return;
            }
            if (state == tools::FrameState::kFrame) {
                Show(frame, form);
                continue;
            }
            Check(!fault.empty(), "a refused frame has a reason");
            if (state == tools::FrameState::kLost && (isUnframed || !reader.Resynchronise())) {
                return;
            }
        }
    }

    void Show(const tools::Frame& read, tools::DecodedForm form) {
        // Exactly the size of the frame.
        const auto exact = std::make_unique<char[]>(read.size);
        std::memcpy(exact.get(), read.bytes, read.size);
        tools::Frame frame = read;
        frame.bytes = exact.get();
        const Decoded decoded = Decode(frame, form);
        if (form != tools::DecodedForm::kJson || decoded.isTold) {
            return;
        }
        tools::Findings findings;
        const nlohmann::json json = tools::ParseJson(decoded.text, findings);
        Check(findings.empty(), "what a message decodes to is JSON");
        // The message may not be one of ours, but its JSON must encode and decode to the same JSON.
        CheckLine(decoded.text);
    }

    // As in a hex dump.
    std::string Dump(const std::string& bytes) {
        std::string text;
        const std::size_t width = static_cast<std::size_t>(input_.Below(32)) + 1;
        const bool hasOffsets = input_.Below(2) == 0;
        for (std::size_t at = 0; at < bytes.size(); at += width) {
            const std::string line = bytes.substr(at, width);
            if (hasOffsets) {
                const char offset[] = {static_cast<char>(at >> 8U), static_cast<char>(at)};
                tools::AppendHex(text, offset, 2);
                text += ": ";
            }
            tools::AppendSpacedHex(text, line.data(), line.size());
            if (input_.OneIn(4)) {
                text += "  " + std::string(line.size(), '.');
            }
            text += '\n';
        }
        if (input_.Below(2) == 0) {
            Damage(input_, text, 0);
        }
        return text;
    }

    static void CheckHex(const std::string& bytes) {
        std::string digits;
        std::string parsed;
        std::string fault;
        tools::AppendHex(digits, bytes.data(), bytes.size());
        Check(tools::ParseHex(digits, parsed) && parsed == bytes, "hex digits are those of their bytes");
        digits.clear();
        parsed.clear();
        tools::AppendSpacedHex(digits, bytes.data(), bytes.size());
        Check(tools::HexLines().Read(digits, parsed, fault) && parsed == bytes, "a line of hex is that of its bytes");
    }

    Input& input_;
    const tools::Catalog& catalog_;
    const std::vector<const tools::CatalogMessage*>& kinds_;
};

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    Input input(data, size);
    if (input.Below(4) != 3) {
        Run(input, SampleDictionary()).Go();
        return 0;
    }
    zel::tools::Findings findings;
    const zel::tools::DictionarySource source = CheckedSource(GenerateSource(input, false), findings);
    if (CountErrors(findings) == 0) {
        const Dictionary dictionary(source);
        Run(input, dictionary).Go();
    }
    return 0;
}
