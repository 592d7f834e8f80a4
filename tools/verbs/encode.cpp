#include <memory>
#include <string>
#include <utility>

#include "tools/dictionary/loaded_dictionary.h"
#include "tools/io/byte_input.h"
#include "tools/io/byte_output.h"
#include "tools/io/descriptor.h"
#include "tools/io/line_reader.h"
#include "tools/io/progress.h"
#include "tools/io/status.h"
#include "tools/io/terminal.h"
#include "tools/message/message_writer.h"
#include "tools/text/error_lines.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_document.h"
#include "tools/text/message_error.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

namespace {

struct EncodeOptions {
    std::string input = "-";
    std::string dictionary;
    bool hex = false;
    bool lenient = false;
};

// Far longer than any message, with the longest names and one value on each line.
constexpr std::size_t kLongestMessage = std::size_t{4} << 20U;

class Encoder {
public:
    Encoder(const EncodeOptions& options, const Catalog& catalog, ByteInput input, Progress& progress,
            ByteOutput& output, ErrorLines& errors)
        : hex_(options.hex),
          writer_(catalog, options.lenient ? Reading::kLenient : Reading::kStrict),
          lines_(std::move(input)),
          progress_(progress),
          output_(output),
          errors_(errors) {}

    // A message begins on a line of its own and goes on over further ones until it is complete. Whatever is wrong with
    // it, a line that begins with "{" begins the next.
    void EncodeAll() {
        while (HasLine()) {
            if (line_.text.find_first_not_of(" \t\r") == std::string::npos) {
                hasLine_ = false;
            } else {
                EncodeMessage();
            }
        }
    }

private:
    // A line that no message has taken yet.
    bool HasLine() {
        if (!hasLine_ && !isEnd_) {
            hasLine_ = lines_.Next(line_);
            isEnd_ = !hasLine_;
            progress_.Show(line_.offset);
        }
        return hasLine_;
    }

    void EncodeMessage() {
        const std::uint64_t offset = line_.offset;
        ++number_;
        Findings findings;
        try {
            document_.Read([this](std::string& text) { return AppendLine(text); }, findings);
            if (!findings.empty()) {
                const Finding& first = findings.front();
                throw MessageError(first.place + (first.place.empty() ? "" : ": ") + first.text);
            }
            Write(writer_.Write(document_.root()));
        } catch (const MessageError& error) {
            errors_.AddForMessage(offset, number_, error.what());
        }
        while (!document_.root() && HasLine() && !line_.text.starts_with('{')) {
            hasLine_ = false;
        }
    }

    bool AppendLine(std::string& text) {
        if (!HasLine() || (!text.empty() && line_.text.starts_with('{'))) {
            return false;
        }
        hasLine_ = false;
        if (line_.isCut || text.size() + line_.text.size() >= kLongestMessage) {
            throw MessageError("is longer than " + std::to_string(kLongestMessage) +
                               " bytes; no message needs so many");
        }
        text += line_.text;
        text += '\n';
        return true;
    }

    void Write(std::string_view bytes) {
        if (hex_) {
            AppendSpacedHex(output_.text, bytes.data(), bytes.size());
            output_.text += '\n';
        } else {
            output_.text += bytes;
        }
        FlushWhenLarge(output_);
    }

    bool hex_;
    MessageWriter writer_;
    LineReader lines_;
    Progress& progress_;
    ByteOutput& output_;
    ErrorLines& errors_;
    JsonDocument document_;
    Line line_{};
    bool hasLine_ = false;
    bool isEnd_ = false;
    std::uint64_t number_ = 0;  // of the message that began last
};

int Encode(const EncodeOptions& options) {
    if (!options.hex && IsTerminal(Stream::kOutput)) {
        throw UsageError("encode: writes bytes that no terminal shows; send them elsewhere, or use --hex");
    }
    ByteOutput output{kStandardOutput, ""};
    InputFile file(options.input);
    const LoadedDictionary dictionary(options.dictionary);
    const Catalog catalog(dictionary.tables());
    ErrorLines errors(file.name(), output);
    Progress progress(file.Size());
    // What was written is seen before the next read, which may wait.
    const auto read = [&file, &output](char* to, std::size_t size) {
        Flush(output);
        return file.Read(to, size);
    };
    try {
        Encoder(options, catalog, read, progress, output, errors).EncodeAll();
    } catch (const InputError& error) {
        errors.Add(error.what());
    }
    Flush(output);
    return errors.any() ? kStatusDiffers : kStatusGood;
}

}  // namespace

Verb EncodeVerb() {
    auto options = std::make_shared<EncodeOptions>();
    return {.name = "encode",
            .summary = "Write messages from JSON, one object after the other",
            .options = {{"FILE", &options->input,
                         "Messages as 'zel decode --json' writes them; - is standard input (default)"},
                        DictionaryOption(&options->dictionary),
                        {"--hex", &options->hex, "Write hex text, one line a message, instead of bytes"},
                        {"--lenient", &options->lenient,
                         "Take whatever the library reads as money, and days that no calendar has"}},
            .footer =
                "Examples:\n"
                "  zel sample --count 5 > orders.jsonl\n"
                "  zel encode orders.jsonl > orders.zel\n"
                "  echo '{\"name\":\"NOTICE\",\"fields\":{\"HEADLINE\":\"Closed\"}}' | zel encode --hex\n"
                "  zel decode --json orders.zel | sed 's/\"RYE\"/\"OATS\"/' | zel encode > changed.zel\n"
                "  zel decode --json orders.zel | jq 'select(.fields.SYMBOL == \"RYE\")' | zel encode > rye.zel\n"
                "Exit status: 0 all messages good, 1 some bad, 2 wrong usage, no dictionary or no input.",
            .run = [options] { return Encode(*options); }};
}

}  // namespace zel::tools
