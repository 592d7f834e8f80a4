#include "tools/verbs/verb_list.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "tools/verbs/command_line.h"

namespace zel::tools {

namespace {

void CollectVerbs(const Verb& verb, const std::string& name, std::vector<NamedVerb>& verbs) {
    verbs.push_back({name, &verb});
    for (const Verb& below : verb.verbs) {
        if (!below.isHidden) {
            CollectVerbs(below, name + ' ' + below.name, verbs);
        }
    }
}

}  // namespace

std::vector<NamedVerb> AllVerbs(const Verb& command) {
    std::vector<NamedVerb> verbs;
    CollectVerbs(command, command.name, verbs);
    return verbs;
}

bool IsArgument(const VerbOption& option) {
    return !option.names.starts_with('-');
}

std::vector<std::string> NamesWithDashes(const std::string& names, std::size_t dashes) {
    std::vector<std::string> found;
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');) {
        if (name.find_first_not_of('-') == dashes) {
            found.push_back(name.substr(dashes));
        }
    }
    return found;
}

std::vector<VerbOption> OptionsOf(const Verb& verb, bool isCommand) {
    static bool given = false;
    std::vector<VerbOption> options{{kHelpNames, &given, kHelpDescription}};
    if (isCommand) {
        options.push_back({kVersionNames, &given, kVersionDescription});
    }
    std::copy_if(verb.options.begin(), verb.options.end(), std::back_inserter(options),
                 [](const VerbOption& option) { return !IsArgument(option); });
    return options;
}

}  // namespace zel::tools
