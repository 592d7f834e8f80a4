#include <iostream>
#include <memory>
#include <string>

#include "tools/dictionary/dictionary_file.h"
#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/verbs/all_verbs.h"

namespace zel::tools {

namespace {

int CheckSource(const std::string& source) {
    Findings findings;
    const DictionarySource dictionary = ReadSourceFile(source, findings);
    PrintFindings(source, findings);
    const std::size_t errors = CountErrors(findings);
    std::cout << Printable(source) << ": " << Summary(dictionary) << ": " << Counted(errors, "error") << ", "
              << Counted(findings.size() - errors, "warning") << '\n';
    return errors == 0 ? kStatusGood : kStatusDiffers;
}

}  // namespace

Verb DictCheckVerb() {
    auto source = std::make_shared<std::string>();
    return {.name = "check",
            .summary = "Report every fault of a dictionary source",
            .options = {{"SRC", source.get(), "Dictionary source (JSON, comments allowed)", "", true}},
            .footer =
                "Example:\n"
                "  zel dict show --json > market.json\n"
                "  zel dict check market.json\n"
                "Exit status: 0 no errors (warnings do not count), 1 errors, 2 wrong usage.",
            .run = [source] { return CheckSource(*source); }};
}

}  // namespace zel::tools
