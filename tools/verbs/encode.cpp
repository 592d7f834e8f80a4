#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/capture/message_writer.h"
#include "tools/dictionary/loaded_dictionary.h"
#include "tools/io/byte_input.h"
#include "tools/io/byte_output.h"
#include "tools/io/descriptor.h"
#include "tools/io/error_lines.h"
#include "tools/io/line_reader.h"
#include "tools/io/progress.h"
#include "tools/io/status.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_file.h"
#include "tools/text/message_error.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

namespace {

struct EncodeOptions {
    std::string input = "-";
    std::string dictionary;
    bool hex = false;
};

nlohmann::json ParseLine(const std::string& line) {
    Findings findings;
    nlohmann::json json = ParseJson(line, findings);
    if (findings.empty()) {
        return json;
    }
    throw MessageError(findings.front().place + (findings.front().place.empty() ? "" : ": ") + findings.front().text);
}

void EncodeLines(const EncodeOptions& options, LineReader& reader, MessageWriter& writer, ByteOutput& output,
                 ErrorLines& errors, Progress& progress) {
    std::uint64_t number = 0;
    for (Line line; reader.Next(line);) {
        if (line.text.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        ++number;
        try {
            if (line.isCut) {
                throw MessageError("the line is longer than any message needs");
            }
            const std::string_view bytes = writer.Write(ParseLine(line.text));
            if (options.hex) {
                AppendSpacedHex(output.text, bytes.data(), bytes.size());
                output.text += '\n';
            } else {
                output.text += bytes;
            }
            FlushWhenLarge(output);
        } catch (const MessageError& error) {
            errors.AddForMessage(line.offset, number, error.what());
        }
        progress.Show(line.offset);
    }
}

int Encode(const EncodeOptions& options) {
    ByteOutput output{kStandardOutput, ""};
    InputFile file(options.input);
    const LoadedDictionary dictionary(options.dictionary);
    const Catalog catalog(dictionary.tables());
    ErrorLines errors(file.name(), output);
    MessageWriter writer(catalog);
    // What was written is seen before the next read, which may wait.
    LineReader reader([&file, &output](char* to, std::size_t size) {
        Flush(output);
        return file.Read(to, size);
    });
    Progress progress(file.Size());
    try {
        EncodeLines(options, reader, writer, output, errors, progress);
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
            .summary = "Write messages from JSON, one object a line",
            .options = {{"FILE", &options->input,
                         "Messages as 'zel decode --json' writes them; - is standard input (default)"},
                        DictionaryOption(&options->dictionary),
                        {"--hex", &options->hex, "Write hex text, one line a message, instead of bytes"}},
            .footer =
                "Examples:\n"
                "  zel encode examples/orders.jsonl > orders.zel\n"
                "  echo '{\"name\":\"NOTICE\",\"fields\":{\"HEADLINE\":\"Closed\"}}' | zel encode --hex\n"
                "  zel decode --json capture.zel | sed 's/\"RYE\"/\"OATS\"/' | zel encode > changed.zel\n"
                "Exit status: 0 all messages good, 1 some bad, 2 wrong usage, no dictionary or no input.",
            .run = [options] { return Encode(*options); }};
}

}  // namespace zel::tools
