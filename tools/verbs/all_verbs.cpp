#include "tools/verbs/all_verbs.h"

namespace zel::tools {

Verb ZelCommand() {
    return {.name = "zel",
            .summary = "Tools for the ZEL message protocol",
            .footer =
                "Examples:\n"
                "  zel encode examples/orders.jsonl > orders.zel\n"
                "  zel decode orders.zel\n"
                "  zel dict show zeldata/sample.json 10/2\n"
                "  zel value money \"101'16\"\n"
                "  zel explain 1417\n"
                "'zel VERB --help' tells more.\n"
                "Exit status: 0 good, 1 something bad or different was found, 2 wrong usage, no usable "
                "dictionary, output that cannot be written, or no memory.",
            .verbs = {DecodeVerb(), EncodeVerb(), DictVerb(), ValueVerb(), ExplainVerb()}};
}

Verb DictVerb() {
    return {.name = "dict",
            .summary = "Check, build, show and compare dictionaries, and show them to C++ and Wireshark",
            .footer =
                "Examples:\n"
                "  zel dict check zeldata/sample.json\n"
                "  zel dict show zeldata/sample.json 10/2\n"
                "'zel dict VERB --help' tells more.",
            .verbs = {DictBuildVerb(), DictCheckVerb(), DictShowVerb(), DictDiffVerb(), DictHeaderVerb(),
                      DictWiresharkVerb()}};
}

}  // namespace zel::tools
