// What the command finds wrong in a file, collected so that one run tells everything.
#ifndef ZEL_TOOLS_TEXT_FINDINGS_H
#define ZEL_TOOLS_TEXT_FINDINGS_H

#include <cstdint>
#include <string>
#include <vector>

namespace zel::tools {

struct Finding {
    bool isError;       // else a warning
    std::string place;  // a line and column or a path such as messages[3].fields[2]; empty: the file
    std::string text;
};

using Findings = std::vector<Finding>;

// After the first thousand, one more says that there are others, an error if one of them is.
void AddError(Findings& findings, std::string place, std::string text);
void AddWarning(Findings& findings, std::string place, std::string text);

// There are errors that are not told: nothing that is found from here on will be.
[[nodiscard]] bool IsHopeless(const Findings& findings);

[[nodiscard]] std::size_t CountErrors(const Findings& findings);

// "FILE: error: PLACE: TEXT"
[[nodiscard]] std::string FindingText(const std::string& file, const Finding& finding);

// Complains of each.
void PrintFindings(const std::string& file, const Findings& findings);

// The number and its noun: "1 error", "2 errors".
[[nodiscard]] std::string Counted(std::uint64_t number, const std::string& noun);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_FINDINGS_H
