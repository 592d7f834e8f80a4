#include <algorithm>
#include <iostream>
#include <memory>
#include <string>

#include "tools/dictionary/dictionary_changes.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/text/json_text.h"
#include "tools/text/text_table.h"
#include "tools/verbs/all_verbs.h"

namespace zel::tools {

namespace {

struct DiffOptions {
    std::string before;
    std::string after;
    bool breakingOnly = false;
    bool json = false;
};

struct KindStyle {
    const char* name;
    Highlight highlight;
};

KindStyle StyleOf(ChangeKind kind) {
    switch (kind) {
        case ChangeKind::kAdded:
            return {"added", Highlight::kGreen};
        case ChangeKind::kRemoved:
            return {"removed", Highlight::kYellow};
        case ChangeKind::kChanged:
            break;
    }
    return {"changed", Highlight::kBold};
}

std::vector<int> FormatList(Formats formats) {
    std::vector<int> list;
    for (int format = 0; format <= 2; ++format) {
        if ((formats >> static_cast<unsigned>(format) & 1U) != 0) {
            list.push_back(format);
        }
    }
    return list;
}

// "format 1", "formats 0 and 2", "formats 0, 1 and 2"
std::string FormatNames(Formats formats) {
    const std::vector<int> list = FormatList(formats);
    std::string names = list.size() == 1 ? "format " : "formats ";
    for (std::size_t i = 0; i < list.size(); ++i) {
        const char* separator = i == 0 ? "" : i + 1 == list.size() ? " and " : ", ";
        names += separator + std::to_string(list[i]);
    }
    return names;
}

void PrintChange(const Change& change, const Style& style) {
    const KindStyle kind = StyleOf(change.kind);
    std::cout << Highlighted(style, kind.highlight, kind.name) << ' ' << Printable(change.subject + ": " + change.text)
              << '\n';
    if (change.breaks != kNoFormat) {
        std::cout << "    " << Highlighted(style, Highlight::kRed, "breaks " + FormatNames(change.breaks)) << ": ";
    } else if (!change.reason.empty()) {
        std::cout << "    ";
    }
    std::cout << Printable(change.reason) << (change.reason.empty() ? "" : "\n");
}

void PrintJson(const std::vector<Change>& changes) {
    std::string out;
    for (const Change& change : changes) {
        out += (out.empty() ? "[\n  {\"change\":\"" : ",\n  {\"change\":\"") + std::string(StyleOf(change.kind).name);
        out += "\",\"subject\":";
        AppendText(out, change.subject);
        out += ",\"text\":";
        AppendText(out, change.text);
        out += ",\"breaks\":[";
        for (const int format : FormatList(change.breaks)) {
            out += out.back() == '[' ? "" : ",";
            AppendNumber(out, format);
        }
        out += "],\"reason\":";
        AppendText(out, change.reason);
        out += '}';
    }
    std::cout << (out.empty() ? "[]" : out + "\n]") << '\n';
}

bool Breaks(const Change& change) {
    return change.breaks != kNoFormat;
}

// False after the errors of a file that cannot be used.
bool ReadSide(const std::string& path, DictionaryFile& file) {
    Findings findings;
    file = ReadDictionaryFile(path, findings);
    if (CountErrors(findings) == 0) {
        return true;
    }
    PrintFindings(path, findings);
    return false;
}

int DiffDictionaries(const DiffOptions& options) {
    DictionaryFile before;
    DictionaryFile after;
    const bool readBefore = ReadSide(options.before, before);
    if (!ReadSide(options.after, after) || !readBefore) {
        return kStatusUnable;
    }
    std::vector<Change> changes = CompareDictionaries(before.dictionary, after.dictionary);
    if (options.breakingOnly) {
        changes.erase(std::remove_if(changes.begin(), changes.end(), [](const Change& c) { return !Breaks(c); }),
                      changes.end());
    }
    if (options.json) {
        PrintJson(changes);
        return changes.empty() ? kStatusGood : kStatusDiffers;
    }
    const Style style = OutputStyle();
    for (const Change& change : changes) {
        PrintChange(change, style);
    }
    const auto breaking = std::count_if(changes.begin(), changes.end(), Breaks);
    std::cout << Counted(changes.size(), "change") << ", " << breaking << " that break peers\n";
    return changes.empty() ? kStatusGood : kStatusDiffers;
}

}  // namespace

Verb DictDiffVerb() {
    auto options = std::make_shared<DiffOptions>();
    return {.name = "diff",
            .summary = "Compare two dictionaries and tell what breaks peers",
            .options = {{"OLD", &options->before, "Image, or source whose name ends with .json", "", true},
                        {"NEW", &options->after, "Image, or source whose name ends with .json", "", true},
                        {"--breaking", &options->breakingOnly, "Tell only what breaks peers"},
                        {"--json", &options->json, "Write the changes as a JSON array"}},
            .footer =
                "A change breaks peers when a program with the one dictionary and a program with the other "
                "cannot exchange a message, or read other values than were sent, in the field formats that are "
                "named.\n"
                "Examples:\n"
                "  zel dict show --json > before.json\n"
                "  zel dict build before.json -o after.img\n"
                "  zel dict diff before.json after.img\n"
                "  zel dict diff --breaking before.json after.img\n"
                "Exit status: 0 no changes to tell, 1 changes, 2 wrong usage or no usable dictionary.",
            .run = [options] { return DiffDictionaries(*options); }};
}

}  // namespace zel::tools
