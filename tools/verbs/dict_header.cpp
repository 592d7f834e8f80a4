#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/dictionary/cpp_header.h"
#include "tools/dictionary/cpp_names.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/io/file_output.h"
#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/verbs/all_verbs.h"

namespace zel::tools {

namespace {

struct HeaderOptions {
    std::string dictionary;
    std::vector<std::string> messages;  // names, or TYPE/SUBTYPE; none: all
    std::string output;                 // empty: standard output
    std::string space = "dictionary";
    std::optional<short> repetitions;
};

int WriteHeader(const HeaderOptions& options) {
    if (!IsNamespace(options.space)) {
        throw UsageError("--namespace: " + options.space +
                         " is no namespace; expected identifiers with :: between them");
    }
    const short repetitions = options.repetitions.value_or(32);
    if (repetitions < 1) {
        throw UsageError("--repetitions: is " + std::to_string(repetitions) + "; expected 1 to 32767");
    }
    const std::optional<DictionaryFile> file = OpenDictionaryFile(options.dictionary);
    if (!file) {
        return kStatusUnable;
    }
    std::vector<const MessageSource*> messages;
    for (const std::string& subject : options.messages) {
        messages.push_back(FindMessage(file->dictionary, subject));
        if (messages.back() == nullptr) {
            Complain(file->path + ": has no message " + subject + "; 'zel dict show " + file->path +
                     "' lists what it has");
            return kStatusDiffers;
        }
    }
    const std::string text =
        CppHeader(file->dictionary, messages, {options.space, static_cast<std::size_t>(repetitions)});
    if (options.output.empty()) {
        std::cout << text;
    } else {
        WriteFileAtomically(options.output, {text.begin(), text.end()});
        std::cout << Printable(options.output) << ": " << Summary(file->dictionary) << '\n';
    }
    return kStatusGood;
}

}  // namespace

Verb DictHeaderVerb() {
    auto options = std::make_shared<HeaderOptions>();
    return {.name = "header",
            .summary = "Write a C++ header with a dictionary's fields and messages",
            .options = {{"IMAGE", &options->dictionary, "Image, or source whose name ends with .json", "", true},
                        {"MESSAGE", &options->messages,
                         "Messages to write, by name or as TYPE/SUBTYPE, with the fields that they list; without it, "
                         "everything",
                         "", false, true},
                        {"-o,--output", &options->output, "Header to write; without it, standard output", "FILE"},
                        {"--namespace", &options->space, "Namespace of everything in it; 'dictionary' if not given",
                         "NAME"},
                        {"--repetitions", &options->repetitions,
                         "Repetitions that the array of a group has room for; 32 if not given", "N"}},
            .footer =
                "The header has a constant for each field, and for each message a struct with its layout, ready to be "
                "bound (zel.hpp). The same dictionary gives the same header.\n"
                "Examples:\n"
                "  zel dict show --json > market.json\n"
                "  zel dict header market.json -o market.hpp\n"
                "  zel dict header market.json NEW_ORDER 10/2 --namespace market::orders\n"
                "Exit status: 0 written, 1 there is no such message, 2 wrong usage, no usable dictionary or the file "
                "cannot be written.",
            .run = [options] { return WriteHeader(*options); }};
}

}  // namespace zel::tools
