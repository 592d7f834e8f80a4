#include <charconv>
#include <memory>
#include <string>

#include "tools/dictionary/loaded_dictionary.h"
#include "tools/io/byte_output.h"
#include "tools/io/descriptor.h"
#include "tools/io/status.h"
#include "tools/io/terminal.h"
#include "tools/message/message_sampler.h"
#include "tools/message/message_writer.h"
#include "tools/text/message_error.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

namespace {

struct SampleOptions {
    std::vector<std::string> messages;
    std::string dictionary;
    std::uint32_t count = 10;
    std::uint32_t seed = 1;
    bool frames = false;
};

// By name, or as TYPE/SUBTYPE.
const CatalogMessage* FindNamed(const Catalog& catalog, const std::string& subject) {
    if (const CatalogMessage* named = catalog.FindMessage(subject)) {
        return named;
    }
    short type = 0;
    short subType = 0;
    const char* const end = subject.data() + subject.size();
    const auto first = std::from_chars(subject.data(), end, type);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != '/') {
        return nullptr;
    }
    const auto second = std::from_chars(first.ptr + 1, end, subType);
    return second.ec == std::errc() && second.ptr == end ? catalog.FindMessage(type, subType) : nullptr;
}

std::vector<const CatalogMessage*> ChosenMessages(const SampleOptions& options, const Catalog& catalog) {
    std::vector<const CatalogMessage*> chosen;
    for (const std::string& subject : options.messages) {
        chosen.push_back(FindNamed(catalog, subject));
        if (chosen.back() == nullptr) {
            throw UsageError("sample: the dictionary has no message " + subject);
        }
    }
    return chosen.empty() ? catalog.Messages() : chosen;
}

int Sample(const SampleOptions& options) {
    if (options.frames && IsTerminal(Stream::kOutput)) {
        throw UsageError("sample: --frames writes bytes that no terminal shows; send them elsewhere");
    }
    const LoadedDictionary dictionary(options.dictionary);
    const Catalog catalog(dictionary.tables());
    const std::vector<const CatalogMessage*> messages = ChosenMessages(options, catalog);
    MessageSampler sampler(options.seed);
    MessageWriter writer(catalog, Reading::kStrict);
    ByteOutput output{kStandardOutput, ""};
    for (std::uint32_t i = 0; i < options.count && !messages.empty(); ++i) {
        std::string line;
        sampler.Append(line, *messages[i % messages.size()]);
        Findings findings;
        const JsonDocument document = ParseJson(line, findings);
        try {
            const std::string_view bytes = writer.Write(document.root());
            output.text += options.frames ? bytes : std::string_view(line += '\n');
        } catch (const MessageError& error) {
            // A dictionary may have messages that nobody can send.
            throw std::runtime_error("sample: " + line.substr(0, 80) + ": " + error.what());
        }
        FlushWhenLarge(output);
    }
    Flush(output);
    return kStatusGood;
}

}  // namespace

Verb SampleVerb() {
    auto options = std::make_shared<SampleOptions>();
    return {
        .name = "sample",
        .summary = "Make random messages of a dictionary, for tests",
        .options = {{"MESSAGE", &options->messages,
                     "Messages by name or as TYPE/SUBTYPE, in turn; without any, all of the dictionary", "", false,
                     true},
                    DictionaryOption(&options->dictionary),
                    {"--count", &options->count, "How many; 10 without it", "N"},
                    {"--seed", &options->seed, "The same number makes the same messages everywhere; 1 without it", "S"},
                    {"--frames", &options->frames, "Write frames back to back, as 'zel encode' does, instead of JSON"}},
        .footer =
            "Examples:\n"
            "  zel sample --count 3\n"
            "  zel sample NEW_ORDER 20/3 --count 1000 --seed 7\n"
            "Exit status: 0 made, 2 wrong usage, no dictionary, or a message that nobody can send.",
        .run = [options] { return Sample(*options); }};
}

}  // namespace zel::tools
