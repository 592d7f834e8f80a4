// The verb `zel dict show`: fields and messages as tables, or the whole dictionary as a source.
#ifndef ZEL_TOOLS_VERBS_DICT_SHOW_H
#define ZEL_TOOLS_VERBS_DICT_SHOW_H

#include <string>

namespace zel::tools {

struct ShowOptions {
    std::string dictionary;  // either may be empty; one argument alone stands here, whichever it is
    std::string subject;
    bool json = false;
};

// The exit status.
[[nodiscard]] int ShowDictionary(const ShowOptions& options);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_DICT_SHOW_H
