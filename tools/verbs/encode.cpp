#include <memory>
#include <string>

#include "tools/capture/message_writer.h"
#include "tools/dictionary/loaded_dictionary.h"
#include "tools/io/byte_input.h"
#include "tools/io/byte_output.h"
#include "tools/io/descriptor.h"
#include "tools/io/line_reader.h"
#include "tools/io/progress.h"
#include "tools/io/status.h"
#include "tools/io/terminal.h"
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
    Encoder(const EncodeOptions& options, const Catalog& catalog, ByteOutput& output, ErrorLines& errors)
        : hex_(options.hex),
          writer_(catalog, options.lenient ? Reading::kLenient : Reading::kStrict),
          output_(output),
          errors_(errors) {}

    // A message begins on a line of its own and goes on over further ones until it is complete. Whatever is wrong with
    // it, a line that begins with "{" begins the next.
    void Take(const Line& line) {
        if (line.text.starts_with('{')) {
            End();
        }
        if (state_ == State::kLost) {
            return;
        }
        if (state_ == State::kBetween) {
            if (line.text.find_first_not_of(" \t\r") == std::string::npos) {
                return;
            }
            Begin(line.offset);
        }
        try {
            Read(line);
        } catch (const MessageError& error) {
            errors_.AddForMessage(offset_, number_, error.what());
        }
    }

    // Of the text, or of a message whose further lines do not come.
    void End() {
        if (state_ == State::kWithin) {
            (void)document_.End(findings_);
            errors_.AddForMessage(offset_, number_, Explained());
        }
        state_ = State::kBetween;
    }

private:
    enum class State { kBetween, kWithin, kLost };

    void Begin(std::uint64_t offset) {
        document_.Clear();
        findings_.clear();
        offset_ = offset;
        ++number_;
    }

    void Read(const Line& line) {
        const bool goesOn = state_ == State::kWithin;
        state_ = State::kLost;
        if (line.isCut || document_.size() + line.text.size() >= kLongestMessage) {
            throw MessageError("is longer than " + std::to_string(kLongestMessage) +
                               " bytes; no message needs so many");
        }
        if (goesOn) {
            (void)document_.Read("\n", findings_);
        }
        const JsonState read = document_.Read(line.text, findings_);
        if (!findings_.empty()) {
            throw MessageError(Explained());
        }
        state_ = read == JsonState::kUnfinished ? State::kWithin : State::kBetween;
        if (read == JsonState::kComplete) {
            Write(writer_.Write(document_.root()));
        }
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

    std::string Explained() const {
        const Finding& first = findings_.front();
        return first.place + (first.place.empty() ? "" : ": ") + first.text;
    }

    bool hex_;
    MessageWriter writer_;
    ByteOutput& output_;
    ErrorLines& errors_;
    JsonDocument document_;
    Findings findings_;
    State state_ = State::kBetween;
    std::uint64_t offset_ = 0;  // of the message that began last
    std::uint64_t number_ = 0;
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
    Encoder encoder(options, catalog, output, errors);
    // What was written is seen before the next read, which may wait.
    LineReader reader([&file, &output](char* to, std::size_t size) {
        Flush(output);
        return file.Read(to, size);
    });
    Progress progress(file.Size());
    try {
        for (Line line; reader.Next(line);) {
            encoder.Take(line);
            progress.Show(line.offset);
        }
    } catch (const InputError& error) {
        errors.Add(error.what());
    }
    encoder.End();
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
                "  zel encode examples/orders.jsonl > orders.zel\n"
                "  echo '{\"name\":\"NOTICE\",\"fields\":{\"HEADLINE\":\"Closed\"}}' | zel encode --hex\n"
                "  zel decode --json capture.zel | sed 's/\"RYE\"/\"OATS\"/' | zel encode > changed.zel\n"
                "  zel decode --json capture.zel | jq 'select(.fields.SYMBOL == \"RYE\")' | zel encode > rye.zel\n"
                "Exit status: 0 all messages good, 1 some bad, 2 wrong usage, no dictionary or no input.",
            .run = [options] { return Encode(*options); }};
}

}  // namespace zel::tools
