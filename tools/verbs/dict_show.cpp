#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/dictionary/source_check.h"
#include "tools/dictionary/source_text.h"
#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/text/json_document.h"
#include "tools/text/text_table.h"
#include "tools/verbs/all_verbs.h"
#include "tools/verbs/dictionary_option.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

struct ShowOptions {
    std::string dictionary;  // either may be empty; one argument alone stands here, whichever it is
    std::string subject;
    bool json = false;
};

struct Request {
    std::string path;     // empty: what is served
    std::string subject;  // name, id or TYPE/SUBTYPE; empty: all
};

// One argument alone is a dictionary when its name or a file of that name says so.
bool NamesDictionary(const std::string& argument) {
    std::error_code ignored;
    return IsSourceName(argument) || argument.ends_with(".img") || std::filesystem::is_regular_file(argument, ignored);
}

Request ReadRequest(const ShowOptions& options) {
    if (options.dictionary.empty() || !options.subject.empty() || NamesDictionary(options.dictionary)) {
        return {options.dictionary, options.subject};
    }
    return {"", options.dictionary};
}

std::string TypeName(const FieldSource& field) {
    return image::FindFieldTypeRule(field.type)->name;
}

void ShowFields(const std::vector<const FieldSource*>& fields, const Style& style) {
    Table table{{"id", "name", "type", "length", "version", "text"}, {}};
    for (const FieldSource* field : fields) {
        table.rows.push_back({std::to_string(field->id), field->name, TypeName(*field),
                              field->length == 0 ? "" : std::to_string(field->length), std::to_string(field->version),
                              field->text});
    }
    PrintTable(std::cout, table, style);
}

void ShowMessages(const std::vector<const MessageSource*>& messages, const Style& style) {
    Table table{{"message", "name", "fields", "mandatory", "group"}, {}};
    for (const MessageSource* message : messages) {
        const auto mandatory = std::count_if(message->entries.begin(), message->entries.end(),
                                             [](const EntrySource& entry) { return entry.mandatory; });
        table.rows.push_back({TypeAndSubType(*message), message->name, std::to_string(message->entries.size()),
                              std::to_string(mandatory),
                              !message->hasGroup ? ""
                                                 : Counted(message->groupSize, "field") + " by " +
                                                       message->entries[message->groupStart - 1].field});
    }
    PrintTable(std::cout, table, style);
}

// One message in the order of the wire; the fields of its group stand under their count.
void ShowMessage(const DictionarySource& dictionary, const MessageSource& message, const Style& style) {
    std::cout << Highlighted(style, Highlight::kBold,
                             Printable("message " + TypeAndSubType(message) + ' ' + message.name))
              << '\n';
    Table table{{"id", "field", "presence", "type", "length", "version", "text"}, {}};
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        const EntrySource& entry = message.entries[i];
        const FieldSource& field = *FindField(dictionary, entry.field);
        const bool inGroup = i >= message.groupStart && i < message.groupStart + message.groupSize;
        table.rows.push_back({std::to_string(field.id), (inGroup ? "  " : "") + field.name,
                              entry.mandatory ? "mandatory" : "optional", TypeName(field),
                              field.length == 0 ? "" : std::to_string(field.length), std::to_string(field.version),
                              field.text});
    }
    PrintTable(std::cout, table, style);
}

bool Carries(const MessageSource& message, const std::string& field) {
    return std::any_of(message.entries.begin(), message.entries.end(),
                       [&](const EntrySource& entry) { return entry.field == field; });
}

void ShowField(const DictionarySource& dictionary, const FieldSource& field, const Style& style) {
    ShowFields({&field}, style);
    std::vector<const MessageSource*> carriers;
    for (const MessageSource& message : dictionary.messages) {
        if (Carries(message, field.name)) {
            carriers.push_back(&message);
        }
    }
    if (carriers.empty()) {
        std::cout << "\nlisted by no message\n";
        return;
    }
    std::cout << '\n';
    ShowMessages(carriers, style);
}

// Shows every field and message that the subject names; false when there is none.
bool ShowSubject(const DictionarySource& dictionary, const std::string& subject, const Style& style) {
    bool found = false;
    for (const FieldSource& field : dictionary.fields) {
        if (field.name == subject || std::to_string(field.id) == subject) {
            ShowField(dictionary, field, style);
            found = true;
        }
    }
    if (const MessageSource* message = FindMessage(dictionary, subject)) {
        std::cout << (found ? "\n" : "");
        ShowMessage(dictionary, *message, style);
        found = true;
    }
    return found;
}

void ShowAll(const DictionarySource& dictionary, const Style& style) {
    std::map<std::uint16_t, const FieldSource*> byId;
    for (const FieldSource& field : dictionary.fields) {
        byId.emplace(field.id, &field);
    }
    std::vector<const FieldSource*> fields;
    fields.reserve(byId.size());
    for (const auto& [id, field] : byId) {
        fields.push_back(field);
    }
    ShowFields(fields, style);
    std::cout << '\n';
    std::vector<const MessageSource*> messages;
    messages.reserve(dictionary.messages.size());
    for (const MessageSource& message : dictionary.messages) {
        messages.push_back(&message);
    }
    ShowMessages(messages, style);
}

// A foreign builder may have put things into the image that no source can say.
void CheckRebuilt(const DictionaryFile& file, const std::string& text, Findings& findings) {
    const JsonDocument document = ParseJson(text, findings);
    const DictionarySource again = ParseDictionary(document.root(), findings);
    CheckDictionary(again, findings);
    if (CountErrors(findings) == 0 && !file.image.empty() && BuildDictionaryImage(again) != file.image) {
        AddError(findings, "", "holds what a source cannot say: the source shown builds another image");
    }
}

int ShowSource(const DictionaryFile& file) {
    const std::string text = SourceText(file.dictionary);
    std::cout << text;
    Findings findings;
    CheckRebuilt(file, text, findings);
    const std::size_t errors = CountErrors(findings);
    if (errors != 0) {
        PrintFindings(file.path, findings);
    }
    return errors == 0 ? kStatusGood : kStatusDiffers;
}

int ShowDictionary(const ShowOptions& options) {
    const Request request = ReadRequest(options);
    if (options.json && !request.subject.empty()) {
        Complain("zel: --json shows the whole dictionary; leave out " + request.subject);
        return kStatusUnable;
    }
    const std::optional<DictionaryFile> file = OpenDictionaryFile(request.path);
    if (!file) {
        return kStatusUnable;
    }
    if (options.json) {
        return ShowSource(*file);
    }
    const Style style = OutputStyle();
    if (request.subject.empty()) {
        ShowAll(file->dictionary, style);
        return kStatusGood;
    }
    if (!ShowSubject(file->dictionary, request.subject, style)) {
        Complain(file->path + ": has no field or message " + request.subject + "; 'zel dict show " + file->path +
                 "' lists what it has");
        return kStatusDiffers;
    }
    return kStatusGood;
}

}  // namespace

Verb DictShowVerb() {
    auto options = std::make_shared<ShowOptions>();
    return {
        .name = "show",
        .summary = "Show the fields and messages of a dictionary",
        .options = {DictionaryArgument(&options->dictionary),
                    {"WHAT", &options->subject,
                     "Name of a field or a message, id of a field, or TYPE/SUBTYPE of a message. Without it, "
                     "everything",
                     "", false, true},
                    {"--json", &options->json, "Write the whole dictionary as a source that builds to the same image"}},
        .footer =
            "Examples:\n"
            "  zel dict show\n"
            "  zel dict show LIMIT_PRICE\n"
            "  zel dict show 10/2\n"
            "  zel dict show --json > market.json\n"
            "  zel dict show market.json 20/3\n"
            "Exit status: 0 shown, 1 nothing has that name or number, 2 wrong usage or no usable dictionary.",
        .run = [options] { return ShowDictionary(*options); }};
}

}  // namespace zel::tools
