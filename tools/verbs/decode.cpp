#include <algorithm>
#include <chrono>
#include <cstdint>
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
#include "tools/text/complaint.h"
#include "tools/text/error_lines.h"
#include "tools/text/findings.h"
#include "tools/text/hex_dump.h"
#include "tools/text/message_error.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

namespace {

struct DecodeOptions {
    WholeTexts inputs;
    std::string dictionary;
    std::vector<std::string> streams;
    std::vector<std::string> types;
    WholeTexts conditions;
    std::vector<std::string> fields;
    std::optional<std::uint64_t> skip;
    std::optional<std::uint64_t> count;
    bool noOffsets = false;
    bool hex = false;
    bool unframed = false;
    bool follow = false;
    bool resync = false;
    bool json = false;
    bool csv = false;
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
        return options.json ? DecodedForm::kSummaryJson : DecodedForm::kSummary;
    }
    if (options.csv) {
        return DecodedForm::kCsv;
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
        const bool showsSummary = options.summary && !options.json && EnableEscapes(Stream::kOutput);
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

std::vector<const CatalogField*> FindFields(const char* option, const std::vector<std::string>& names,
                                            const Catalog& catalog) {
    std::vector<const CatalogField*> fields;
    for (const std::string& name : names) {
        fields.push_back(catalog.FindField(name));
        if (fields.back() == nullptr) {
            throw UsageError(std::string(option) + ": the dictionary has no field " + name);
        }
    }
    return fields;
}

// Whether all bytes that a value's length tells are there: a date-time may have a longer one.
bool HoldsBytes(const CatalogField& field) {
    return field.type == kZELChars || field.type == kZELText || field.type == kZELBytes10 || field.type == kZELBytes11;
}

// Without a catalog, the options that need one are not given.
DecodedView ViewOf(const DecodeOptions& options, const Catalog* catalog) {
    DecodedView view{.form = FormOf(options), .hasOffsets = !options.noOffsets};
    view.hasFiles = options.inputs.texts.size() > 1;
    view.skip = options.skip.value_or(0);
    view.count = options.count.value_or(view.count);
    if (catalog != nullptr) {
        for (const CatalogField* field : FindFields("--streams", options.streams, *catalog)) {
            if (!HoldsBytes(*field)) {
                throw UsageError("--streams: " + field->name + " is no text and no byte string");
            }
            view.streams.insert(field->id);
        }
        view.fields = FindFields("--fields", options.fields, *catalog);
    }
    const char* option = "--type: ";
    try {
        for (const std::string& type : options.types) {
            view.selection.AddType(type, catalog);
        }
        option = "--where: ";
        for (std::size_t at = 0; catalog != nullptr && at < options.conditions.texts.size(); ++at) {
            view.selection.AddCondition(options.conditions.texts[at], *catalog);
        }
    } catch (const MessageError& error) {
        throw UsageError(option + std::string(error.what()));
    }
    return view;
}

void CheckUsage(const DecodeOptions& options) {
    if (options.csv && options.fields.empty()) {
        throw UsageError("--csv: say the columns with --fields");
    }
    if (!options.fields.empty() && !options.csv && (!options.json || options.summary)) {
        throw UsageError("--fields: is for --csv and --json");
    }
    if (options.follow && options.inputs.texts.size() > 1) {
        throw UsageError("--follow: takes one file");
    }
}

void DecodeFrames(const DecodeOptions& options, FrameReader& reader, CaptureDecoder& decoder, ErrorLines& errors,
                  Progress& progress) {
    const bool resync = options.resync && !options.unframed;
    while (!decoder.IsDone()) {
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

void DecodeFile(const DecodeOptions& options, const std::string& path, CaptureDecoder& decoder, ByteOutput& output,
                ErrorLines& errors, RunningSummary& summary) {
    InputFile file(path);
    errors.Begin(file.name());
    decoder.Begin(file.name());
    FrameReader reader(OpenInput(options, file, output, errors, summary));
    Progress progress(options.hex ? 0 : file.Size());
    try {
        DecodeFrames(options, reader, decoder, errors, progress);
    } catch (const InputError& error) {
        errors.Add(error.what());
    }
}

int Decode(const DecodeOptions& options) {
    CheckUsage(options);
    ByteOutput output{kStandardOutput, ""};
    std::optional<LoadedDictionary> dictionary;
    std::optional<Catalog> catalog;
    if (!options.raw) {
        dictionary.emplace(options.dictionary);
        catalog.emplace(dictionary->tables());
    }
    const Catalog* known = catalog ? &*catalog : nullptr;
    ErrorLines errors("", output);
    CaptureDecoder decoder(known, ViewOf(options, known), output, errors);
    RunningSummary summary(decoder, output);
    bool areThere = true;
    const std::vector<std::string> standardInput{"-"};
    for (const std::string& path : options.inputs.texts.empty() ? standardInput : options.inputs.texts) {
        if (decoder.IsDone()) {
            break;
        }
        try {
            DecodeFile(options, path, decoder, output, errors, summary);
        } catch (const InputError& error) {
            Flush(output);
            Complain(std::string("zel: ") + error.what());
            areThere = false;
        }
    }
    summary.TakeAway();
    decoder.AppendSummary(output.text);
    Flush(output);
    return !areThere ? kStatusUnable : errors.any() ? kStatusDiffers : kStatusGood;
}

}  // namespace

Verb DecodeVerb() {
    auto options = std::make_shared<DecodeOptions>();
    return {
        .name = "decode",
        .summary = "Show the messages of a capture",
        .options = {{"FILE", &options->inputs, "Captures: frames back to back; - is standard input (default)"},
                    DictionaryOption(&options->dictionary),
                    {"--hex", &options->hex,
                     "The capture is hex text: offsets, blanks and text columns are passed over"},
                    {"--unframed", &options->unframed, "The capture is one message without a frame"},
                    {"--follow", &options->follow, "Wait for more at the end of the file, until an interrupt (Ctrl-C)"},
                    {"--resync", &options->resync, "Look for the next frame where bytes are none, instead of stopping"},
                    {"--type", &options->types, "Only messages of these types, by name or as TYPE/SUBTYPE", "TYPE,..."},
                    {"--where", &options->conditions,
                     "Only messages with such a field: FIELD=VALUE, or !=, <, <=, >, >=, ~ (contains); all must hold",
                     "CONDITION"},
                    {"--skip", &options->skip, "Pass over the first N messages", "N"},
                    {"--count", &options->count, "Stop after N messages", "N"},
                    {"--json", &options->json, "Write one JSON object a line"},
                    {"--csv", &options->csv, "Write a table with the fields of --fields"},
                    {"--fields", &options->fields, "Write only these fields, in --csv and --json", "FIELD,..."},
                    {"--no-offsets", &options->noOffsets, "Leave out where in the capture messages stand"},
                    {"--summary", &options->summary,
                     "Write counts and bytes by message type; with --json, sizes and places, too"},
                    {"--raw", &options->raw, "Use no dictionary: headers and, in format 2, fields"},
                    {"--annotate", &options->annotate, "Write the bytes of each message beside what they say"},
                    {"--streams", &options->streams, "Open the filter or sort data in these fields", "FIELD,...", false,
                     true}},
        .exclusive = {{"--unframed", "--follow"},
                      {"--json", "--csv", "--raw"},
                      {"--streams", "--csv", "--raw"},
                      {"--summary", "--csv", "--raw", "--streams"},
                      {"--annotate", "--summary", "--csv", "--streams"},
                      {"--annotate", "--json"},
                      {"--raw", "--where"},
                      {"--raw", "--fields"}},
        .footer =
            "Examples:\n"
            "  zel sample --frames --count 100 > capture.zel\n"
            "  zel decode capture.zel\n"
            "  zel decode --type NEW_ORDER --where 'LIMIT_PRICE>=101.50' --where SYMBOL~MAY capture.zel\n"
            "  zel decode --csv --fields SYMBOL,QUANTITY,LIMIT_PRICE *.zel\n"
            "  zel decode --annotate --skip 3 --count 1 capture.zel\n"
            "  zel decode --summary capture.zel\n"
            "  xxd -p capture.zel > dump.txt\n"
            "  zel decode --hex --streams FILTER_STREAM,SORT_STREAM dump.txt\n"
            "  zel decode --follow capture.zel\n"
            "Exit status: 0 all messages good, 1 some bad, 2 wrong usage, no dictionary or no capture.",
        .run = [options] { return Decode(*options); }};
}

}  // namespace zel::tools
