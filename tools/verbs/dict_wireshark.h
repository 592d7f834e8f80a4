// `zel dict wireshark`: a dissector for Wireshark that knows a dictionary.
#ifndef ZEL_TOOLS_VERBS_DICT_WIRESHARK_H
#define ZEL_TOOLS_VERBS_DICT_WIRESHARK_H

#include <string>

namespace zel::tools {

struct WiresharkOptions {
    std::string dictionary;  // empty: what the provider serves
    std::string output;      // empty: standard output
};

// Where Wireshark looks for the dissector.
inline constexpr const char* kPluginFolders =
    "~/.local/lib/wireshark/plugins on Linux and macOS, %APPDATA%\\Wireshark\\plugins on Windows";

// The exit status.
[[nodiscard]] int WriteDissector(const WiresharkOptions& options);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_DICT_WIRESHARK_H
