#include "tools/dictionary/cpp_names.h"

#include <algorithm>
#include <array>
#include <vector>

namespace zel::tools {

namespace {

// Keywords of C++, and what headers of common systems make macros.
constexpr std::array<std::string_view, 111> kTaken = {
    "alignas",   "alignof",   "and",      "asm",      "assert",   "auto",      "bitand",    "bitor",  "bool",
    "break",     "case",      "catch",    "char",     "class",    "compl",     "concept",   "const",  "consteval",
    "constexpr", "constinit", "continue", "decltype", "default",  "delete",    "do",        "double", "else",
    "enum",      "errno",     "explicit", "export",   "extern",   "false",     "far",       "float",  "for",
    "friend",    "goto",      "huge",     "if",       "inline",   "int",       "interface", "linux",  "long",
    "major",     "max",       "min",      "minor",    "mutable",  "namespace", "near",      "new",    "noexcept",
    "not",       "nullptr",   "operator", "or",       "pascal",   "private",   "protected", "public", "register",
    "requires",  "return",    "short",    "signed",   "sizeof",   "small",     "static",    "stderr", "stdin",
    "stdout",    "struct",    "switch",   "template", "this",     "throw",     "true",      "try",    "typedef",
    "typeid",    "typename",  "union",    "unix",     "unsigned", "using",     "virtual",   "void",   "volatile",
    "while",     "xor",
};

bool IsTaken(std::string_view name) {
    return std::find(kTaken.begin(), kTaken.end(), name) != kTaken.end();
}

// The locale has no say in these.
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}
bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
char Lower(char c) {
    return IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
char Upper(char c) {
    return IsLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}

// The letters and digits of a name, each run of them a word. A word of large letters alone becomes small ones.
std::vector<std::string> Words(std::string_view name) {
    std::vector<std::string> words;
    bool inWord = false;
    for (const char c : name) {
        const bool belongs = IsDigit(c) || IsLower(c) || IsUpper(c);
        if (belongs && !inWord) {
            words.emplace_back();
        }
        if (belongs) {
            words.back() += c;
        }
        inWord = belongs;
    }
    for (std::string& word : words) {
        if (std::none_of(word.begin(), word.end(), IsLower)) {
            std::transform(word.begin(), word.end(), word.begin(), Lower);
        }
    }
    return words;
}

// limitPrice; empty when the name has no letters and digits. Behind `prefix` when it begins with a digit.
std::string Joined(std::string_view name, std::string_view prefix) {
    std::string joined;
    for (const std::string& word : Words(name)) {
        joined += joined.empty() ? word : Capitalised(word);
    }
    if (joined.empty() || IsDigit(joined.front())) {
        joined.insert(0, prefix);
    }
    joined.front() = Lower(joined.front());
    return joined;
}

// A number as it can stand in an identifier.
std::string NumberText(int number) {
    return number < 0 ? "minus" + std::to_string(-number) : std::to_string(number);
}

}  // namespace

std::string Capitalised(std::string name) {
    name.front() = Upper(name.front());
    return name;
}

std::string TakeName(std::set<std::string>& taken, std::string name) {
    while (IsTaken(name) || !taken.insert(name).second) {
        name += '_';
    }
    return name;
}

CppNames NameForCpp(const DictionarySource& dictionary) {
    std::map<std::uint16_t, const std::string*> fields;
    for (const FieldSource& field : dictionary.fields) {
        fields.emplace(field.id, &field.name);
    }
    std::map<std::pair<std::int16_t, std::int16_t>, const std::string*> messages;
    for (const MessageSource& message : dictionary.messages) {
        messages.emplace(std::pair(message.type, message.subType), &message.name);
    }
    // A name that was joined has no "_": what ends with "_" and an id is free.
    CppNames names;
    std::set<std::string> taken;
    for (const auto& [id, name] : fields) {
        const std::string joined = Joined(*name, "field");
        const bool isFree = taken.insert(joined).second && !name->empty();
        names.fields[id] = !isFree ? joined + '_' + std::to_string(id) : IsTaken(joined) ? joined + '_' : joined;
    }
    taken.clear();
    for (const auto& [type, name] : messages) {
        const std::string joined = Capitalised(Joined(*name, "message"));
        const bool isFree = taken.insert(joined).second && !name->empty();
        names.messages[type] = isFree ? joined : joined + '_' + NumberText(type.first) + '_' + NumberText(type.second);
    }
    return names;
}

bool IsNamespace(std::string_view text) {
    const std::size_t end = text.find("::");
    const std::string_view name = text.substr(0, end);
    const bool isName = !name.empty() && !IsDigit(name.front()) && !IsTaken(name) &&
                        std::all_of(name.begin(), name.end(),
                                    [](char c) { return IsDigit(c) || IsLower(c) || IsUpper(c) || c == '_'; });
    return isName && (end == std::string_view::npos || IsNamespace(text.substr(end + 2)));
}

}  // namespace zel::tools
