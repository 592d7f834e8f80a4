// The option -d/--dictionary.
#ifndef ZEL_TOOLS_VERBS_DICTIONARY_OPTION_H
#define ZEL_TOOLS_VERBS_DICTIONARY_OPTION_H

#include <CLI/CLI.hpp>
#include <string>

namespace zel::tools {

void AddDictionaryOption(CLI::App& verb, std::string& path);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_DICTIONARY_OPTION_H
