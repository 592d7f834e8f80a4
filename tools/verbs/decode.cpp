#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tools/capture/capture_decoder.h"
#include "tools/dictionary/loaded_dictionary.h"
#include "tools/io/byte_input.h"
#include "tools/io/byte_output.h"
#include "tools/io/descriptor.h"
#include "tools/io/error_lines.h"
#include "tools/io/progress.h"
#include "tools/io/status.h"
#include "tools/text/findings.h"
#include "tools/text/hex_dump.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

namespace {

struct DecodeOptions {
    std::string input = "-";
    std::string dictionary;
    std::vector<std::string> streams;
    bool hex = false;
    bool unframed = false;
    bool follow = false;
    bool resync = false;
    bool json = false;
    bool summary = false;
    bool raw = false;
    bool annotate = false;
};

DecodedForm FormOf(const DecodeOptions& options) {
    if (options.annotate) {
        return DecodedForm::kAnnotated;
    }
    if (options.raw) {
        return DecodedForm::kRaw;
    }
    if (options.summary) {
        return DecodedForm::kSummary;
    }
    return options.json ? DecodedForm::kJson : DecodedForm::kListing;
}

bool WaitForGrowth() {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    return true;
}

// What was written is seen before the next read, which may wait.
ByteInput OpenInput(const DecodeOptions& options, InputFile& file, ByteOutput& output, ErrorLines& errors) {
    const bool follows = options.follow && file.IsFile();
    const ByteInput bytes = follows ? FollowedInput(file, WaitForGrowth)
                                    : [&file](char* to, std::size_t size) { return file.Read(to, size); };
    ByteInput flushed = [&output, bytes](char* to, std::size_t size) {
        Flush(output);
        return bytes(to, size);
    };
    if (!options.hex) {
        return flushed;
    }
    return HexInput(std::move(flushed), [&errors](const std::string& text) { errors.Add(text); });
}

std::set<std::uint16_t> FindStreams(const std::vector<std::string>& names, const Catalog& catalog) {
    std::set<std::uint16_t> ids;
    for (const std::string& name : names) {
        const CatalogField* field = catalog.FindField(name);
        if (field == nullptr) {
            throw UsageError("--streams: the dictionary has no field " + name);
        }
        ids.insert(field->id);
    }
    return ids;
}

void DecodeFrames(const DecodeOptions& options, FrameReader& reader, CaptureDecoder& decoder, ErrorLines& errors,
                  Progress& progress) {
    const bool resync = options.resync && !options.unframed;
    for (;;) {
        Frame frame{};
        std::string fault;
        const FrameState state = options.unframed ? reader.Rest(frame, fault) : reader.Next(frame, fault);
        if (state == FrameState::kEnd) {
            return;
        }
        if (state == FrameState::kFrame) {
            decoder.Decode(frame, resync ? &reader : nullptr);
            progress.Show(frame.offset);
            continue;
        }
        // Looking further drops what there is of a frame that is cut.
        const bool goesOn = resync && reader.Resynchronise();
        fault += "; ";
        fault += resync ? Counted(reader.offset() - frame.offset, "byte") + " passed over" : "stopped";
        fault += !resync  ? " at offset " + std::to_string(frame.offset)
                 : goesOn ? ", goes on at offset " + std::to_string(reader.offset())
                          : " to the end";
        errors.AddForMessage(frame.offset, frame.number, fault);
        if (!goesOn) {
            if (!resync) {
                decoder.ShowCut(frame);
            }
            return;
        }
    }
}

int Decode(const DecodeOptions& options) {
    ByteOutput output{kStandardOutput, ""};
    InputFile file(options.input);
    std::optional<LoadedDictionary> dictionary;
    std::optional<Catalog> catalog;
    if (!options.raw) {
        dictionary.emplace(options.dictionary);
        catalog.emplace(dictionary->tables());
    }
    const std::set<std::uint16_t> streams =
        catalog ? FindStreams(options.streams, *catalog) : std::set<std::uint16_t>();
    ErrorLines errors(file.name(), output);
    CaptureDecoder decoder(catalog ? &*catalog : nullptr, FormOf(options), streams, output, errors);
    FrameReader reader(OpenInput(options, file, output, errors));
    Progress progress(options.hex ? 0 : file.Size());
    try {
        DecodeFrames(options, reader, decoder, errors, progress);
    } catch (const InputError& error) {
        errors.Add(error.what());
    }
    decoder.Finish();
    Flush(output);
    return errors.any() ? kStatusDiffers : kStatusGood;
}

}  // namespace

Verb DecodeVerb() {
    auto options = std::make_shared<DecodeOptions>();
    return {
        .name = "decode",
        .summary = "Show the messages of a capture",
        .options = {{"FILE", &options->input, "Capture: frames back to back; - is standard input (default)"},
                    DictionaryOption(&options->dictionary),
                    {"--hex", &options->hex,
                     "The capture is hex text: offsets, blanks and text columns are passed over"},
                    {"--unframed", &options->unframed, "The capture is one message without a frame"},
                    {"--follow", &options->follow, "Wait for more at the end of the file"},
                    {"--resync", &options->resync, "Look for the next frame where bytes are none, instead of stopping"},
                    {"--json", &options->json, "Write one JSON object a line"},
                    {"--summary", &options->summary, "Write counts and bytes by message type"},
                    {"--raw", &options->raw, "Use no dictionary: headers and, in format 2, fields"},
                    {"--annotate", &options->annotate, "Write the bytes of each message beside what they say"},
                    {"--streams", &options->streams, "Open the filter or sort data in these fields", "FIELD,..."}},
        .exclusive = {{"--unframed", "--follow"},
                      {"--json", "--summary", "--raw", "--streams"},
                      {"--annotate", "--json", "--summary", "--streams"}},
        .footer =
            "Examples:\n"
            "  zel decode capture.zel\n"
            "  zel decode --json capture.zel | grep '\"SYMBOL\":\"RYE\"'\n"
            "  zel decode --summary -d zeldata/sample.json capture.zel\n"
            "  zel decode --hex --streams FILTER_STREAM,SORT_STREAM dump.txt\n"
            "  zel decode --follow capture.zel\n"
            "Exit status: 0 all messages good, 1 some bad, 2 wrong usage, no dictionary or no capture.",
        .run = [options] { return Decode(*options); }};
}

}  // namespace zel::tools
