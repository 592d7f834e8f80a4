#include "tools/verbs/all_verbs.h"

namespace zel::tools {

Verb ZelCommand() {
    return {
        .name = "zel",
        .summary = "Tools for the ZEL message protocol",
        .footer =
            "Examples:\n"
            "  zel sample --count 5 > orders.jsonl\n"
            "  zel encode orders.jsonl > orders.zel\n"
            "  zel decode orders.zel\n"
            "  zel dict show 10/2\n"
            "  zel value money \"101'16\"\n"
            "  zel explain 1417\n"
            "'zel VERB --help' tells more.\n"
            "Exit status: 0 good, 1 something bad or different was found, 2 wrong usage, no usable "
            "dictionary, output that cannot be written, or no memory.",
        .verbs = {DecodeVerb(), EncodeVerb(), SampleVerb(), DiffVerb(), DictVerb(), ValueVerb(), ExplainVerb()},
        .sections = {
            {"EXIT STATUS",
             {{"0", "Good"},
              {"1", "Something that was asked for is bad, differs, or is not there"},
              {"2", "Wrong usage, no dictionary that can be used, output that cannot be written, or no memory"}}},
            {"ENVIRONMENT",
             {{"ZELDATA_IMAGE", "Image of the dictionary that is used when none is named"},
              {"NO_COLOR", "Any text keeps colours from terminals"}}},
            {"FILES", {{"zeldata.img", "Beside the provider library: the dictionary's image without ZELDATA_IMAGE"}}},
            {"SEE ALSO", {{"jq(1), xxd(1), wireshark(1)", "Take and make what the command reads and writes"}}}}};
}

Verb DictVerb() {
    return {.name = "dict",
            .summary = "Check, build, show and compare dictionaries, and show them to C++ and Wireshark",
            .footer =
                "Examples:\n"
                "  zel dict show --json > market.json\n"
                "  zel dict check market.json\n"
                "  zel dict show 10/2\n"
                "'zel dict VERB --help' tells more.",
            .verbs = {DictBuildVerb(), DictCheckVerb(), DictShowVerb(), DictDiffVerb(), DictHeaderVerb(),
                      DictWiresharkVerb()}};
}

}  // namespace zel::tools
