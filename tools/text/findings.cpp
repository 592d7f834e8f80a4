#include "tools/text/findings.h"

#include <algorithm>
#include <utility>

#include "tools/text/complaint.h"

namespace zel::tools {

namespace {

// More than anyone reads. A few bytes of a hostile text can be wrong in many ways, at a place that takes kilobytes to
// name.
constexpr std::size_t kMostTold = 1000;

void Add(Findings& findings, Finding finding) {
    if (findings.size() < kMostTold) {
        findings.push_back(std::move(finding));
    } else if (findings.size() == kMostTold) {
        findings.push_back({finding.isError, "", "there is more, which is not told"});
    } else {
        findings.back().isError |= finding.isError;
    }
}

}  // namespace

void AddError(Findings& findings, std::string place, std::string text) {
    Add(findings, {true, std::move(place), std::move(text)});
}

void AddWarning(Findings& findings, std::string place, std::string text) {
    Add(findings, {false, std::move(place), std::move(text)});
}

bool IsHopeless(const Findings& findings) {
    return findings.size() > kMostTold && findings.back().isError;
}

std::size_t CountErrors(const Findings& findings) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(), [](const Finding& finding) { return finding.isError; }));
}

std::string FindingText(const std::string& file, const Finding& finding) {
    return file + (finding.isError ? ": error: " : ": warning: ") + finding.place +
           (finding.place.empty() ? "" : ": ") + finding.text;
}

void PrintFindings(const std::string& file, const Findings& findings) {
    for (const Finding& finding : findings) {
        Complain(FindingText(file, finding));
    }
}

std::string Counted(std::uint64_t number, const std::string& noun) {
    return std::to_string(number) + ' ' + noun + (number == 1 ? "" : "s");
}

}  // namespace zel::tools
