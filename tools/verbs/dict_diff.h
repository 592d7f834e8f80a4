// The verb `zel dict diff`: what changed between two dictionaries, and what of it breaks peers.
#ifndef ZEL_TOOLS_VERBS_DICT_DIFF_H
#define ZEL_TOOLS_VERBS_DICT_DIFF_H

#include <string>

namespace zel::tools {

struct DiffOptions {
    std::string before;
    std::string after;
    bool breakingOnly = false;
    bool json = false;
};

// The exit status: good without a change, found with one.
[[nodiscard]] int DiffDictionaries(const DiffOptions& options);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_DICT_DIFF_H
