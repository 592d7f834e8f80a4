#include "tools/verbs/nearest_verb.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace zel::tools {

namespace {

// How many letters must be put in, taken out or changed to make one of the other.
std::size_t Distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

struct Nearest {
    std::string name;
    std::size_t distance;
};

void Look(const Verb& group, const std::string& path, const std::string& typed, Nearest& nearest) {
    for (const Verb& below : group.verbs) {
        const std::string name = path + ' ' + below.name;
        const std::size_t distance = Distance(typed, below.name);
        if (!below.isHidden && distance < nearest.distance) {
            nearest = {name, distance};
        }
        Look(below, name, typed, nearest);
    }
}

std::string VerbNames(const Verb& group) {
    std::string names;
    for (const Verb& below : group.verbs) {
        names += below.isHidden ? "" : (names.empty() ? "" : ", ") + below.name;
    }
    return names;
}

}  // namespace

std::string VerbFault(const Verb& command, int argc, const char* const* argv) {
    const Verb* group = &command;
    std::string path = command.name;
    for (int i = 1; !group->run; ++i) {
        if (i >= argc) {
            return '\'' + path + "' needs one of its verbs: " + VerbNames(*group);
        }
        if (argv[i][0] == '-') {
            return "";
        }
        const std::string typed = argv[i];
        const auto below = std::find_if(group->verbs.begin(), group->verbs.end(),
                                        [&typed](const Verb& verb) { return verb.name == typed; });
        if (below != group->verbs.end()) {
            group = &*below;
            path += ' ' + typed;
            continue;
        }
        // More than every third letter wrong is another word.
        constexpr std::size_t kLongest = 40;
        Nearest nearest{"", std::min<std::size_t>(typed.size() / 3 + 2, typed.size())};
        if (typed.size() <= kLongest) {
            Look(*group, path, typed, nearest);
            Look(command, command.name, typed, nearest);
        }
        std::string fault = "there is no verb '";
        fault.append(path).append(" ").append(typed).append("'");
        return nearest.name.empty() ? fault : fault + "; did you mean '" + nearest.name + "'?";
    }
    return "";
}

}  // namespace zel::tools
