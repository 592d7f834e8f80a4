#include <algorithm>
#include <chrono>
#include <functional>
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
#include "tools/io/interrupt.h"
#include "tools/io/progress.h"
#include "tools/io/status.h"
#include "tools/io/terminal.h"
#include "tools/text/error_lines.h"
#include "tools/text/hex_text.h"
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
};

DecodedForm FormOf(const DecodeOptions& options) {
    if (options.raw) {
        return DecodedForm::kRaw;
    }
    if (options.summary) {
        return DecodedForm::kSummary;
    }
    return options.json ? DecodedForm::kJson : DecodedForm::kListing;
}

// Waits for growth until the user has enough. Meanwhile `show` is called every second.
std::function<bool()> WaitForGrowth(std::function<void()> show) {
    using Clock = std::chrono::steady_clock;
    NoteInterrupt();
    return [show = std::move(show), due = Clock::time_point()]() mutable {
        if (Clock::now() >= due) {
            show();
            due = Clock::now() + std::chrono::seconds(1);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        return !IsInterrupted();
    };
}

// The counts so far, over those shown before.
class RunningSummary {
public:
    RunningSummary(const CaptureDecoder& decoder, ByteOutput& output) : decoder_(decoder), output_(output) {}

    void Show() {
        TakeAway();
        const std::size_t before = output_.text.size();
        decoder_.AppendSummary(output_.text);
        lines_ = std::count(output_.text.begin() + static_cast<std::ptrdiff_t>(before), output_.text.end(), '\n');
        Flush(output_);
    }
    void TakeAway() {
        if (lines_ != 0) {
            output_.text += "\x1b[" + std::to_string(lines_) + "A\x1b[J";
            lines_ = 0;
        }
    }

private:
    const CaptureDecoder& decoder_;
    ByteOutput& output_;
    std::ptrdiff_t lines_ = 0;
};

// What was written is seen before the next read, which may wait.
ByteInput OpenInput(const DecodeOptions& options, InputFile& file, ByteOutput& output, ErrorLines& errors,
                    RunningSummary& summary) {
    ByteInput bytes = [&file](char* to, std::size_t size) { return file.Read(to, size); };
    if (options.follow && file.IsFile()) {
        const bool showsSummary = options.summary && EnableEscapes(Stream::kOutput);
        bytes = FollowedInput(file, WaitForGrowth([&summary, showsSummary] {
                                  if (showsSummary) {
                                      summary.Show();
                                  }
                              }));
    }
    ByteInput flushed = [&output, bytes](char* to, std::size_t size) {
        Flush(output);
        return IsInterrupted() ? std::size_t{0} : bytes(to, size);
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
    for (;;) {
        Frame frame{};
        std::string fault;
        const FrameState state = options.unframed ? reader.Rest(frame, fault) : reader.Next(frame, fault);
        if (state == FrameState::kEnd) {
            return;
        }
        if (state == FrameState::kFrame) {
            decoder.Decode(frame);
            progress.Show(frame.offset);
            continue;
        }
        if (state == FrameState::kLost && !(options.resync && !options.unframed && reader.Resynchronise())) {
            errors.AddForMessage(frame.offset, frame.number,
                                 fault + "; stopped at offset " + std::to_string(frame.offset));
            return;
        }
        errors.AddForMessage(frame.offset, frame.number,
                             fault + "; goes on at offset " + std::to_string(reader.offset()));
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
    RunningSummary summary(decoder, output);
    FrameReader reader(OpenInput(options, file, output, errors, summary));
    Progress progress(options.hex ? 0 : file.Size());
    try {
        DecodeFrames(options, reader, decoder, errors, progress);
    } catch (const InputError& error) {
        errors.Add(error.what());
    }
    if (options.summary) {
        summary.TakeAway();
        decoder.AppendSummary(output.text);
    }
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
                    {"--follow", &options->follow, "Wait for more at the end of the file, until an interrupt (Ctrl-C)"},
                    {"--resync", &options->resync, "Look for the next frame where bytes are none, instead of stopping"},
                    {"--json", &options->json, "Write one JSON object a line"},
                    {"--summary", &options->summary, "Write counts and bytes by message type"},
                    {"--raw", &options->raw, "Use no dictionary: headers and, in format 2, fields"},
                    {"--streams", &options->streams, "Open the filter or sort data in these fields", "FIELD,...", false,
                     true}},
        .exclusive = {{"--unframed", "--follow"}, {"--json", "--summary", "--raw", "--streams"}},
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
