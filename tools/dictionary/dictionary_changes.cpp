#include "tools/dictionary/dictionary_changes.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "core/tables/field_shape.h"
#include "tools/dictionary/message_changes.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

using FieldById = std::map<std::uint16_t, const FieldSource*>;

// A dictionary with what the comparison asks it.
struct Side {
    const DictionarySource& dictionary;
    FieldById byId;
    std::set<std::uint16_t> listed;  // ids of the fields in the messages that both dictionaries have
};

using MessageByType = std::map<std::pair<int, int>, const MessageSource*>;

MessageByType IndexMessages(const DictionarySource& dictionary) {
    MessageByType byType;
    for (const MessageSource& message : dictionary.messages) {
        byType.emplace(std::pair<int, int>(message.type, message.subType), &message);
    }
    return byType;
}

Side MakeSide(const DictionarySource& dictionary, const DictionarySource& other) {
    Side side{dictionary, {}, {}};
    for (const FieldSource& field : dictionary.fields) {
        side.byId.emplace(field.id, &field);
    }
    const MessageByType others = IndexMessages(other);
    for (const auto& [type, message] : IndexMessages(dictionary)) {
        if (!others.contains(type)) {
            continue;
        }
        for (const EntrySource& entry : message->entries) {
            side.listed.insert(FindField(dictionary, entry.field)->id);
        }
    }
    return side;
}

std::string Subject(const FieldSource& field) {
    return "field " + std::to_string(field.id) + ' ' + field.name;
}

std::string Described(const FieldSource& field) {
    const image::FieldTypeRule& rule = *image::FindFieldTypeRule(field.type);
    const std::string length = rule.length == image::kAnyLength ? " of length " + std::to_string(field.length) : "";
    return rule.name + length + ", version " + std::to_string(field.version);
}

// Types of one shape share their bytes; only the empty bytes10 differs, which nothing but format 1 sends. A float is
// read as another number than a whole one.
Formats BrokenByType(std::uint16_t before, std::uint16_t after) {
    if (image::IsInteger(before) != image::IsInteger(after) || ShapeOf(before) != ShapeOf(after)) {
        return kAllFormats;
    }
    return before == kZELBytes10 || after == kZELBytes10 ? kFormat1 : kNoFormat;
}

Change CompareTypes(const FieldSource& before, const FieldSource& after) {
    Change change{ChangeKind::kChanged, Subject(after),
                  std::string("type ") + image::FindFieldTypeRule(before.type)->name + ", now " +
                      image::FindFieldTypeRule(after.type)->name,
                  BrokenByType(before.type, after.type), ""};
    change.reason = change.breaks == kNoFormat  ? "the bytes are the same"
                    : change.breaks == kFormat1 ? "an empty bytes10 takes no bytes there, the others take two"
                                                : "the bytes are read as something else";
    return change;
}

// A name that another id has on the other side was moved; else only the name is new.
Change CompareNames(const Side& before, const Side& after, const FieldSource& was, const FieldSource& is) {
    Change change{ChangeKind::kChanged, Subject(is), "name " + was.name + ", now " + is.name, kNoFormat,
                  "programs that ask for the old name find nothing; a field that means something else needs an id of "
                  "its own"};
    const FieldSource* movedTo = FindField(after.dictionary, was.name);
    const FieldSource* movedFrom = FindField(before.dictionary, is.name);
    if (movedTo != nullptr || movedFrom != nullptr) {
        change.breaks = kAllFormats;
        change.reason =
            movedTo != nullptr
                ? was.name + " has the id " + std::to_string(movedTo->id) + " now: the sides mean different fields"
                : is.name + " had the id " + std::to_string(movedFrom->id) + ": the sides mean different fields";
    }
    return change;
}

Change CompareVersions(const FieldSource& before, const FieldSource& after) {
    Change change{ChangeKind::kChanged, Subject(after),
                  "version " + std::to_string(before.version) + ", now " + std::to_string(after.version), kNoFormat,
                  "messages of lower versions carry it now"};
    if (after.version > before.version) {
        change.breaks = kAllFormats;
        change.reason = "messages below version " + std::to_string(after.version) + " no longer carry it";
    }
    return change;
}

void CompareField(const Side& before, const Side& after, const FieldSource& was, const FieldSource& is,
                  std::vector<Change>& changes) {
    const std::size_t first = changes.size();
    if (was.name != is.name) {
        changes.push_back(CompareNames(before, after, was, is));
    }
    if (was.type != is.type) {
        changes.push_back(CompareTypes(was, is));
    }
    if (was.type == is.type && was.length != is.length) {
        changes.push_back({ChangeKind::kChanged, Subject(is),
                           "length " + std::to_string(was.length) + ", now " + std::to_string(is.length),
                           kFormat0 | kFormat1, "the value ends elsewhere"});
    }
    if (was.version != is.version) {
        changes.push_back(CompareVersions(was, is));
    }
    if (was.text != is.text) {
        changes.push_back({ChangeKind::kChanged, Subject(is), "text", kNoFormat, ""});
    }
    if (before.listed.contains(is.id) || after.listed.contains(is.id)) {
        return;
    }
    for (std::size_t i = first; i < changes.size(); ++i) {
        if (changes[i].breaks != kNoFormat) {
            changes[i].breaks = kNoFormat;
            changes[i].reason = "no message that both have lists it";
        }
    }
}

// Without a record of the id a receiver cannot step over the value in format 0; format 2 says where it ends.
constexpr char kUnknownId[] = "a receiver that does not know the id loses what follows it in a message";

void CompareFields(const Side& before, const Side& after, int highestVersion, std::vector<Change>& changes) {
    for (const auto& [id, was] : before.byId) {
        if (!after.byId.contains(id)) {
            const bool listed = before.listed.contains(id);
            changes.push_back({ChangeKind::kRemoved, Subject(*was), Described(*was), listed ? kFormat0 : kNoFormat,
                               listed ? kUnknownId : ""});
        }
    }
    for (const auto& [id, is] : after.byId) {
        const auto was = before.byId.find(id);
        if (was != before.byId.end()) {
            CompareField(before, after, *was->second, *is, changes);
            continue;
        }
        const bool isNewer = is->version > highestVersion;
        const bool breaks = after.listed.contains(id) && !isNewer;
        changes.push_back({ChangeKind::kAdded, Subject(*is), Described(*is), breaks ? kFormat0 : kNoFormat,
                           breaks ? kUnknownId : ""});
    }
}

void CompareAllMessages(const Side& before, const Side& after, int highestVersion, std::vector<Change>& changes) {
    const MessageByType old = IndexMessages(before.dictionary);
    const MessageByType now = IndexMessages(after.dictionary);
    for (const auto& [type, message] : old) {
        if (!now.contains(type)) {
            changes.push_back({ChangeKind::kRemoved, MessageSubject(*message),
                               Counted(message->entries.size(), "field"), kAllFormats,
                               "receivers with the new dictionary refuse it"});
        }
    }
    for (const auto& [type, message] : now) {
        const auto was = old.find(type);
        if (was == old.end()) {
            changes.push_back({ChangeKind::kAdded, MessageSubject(*message), Counted(message->entries.size(), "field"),
                               kNoFormat, "receivers with the old dictionary refuse it"});
            continue;
        }
        CompareMessages({before.dictionary, *was->second}, {after.dictionary, *message}, highestVersion, changes);
    }
}

// Programs with this dictionary ask for no higher version.
int HighestVersion(const DictionarySource& dictionary) {
    int highest = 1;
    for (const FieldSource& field : dictionary.fields) {
        highest = std::max<int>(highest, field.version);
    }
    return highest;
}

}  // namespace

std::vector<Change> CompareDictionaries(const DictionarySource& before, const DictionarySource& after) {
    std::vector<Change> changes;
    const Side old = MakeSide(before, after);
    const Side now = MakeSide(after, before);
    const int highestVersion = HighestVersion(before);
    CompareFields(old, now, highestVersion, changes);
    CompareAllMessages(old, now, highestVersion, changes);
    return changes;
}

}  // namespace zel::tools
