// What `zel --version` tells: the program, and what it finds where it runs.
#ifndef ZEL_TOOLS_VERBS_ABOUT_H
#define ZEL_TOOLS_VERBS_ABOUT_H

#include <string>

namespace zel::tools {

struct BuildInfo {
    const char* version;
    const char* commit;  // "unknown" where the sources do not tell
};

// This program's. The build writes the file that defines it.
extern const BuildInfo kBuildInfo;

// One line for each thing, without the end of the last. A dictionary or compressor that cannot be used is said here,
// and nowhere else.
[[nodiscard]] std::string AboutText(const BuildInfo& build);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_ABOUT_H
