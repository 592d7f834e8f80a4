#include <iostream>
#include <memory>
#include <string>

#include "tools/dictionary/loaded_dictionary.h"
#include "tools/io/status.h"
#include "tools/message/stream_json.h"
#include "tools/text/complaint.h"
#include "tools/text/hex_text.h"
#include "tools/text/message_error.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

namespace {

struct StreamOptions {
    std::string text;
    std::string dictionary;
};

// JSON to hex digits, and hex digits to JSON. Throws MessageError.
std::string Converted(const std::string& text, const Catalog& catalog) {
    std::string converted;
    if (text.starts_with('{')) {
        Findings findings;
        const JsonDocument document = ParseJson(text, findings);
        if (!findings.empty()) {
            throw MessageError(findings[0].place + ": " + findings[0].text);
        }
        const std::string bytes = ReadStreamJson(document.root(), catalog, Reading::kStrict);
        AppendHex(converted, bytes.data(), bytes.size());
        return converted;
    }
    std::string digits = text;
    std::erase(digits, ' ');
    std::string bytes;
    if (!ParseHex(digits, bytes)) {
        throw MessageError("expected hex digits, or an object of JSON");
    }
    if (!AppendStreamJson(converted, catalog, bytes)) {
        throw MessageError("is neither a filter nor sort data over the fields of the dictionary");
    }
    return converted;
}

int ConvertStream(const StreamOptions& options) {
    const LoadedDictionary dictionary(options.dictionary);
    const Catalog catalog(dictionary.tables());
    try {
        std::cout << Converted(options.text, catalog) << '\n';
        return kStatusGood;
    } catch (const MessageError& error) {
        Complain(std::string("zel: ") + error.what());
        return kStatusDiffers;
    }
}

}  // namespace

Verb ValueStreamVerb() {
    auto options = std::make_shared<StreamOptions>();
    return {.name = "stream",
            .summary = "Turn the bytes of a filter or of sort data into JSON, or back",
            .options = {{"TEXT", &options->text, "Hex digits, or an object of JSON", "", true},
                        DictionaryOption(&options->dictionary)},
            .footer =
                "Examples:\n"
                "  zel value stream \"00 0C 00 01 00 19 00 05 00 00 03 E8\"\n"
                "Exit status: 0 turned, 1 neither a filter nor sort data, 2 wrong usage or no dictionary.",
            .run = [options] { return ConvertStream(*options); }};
}

}  // namespace zel::tools
