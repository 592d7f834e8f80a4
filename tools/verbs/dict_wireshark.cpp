#include <array>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tools/dictionary/dictionary_file.h"
#include "tools/io/file_output.h"
#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/text/json_text.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"

namespace zel::tools {

// The sources in wireshark/, joined by the build.
extern const char* const kDissector;

namespace {

struct WiresharkOptions {
    std::string dictionary;  // empty: what the provider serves
    std::string output;      // empty: standard output
};

// Where Wireshark looks for the dissector.
constexpr const char* kPluginFolders =
    "~/.local/lib/wireshark/plugins on Linux and macOS, %APPDATA%\\Wireshark\\plugins on Windows";

// A text as Lua reads it back. What is no UTF-8 would not be shown: its bytes become question marks.
std::string LuaText(std::string_view text) {
    const bool isUtf8 = IsUtf8(text);
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            std::array<char, 8> escape;
            (void)std::snprintf(escape.data(), escape.size(), "\\%03u", unsigned{byte});
            quoted += escape.data();
        } else if (byte >= 0x80 && !isUtf8) {
            quoted += '?';
        } else {
            quoted += c == '"' || c == '\\' ? "\\" : "";
            quoted += c;
        }
    }
    return quoted + '"';
}

std::string FieldRow(const FieldSource& field) {
    // Other builders' images may have fields without names.
    const std::string name = field.name.empty() ? std::to_string(field.id) : field.name;
    return "        [" + std::to_string(field.id) + "] = {name = " + LuaText(name) +
           ", type = " + std::to_string(field.type) + ", length = " + std::to_string(field.length) +
           ", version = " + std::to_string(field.version) + ", text = " + LuaText(field.text) + "},\n";
}

std::string MessageRow(const DictionarySource& dictionary, const MessageSource& message) {
    std::string row = "        {type = " + std::to_string(message.type) +
                      ", sub_type = " + std::to_string(message.subType) + ", name = " + LuaText(message.name);
    if (message.hasGroup) {
        const FieldSource& count = *FindField(dictionary, message.entries[message.groupStart - 1].field);
        row += ", count_id = " + std::to_string(count.id) +
               ", group_first = " + std::to_string(message.groupStart + 1) +
               ", group_size = " + std::to_string(message.groupSize);
    }
    row += ", fields = {";
    const char* separator = "";
    for (const EntrySource& entry : message.entries) {
        row += separator + std::to_string(FindField(dictionary, entry.field)->id);
        separator = ", ";
    }
    return row + "}},\n";
}

std::string DissectorText(const std::string& source, const DictionarySource& dictionary) {
    std::string text = "-- Dissector of the ZEL protocol for Wireshark and tshark, from 3.6 on, with the dictionary " +
                       LuaText(source) + ":\n-- " + Summary(dictionary) +
                       ". Made by `zel dict wireshark`: make it again when the dictionary changes.\n-- Copy it to " +
                       kPluginFolders + ".\n\nlocal dictionary = {\n    fields = {\n";
    for (const FieldSource& field : dictionary.fields) {
        text += FieldRow(field);
    }
    text += "    },\n    messages = {\n";
    for (const MessageSource& message : dictionary.messages) {
        text += MessageRow(dictionary, message);
    }
    return text + "    },\n}\n" + kDissector;
}

int WriteDissector(const WiresharkOptions& options) {
    const std::optional<DictionaryFile> file = OpenDictionaryFile(options.dictionary);
    if (!file) {
        return kStatusUnable;
    }
    const std::string source = std::filesystem::path(file->path).filename().string();
    const std::string text = DissectorText(source, file->dictionary);
    if (options.output.empty()) {
        std::cout << text;
        return kStatusGood;
    }
    WriteFileAtomically(options.output, {text.begin(), text.end()});
    std::cout << Printable(options.output) << ": " << Summary(file->dictionary) << "\nTo install it, copy it to "
              << kPluginFolders << '\n';
    return kStatusGood;
}

}  // namespace

Verb DictWiresharkVerb() {
    auto options = std::make_shared<WiresharkOptions>();
    return {.name = "wireshark",
            .summary = "Write a dissector for Wireshark that knows a dictionary",
            .options = {DictionaryArgument(&options->dictionary),
                        {"-o,--output", &options->output, "Lua file to write; without it, standard output", "FILE"}},
            .footer = std::string("The file is a whole dissector, for Wireshark and tshark from 3.6 on. To install it, "
                                  "copy it to ") +
                      kPluginFolders +
                      ". To try it out, name it: tshark -X lua_script:FILE.\n"
                      "Examples:\n"
                      "  zel dict wireshark -o zel.lua\n"
                      "Exit status: 0 written, 2 wrong usage, no usable dictionary or the file cannot be written.",
            .run = [options] { return WriteDissector(*options); }};
}

}  // namespace zel::tools
