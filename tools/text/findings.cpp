#include "tools/text/findings.h"

#include <algorithm>
#include <utility>

namespace zel::tools {

void AddError(Findings& findings, std::string place, std::string text) {
    findings.push_back({true, std::move(place), std::move(text)});
}

void AddWarning(Findings& findings, std::string place, std::string text) {
    findings.push_back({false, std::move(place), std::move(text)});
}

std::size_t CountErrors(const Findings& findings) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(), [](const Finding& finding) { return finding.isError; }));
}

void PrintFindings(std::ostream& out, const std::string& file, const Findings& findings) {
    for (const Finding& finding : findings) {
        out << file << (finding.isError ? ": error: " : ": warning: ");
        if (!finding.place.empty()) {
            out << finding.place << ": ";
        }
        out << finding.text << '\n';
    }
}

std::string Counted(std::uint64_t number, const std::string& noun) {
    return std::to_string(number) + ' ' + noun + (number == 1 ? "" : "s");
}

}  // namespace zel::tools
