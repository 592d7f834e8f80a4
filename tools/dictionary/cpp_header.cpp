#include "tools/dictionary/cpp_header.h"

#include <algorithm>
#include <map>
#include <set>

#include "include/zelprovider.h"
#include "tools/dictionary/cpp_names.h"
#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

constexpr std::size_t kLineWidth = 120;
constexpr std::size_t kIndent = 4;

using Listed = std::vector<const EntrySource*>;

// A message, taken apart.
struct Parts {
    Listed fields;             // in front of and behind the group; neither the count nor what is listed again
    Listed group;              // likewise, without the marker
    const FieldSource* count;  // or null
};

struct Writer {
    const DictionarySource& dictionary;
    const CppHeaderOptions& options;
    CppNames names;
    std::string text;

    [[nodiscard]] const FieldSource& Field(const EntrySource& entry) const {
        return *FindField(dictionary, entry.field);
    }
    [[nodiscard]] const std::string& NameOf(const FieldSource& field) const { return names.fields.at(field.id); }
    [[nodiscard]] std::string ConstantOf(const FieldSource& field) const { return 'k' + Capitalised(NameOf(field)); }
};

// Breaks between the halves of a statement where one line does not hold both, as the formatter would.
std::string Fitted(std::size_t indent, const std::string& first, const std::string& separator,
                   const std::string& second, std::size_t secondIndent) {
    const std::string line = std::string(indent, ' ') + first;
    return line.size() + separator.size() + second.size() <= kLineWidth
               ? line + separator + second + '\n'
               : line + '\n' + std::string(secondIndent, ' ') + second + '\n';
}

// A comment is one line: what would end it early, or go on behind it, becomes a question mark.
std::string Comment(std::size_t indent, const std::string& text) {
    std::string line = std::string(indent, ' ') + "// ";
    const bool isUtf8 = IsUtf8(text);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        line += byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !isUtf8) ? '?' : c;
    }
    const std::size_t end = line.find_last_not_of(' ') + 1;
    line.resize(end);
    line += line.ends_with('\\') || line.ends_with("?\?/") ? ".\n" : "\n";
    return text.find_first_not_of(' ') == std::string::npos ? "" : line;
}

// Names are printable, but in images of other builders anything. Two question marks may begin what compilers once read
// as another character.
std::string Literal(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            quoted += c == '"' || c == '\\' || (c == '?' && quoted.ends_with('?')) ? "\\" : "";
            quoted += c;
            continue;
        }
        // Three digits, so that none of the name's can belong to them.
        quoted += '\\';
        for (const unsigned shift : {6U, 3U, 0U}) {
            quoted += static_cast<char>('0' + (byte >> shift & 7U));
        }
    }
    return quoted + '"';
}

Parts TakeApart(const Writer& writer, const MessageSource& message) {
    Parts parts{{}, {}, nullptr};
    std::set<std::string> outside;
    std::set<std::string> inside;
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        const EntrySource& entry = message.entries[i];
        const bool inGroup = message.hasGroup && i >= message.groupStart && i < message.groupStart + message.groupSize;
        if (message.hasGroup && i + 1 == message.groupStart) {
            parts.count = &writer.Field(entry);
        } else if (inGroup ? writer.Field(entry).id != kZELGroupMarker && inside.insert(entry.field).second
                           : outside.insert(entry.field).second) {
            (inGroup ? parts.group : parts.fields).push_back(&entry);
        }
    }
    return parts;
}

const char* TypeConstant(const FieldSource& field) {
    static const std::map<std::uint16_t, const char*> kConstants = {
        {kZELShort, "kZELShort"},     {kZELLong, "kZELLong"},         {kZELInt, "kZELInt"},
        {kZELChars, "kZELChars"},     {kZELText, "kZELText"},         {kZELFloat, "kZELFloat"},
        {kZELDouble, "kZELDouble"},   {kZELDateTime, "kZELDateTime"}, {kZELMoney, "kZELMoney"},
        {kZELBytes10, "kZELBytes10"}, {kZELBytes11, "kZELBytes11"},
    };
    return kConstants.at(field.type);
}

std::string MemberType(const FieldSource& field) {
    switch (field.type) {
        case kZELShort:
            return "std::int16_t";
        case kZELLong:
        case kZELInt:
            return "std::int32_t";
        case kZELChars:
            return field.length == 1 ? "char" : "std::array<char, " + std::to_string(field.length) + '>';
        case kZELText:
            return "std::string_view";
        case kZELFloat:
            return "float";
        case kZELDouble:
            return "double";
        case kZELDateTime:
            return "_datetime";
        case kZELMoney:
            return "_money";
        default:
            return "std::span<const unsigned char>";
    }
}

void WriteConstant(Writer& writer, const FieldSource& field) {
    const std::string length = field.type == kZELChars ? ", " + std::to_string(field.length) : "";
    const std::string type =
        "inline constexpr zel::DictionaryField<" + std::to_string(field.id) + ", " + TypeConstant(field) + length + '>';
    const std::string name = ' ' + writer.ConstantOf(field) + '{';
    const std::string value = Literal(field.name) + "};";
    writer.text += Comment(0, field.text);
    if (type.size() + name.size() <= kLineWidth) {
        writer.text += Fitted(0, type + name, "", value, kIndent);
        return;
    }
    writer.text += type + '\n' + Fitted(kIndent, name.substr(1), "", value, 2 * kIndent);
}

void WriteMember(Writer& writer, const EntrySource& entry, std::size_t indent) {
    const FieldSource& field = writer.Field(entry);
    const std::string type = MemberType(field);
    writer.text += Comment(indent, field.text);
    writer.text += Fitted(indent, entry.mandatory ? type : "std::optional<" + type + '>', " ",
                          writer.NameOf(field) + (entry.mandatory ? "{};" : ";"), indent + kIndent);
}

// zel::Field(fields::kSymbol, &NewOrder::symbol), on as many lines as it takes.
void WriteLayoutField(Writer& writer, const EntrySource& entry, const std::string& owner, std::size_t indent) {
    const FieldSource& field = writer.Field(entry);
    const std::string start = std::string(indent, ' ') + "zel::Field(";
    const std::string constant = "fields::" + writer.ConstantOf(field) + ',';
    const std::string path = '&' + owner + "::";
    const std::string name = writer.NameOf(field) + "),";
    const std::size_t size = path.size() + name.size();
    const std::string further(indent + kIndent, ' ');
    const std::string aligned(start.size(), ' ');
    if (start.size() + constant.size() + 1 + size <= kLineWidth) {
        writer.text += start + constant + ' ' + path + name + '\n';
    } else if (aligned.size() + size > kLineWidth && further.size() + size <= kLineWidth) {
        writer.text += start + '\n' + further + constant + '\n' + further + path + name + '\n';
    } else {
        writer.text += start + constant + '\n' + Fitted(aligned.size(), path, "", name, aligned.size() + kIndent);
    }
}

// LEG_COUNT counts the array `legs` of the struct Leg; any other name the array `repetitions`.
struct GroupNames {
    std::string element;
    std::string array;
};

GroupNames NameGroup(const Writer& writer, const MessageSource& message, const Parts& parts) {
    std::set<std::string> members = {writer.NameOf(*parts.count)};
    for (const EntrySource* entry : parts.fields) {
        members.insert(writer.NameOf(writer.Field(*entry)));
    }
    const std::string count = writer.NameOf(*parts.count);
    const bool isPlain = count.size() > 5 && count.ends_with("Count");
    const std::string stem = isPlain ? count.substr(0, count.size() - 5) : "repetition";
    std::set<std::string> types = {writer.names.messages.at({message.type, message.subType})};
    return {TakeName(types, Capitalised(stem)), TakeName(members, stem + 's')};
}

void WriteMessage(Writer& writer, const MessageSource& message) {
    const Parts parts = TakeApart(writer, message);
    const std::string& owner = writer.names.messages.at({message.type, message.subType});
    const GroupNames group = parts.count != nullptr ? NameGroup(writer, message, parts) : GroupNames{};
    writer.text += '\n' + Comment(0, message.name + ": type " + std::to_string(message.type) + ", sub-type " +
                                         std::to_string(message.subType));
    const bool isEmpty = parts.fields.empty() && parts.count == nullptr;
    writer.text += "struct " + owner + (isEmpty ? " {};\n" : " {\n");
    if (parts.count != nullptr) {
        writer.text += "    struct " + group.element + (parts.group.empty() ? " {};\n\n" : " {\n");
        for (const EntrySource* entry : parts.group) {
            WriteMember(writer, *entry, 2 * kIndent);
        }
        writer.text += parts.group.empty() ? "" : "    };\n\n";
    }
    for (const EntrySource* entry : parts.fields) {
        WriteMember(writer, *entry, kIndent);
    }
    if (parts.count != nullptr) {
        writer.text +=
            Comment(kIndent, parts.count->text) + "    std::uint32_t " + writer.NameOf(*parts.count) + "{};\n";
        writer.text += "    std::array<" + group.element + ", " + std::to_string(writer.options.repetitions) + "> " +
                       group.array + "{};\n";
    }
    writer.text += isEmpty ? "" : "};\n";

    writer.text += "\ninline constexpr zel::Layout k" + owner + "{\n    zel::Message<" + owner + ">{" +
                   std::to_string(message.type) + ", " + std::to_string(message.subType) + "},\n";
    for (const EntrySource* entry : parts.fields) {
        WriteLayoutField(writer, *entry, owner, kIndent);
    }
    if (parts.count != nullptr) {
        writer.text += "    zel::Group{\n        &" + owner + "::" + group.array + ",\n        &" + owner +
                       "::" + writer.NameOf(*parts.count) + ",\n";
        for (const EntrySource* entry : parts.group) {
            WriteLayoutField(writer, *entry, owner + "::" + group.element, 2 * kIndent);
        }
        writer.text += "    },\n";
    }
    writer.text += "};\n";
}

std::string Guard(const std::string& space) {
    std::string guard;
    for (const char c : space) {
        // Of "::" one "_": two are the compiler's own.
        guard += c != ':' ? Capitalised(std::string(1, c)) : guard.ends_with('_') ? "" : "_";
    }
    return "ZEL_DICTIONARY_" + guard + "_HPP";
}

}  // namespace

std::string CppHeader(const DictionarySource& dictionary, const std::vector<const MessageSource*>& messages,
                      const CppHeaderOptions& options) {
    Writer writer{dictionary, options, NameForCpp(dictionary), {}};
    std::map<std::pair<int, int>, const MessageSource*> chosen;
    std::map<std::uint16_t, const FieldSource*> fields;
    for (const MessageSource* message : messages) {
        chosen.emplace(std::pair(message->type, message->subType), message);
        for (const EntrySource& entry : message->entries) {
            fields.emplace(writer.Field(entry).id, &writer.Field(entry));
        }
    }
    if (messages.empty()) {
        for (const MessageSource& message : dictionary.messages) {
            chosen.emplace(std::pair(message.type, message.subType), &message);
        }
        for (const FieldSource& field : dictionary.fields) {
            fields.emplace(field.id, &field);
        }
    }

    const std::string guard = Guard(options.space);
    writer.text =
        "// The fields and messages of a dictionary. Made by `zel dict header`: make it again when the dictionary "
        "changes.\n"
        "#ifndef " +
        guard + "\n#define " + guard +
        "\n\n#include <array>\n#include <cstdint>\n#include <optional>\n#include <span>\n#include "
        "<string_view>\n\n#include <zel.hpp>\n\nnamespace " +
        options.space + " {\n\nnamespace fields {\n\n";
    for (const auto& [id, field] : fields) {
        WriteConstant(writer, *field);
    }
    writer.text += "\n}  // namespace fields\n";
    for (const auto& [type, message] : chosen) {
        WriteMessage(writer, *message);
    }
    return writer.text + "\n}  // namespace " + options.space + "\n\n#endif  // " + guard + '\n';
}

}  // namespace zel::tools
