// A verb of the command as a record. The command line, the help, the manual page and the completion are made from
// these.
#ifndef ZEL_TOOLS_VERBS_VERB_H
#define ZEL_TOOLS_VERBS_VERB_H

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace zel::tools {

// Texts of which each stands alone, whatever it holds: an option is given once for each, an argument takes all on the
// line.
struct WholeTexts {
    std::vector<std::string> texts;
};

// What an option sets. A flag sets a bool; a list takes its values with commas between them, and as an argument also
// all that stand on the line.
using OptionTarget = std::variant<bool*, std::string*, std::vector<std::string>*, WholeTexts*, std::optional<short>*,
                                  std::optional<std::uint64_t>*, std::uint32_t*>;

struct VerbOption {
    std::string names;  // "-o,--output"; a name without a dash is that of an argument
    OptionTarget target;
    std::string description;
    std::string placeholder = {};  // stands for the value in texts; unused for flags and arguments
    bool isRequired = false;
    bool isName = false;  // of a message or field: shells complete it from the dictionary
};

// A section at the end of the manual page: terms, each with what is to be said of it.
struct ManualSection {
    std::string title;
    std::vector<std::pair<std::string, std::string>> items;
};

struct Verb {
    std::string name;
    std::string summary;
    std::vector<VerbOption> options = {};
    std::vector<std::vector<std::string>> exclusive = {};  // of each list of options at most one can be given
    std::string footer = {};                               // see help_text.h; empty: that of the whole command
    std::function<int()> run = {};                         // returns the exit status; empty for a group of verbs
    std::vector<Verb> verbs = {};                          // of a group
    std::vector<ManualSection> sections = {};              // of the command
    bool isHidden = false;                                 // left out of help, manual page and completion
};

// The arguments parse, but make no sense together with the input. The user is told to look at the help.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_VERB_H
