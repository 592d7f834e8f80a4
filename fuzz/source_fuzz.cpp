// Dictionary sources as the compiler reads them: any text, and generated sources with odd values in them, damaged or
// not. What compiles opens in the provider and shows a source that compiles to the same image; what does not says why.
#include <algorithm>

#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "fuzz/random_source.h"
#include "tools/dictionary/image_reader.h"
#include "tools/dictionary/source_text.h"
#include "zeldata/image_check.h"

namespace zel::fuzz {

namespace {

std::string MakeText(test::Random& input) {
    const int kind = input.Below(8);
    if (kind < 2) {
        return input.Rest();
    }
    std::string text = RandomSource(input, kind != 2);
    if (kind > 5) {
        Damage(input, text);
    }
    return text;
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    zel::test::Random input(data, size);
    const std::string text = MakeText(input);
    zel::tools::Findings findings;
    const auto bytes = Compile(text, findings);
    Check(std::all_of(findings.begin(), findings.end(), [](const auto& finding) { return !finding.text.empty(); }),
          "each finding says something");
    if (bytes) {
        zel::image::ImageView view;
        zel::image::ImageFault fault{};
        Check(zel::image::CheckImage(bytes->data(), bytes->size(), view, fault), fault.text);
        const auto again = Compile(zel::tools::SourceText(zel::tools::SourceOfImage(view)), findings);
        Check(again == bytes, "the source shown compiles to the same image");
    }
    return 0;
}
