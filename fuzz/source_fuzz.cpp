// Dictionary sources as the compiler reads them: any text, and generated sources with odd values, damaged or not. A
// source that compiles opens in the provider and shows a source that compiles to the same image; others get a reason.
#include <algorithm>

#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "fuzz/generated_source.h"
#include "tools/dictionary/image_builder.h"
#include "tools/dictionary/image_reader.h"
#include "tools/dictionary/source_text.h"
#include "tools/text/json_file.h"
#include "zeldata/image_check.h"

namespace zel::fuzz {

namespace {

// An image has a record for each id up to the highest: high ids take time and find nothing new.
constexpr int kHighestId = 2000;

std::string Text(Input& input) {
    const int kind = input.Below(8);
    if (kind < 2) {
        return input.Bytes(6000);
    }
    const int indent = input.Below(4) - 1;
    std::string text =
        GenerateSource(input, kind != 2).dump(indent, ' ', false, nlohmann::json::error_handler_t::ignore);
    if (kind > 4) {
        Damage(input, text, 0);
    }
    return text;
}

bool IsSmall(const tools::DictionarySource& source) {
    return std::all_of(source.fields.begin(), source.fields.end(),
                       [](const tools::FieldSource& field) { return field.id <= kHighestId; });
}

void CheckImage(const std::vector<char>& bytes) {
    image::ImageView view;
    image::ImageFault fault{};
    Check(image::CheckImage(bytes.data(), bytes.size(), view, fault), fault.text);
    tools::Findings findings;
    const nlohmann::json shown = tools::ParseJson(tools::SourceText(tools::SourceOfImage(view)), findings);
    const tools::DictionarySource source = CheckedSource(shown, findings);
    Check(CountErrors(findings) == 0, "the source shown has no errors");
    Check(tools::BuildDictionaryImage(source) == bytes, "the source shown builds the same image");
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    Input input(data, size);
    zel::tools::Findings findings;
    const std::string text = Text(input);
    const nlohmann::json json = zel::tools::ParseJson(text, findings);
    const zel::tools::DictionarySource source = CheckedSource(json, findings);
    for (const zel::tools::Finding& finding : findings) {
        Check(!finding.text.empty(), "each finding says something");
        // A text that is a single too large number has no places.
        const bool isWhole = text.find_first_of("[{") == std::string::npos;
        Check(!json.is_discarded() || isWhole || !finding.place.empty(), "each syntax error has a place");
    }
    Check(!json.is_discarded() || CountErrors(findings) != 0, "a refused text has a reason");
    if (CountErrors(findings) == 0 && IsSmall(source)) {
        CheckImage(zel::tools::BuildDictionaryImage(source));
    }
    return 0;
}
