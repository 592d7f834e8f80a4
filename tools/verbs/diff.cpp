#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/capture/capture_diff.h"
#include "tools/dictionary/loaded_dictionary.h"
#include "tools/io/byte_input.h"
#include "tools/io/byte_output.h"
#include "tools/io/descriptor.h"
#include "tools/io/status.h"
#include "tools/message/message_members.h"
#include "tools/text/complaint.h"
#include "tools/text/error_lines.h"
#include "tools/text/hex_dump.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

namespace {

struct DiffOptions {
    std::array<std::string, 2> captures;
    std::string dictionary;
    std::vector<std::string> ignored;
    bool byOrder = false;
    bool hex = false;
    bool json = false;
};

// A capture that is read. What is wrong with it, other than with its messages, makes the comparison impossible.
class Side {
public:
    Side(const std::string& path, bool isHex, ByteOutput& output)
        : file_(path), errors_(file_.name(), output), reader_(Input(isHex)) {}

    // False at the end, and where the capture cannot be read any further.
    bool Next(Frame& frame) {
        std::string fault;
        try {
            const FrameState state = reader_.Next(frame, fault);
            if (state == FrameState::kLost) {
                errors_.AddForMessage(frame.offset, frame.number,
                                      fault + "; stopped at offset " + std::to_string(frame.offset));
            }
            return state == FrameState::kFrame;
        } catch (const InputError& error) {
            errors_.Add(error.what());
            return false;
        }
    }
    [[nodiscard]] const std::string& name() const { return file_.name(); }
    [[nodiscard]] bool isBad() const { return errors_.any(); }

private:
    ByteInput Input(bool isHex) {
        ByteInput bytes = [this](char* to, std::size_t size) { return file_.Read(to, size); };
        return isHex ? HexInput(std::move(bytes), [this](const std::string& text) { errors_.Add(text); }) : bytes;
    }

    InputFile file_;
    ErrorLines errors_;
    FrameReader reader_;
};

// By the names that a message's JSON form has.
std::set<std::string, std::less<>> FindIgnored(const std::vector<std::string>& names, const Catalog& catalog) {
    std::set<std::string, std::less<>> found;
    for (const std::string& name : names) {
        const CatalogField* field = catalog.FindField(name);
        if (field == nullptr && !MessageMembers::IsName(name)) {
            throw UsageError("--ignore: the dictionary has no field " + name + ", and messages have no such member");
        }
        found.insert(field != nullptr ? field->name : name);
    }
    return found;
}

int DiffCaptures(const DiffOptions& options) {
    if (options.captures[0] == "-" && options.captures[1] == "-") {
        throw UsageError("standard input can be one of the captures, not both");
    }
    ByteOutput output{kStandardOutput, ""};
    const LoadedDictionary dictionary(options.dictionary);
    const Catalog catalog(dictionary.tables());
    std::array<std::optional<Side>, 2> sides;
    try {
        for (std::size_t side = 0; side < sides.size(); ++side) {
            sides[side].emplace(options.captures[side], options.hex, output);
        }
    } catch (const InputError& error) {
        Complain(std::string("zel: ") + error.what());
        return kStatusUnable;
    }
    CaptureDiff diff(
        catalog,
        {options.byOrder, options.json, FindIgnored(options.ignored, catalog), {sides[0]->name(), sides[1]->name()}},
        output);
    // In turn: so only what stands elsewhere in the other capture has to wait.
    std::array<bool, 2> goesOn{true, true};
    while (goesOn[0] || goesOn[1]) {
        for (std::size_t side = 0; side < sides.size(); ++side) {
            Frame frame{};
            goesOn[side] = goesOn[side] && sides[side]->Next(frame);
            if (goesOn[side]) {
                diff.Add(side, frame);
            } else if (sides[side]->isBad()) {
                goesOn = {};
                break;
            }
        }
    }
    const bool isWhole = !sides[0]->isBad() && !sides[1]->isBad();
    if (isWhole) {
        diff.EndCaptures();
    }
    Flush(output);
    return !isWhole ? kStatusUnable : diff.AnyDifference() ? kStatusDiffers : kStatusGood;
}

}  // namespace

Verb DiffVerb() {
    auto options = std::make_shared<DiffOptions>();
    return {
        .name = "diff",
        .summary = "Compare two captures message by message",
        .options = {{"A", &options->captures.front(), "Capture: frames back to back; - is standard input", "", true},
                    {"B", &options->captures.back(), "Capture to compare it with", "", true},
                    DictionaryOption(&options->dictionary),
                    {"--by-order", &options->byOrder,
                     "Match the messages of each type by their order, not by their message ids"},
                    {"--ignore", &options->ignored,
                     "Leave out these fields, and members of messages as in JSON (messageId)", "FIELD,...", false,
                     true},
                    {"--hex", &options->hex, "The captures are hex text"},
                    {"--json", &options->json, "Write one JSON object a line for each difference"}},
        .footer =
            "Messages match that have the same type and message id; of several, the first the first.\n"
            "Examples:\n"
            "  zel sample --frames > before.zel\n"
            "  zel decode --json before.zel | sed 's/barley/oats/g' | zel encode > after.zel\n"
            "  zel diff before.zel after.zel\n"
            "  zel diff --by-order --ignore messageId,ENTERED_AT before.zel after.zel\n"
            "  zel diff --json before.zel after.zel\n"
            "Exit status: 0 the same, 1 different, 2 wrong usage, no dictionary, or a capture that cannot be "
            "read to its end.",
        .run = [options] { return DiffCaptures(*options); }};
}

}  // namespace zel::tools
