// Records agree with message objects: tables, layouts, values and frames made from an input.
#include <string>

#include "fuzz/damage.h"
#include "fuzz/received_bytes.h"
#include "fuzz/record_agreement.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 8;

// `framed` was packed, or is "".
void Step(Input& input, const GeneratedTables& tables, RecordAgreement& agreement) {
    std::string framed = input.Below(3) != 0 ? agreement.Pack(input) : "";
    const int subType = input.OneIn(16) ? input.Below(GeneratedTables::kSubTypes) : agreement.subType();
    if (framed.empty()) {
        framed = ForeignMessage(input, tables, subType);
    }
    agreement.Unpack(framed);
    Damage(input, framed, FrameSize(framed));
    if (framed.size() > FrameSize(framed)) {
        agreement.Unpack(framed);
    }
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    Input input(data, size);
    const GeneratedTables tables(input);
    RecordAgreement agreement(input, tables);
    for (int step = 0; agreement.IsBound() && step < kMostSteps && !input.IsEmpty(); ++step) {
        Step(input, tables, agreement);
    }
    return 0;
}
