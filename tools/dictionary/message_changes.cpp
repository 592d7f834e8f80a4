#include "tools/dictionary/message_changes.h"

#include <map>
#include <utility>

#include "include/zelprovider.h"

namespace zel::tools {

namespace {

// A field of the list by its id and how many entries of the same id stand before it.
using EntryKey = std::pair<std::uint16_t, std::size_t>;

struct Entry {
    EntryKey key;
    const FieldSource* field;
    bool mandatory;
    bool inGroup;
    bool afterMarker;
    bool isLast;
};

struct Listed {
    std::vector<Entry> entries;
    std::map<EntryKey, const Entry*> byKey;  // into entries
};

Listed ListEntries(const MessageSide& side) {
    Listed listed;
    std::map<std::uint16_t, std::size_t> seen;
    bool afterMarker = false;
    const MessageSource& message = side.message;
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        const FieldSource* field = FindField(side.dictionary, message.entries[i].field);
        const bool inGroup = i >= message.groupStart && i < message.groupStart + message.groupSize;
        afterMarker = afterMarker || field->id == kZELGroupMarker;
        listed.entries.push_back({{field->id, seen[field->id]++},
                                  field,
                                  message.entries[i].mandatory,
                                  inGroup,
                                  afterMarker,
                                  !inGroup && i + 1 == message.entries.size()});
    }
    for (const Entry& entry : listed.entries) {
        listed.byKey.emplace(entry.key, &entry);
    }
    return listed;
}

const Entry* FindEntry(const Listed& listed, const EntryKey& key) {
    const auto found = listed.byKey.find(key);
    return found == listed.byKey.end() ? nullptr : found->second;
}

const char* Presence(const Entry& entry) {
    return entry.mandatory ? "mandatory" : "optional";
}

std::string Described(const Entry& entry) {
    return entry.field->name + (entry.inGroup ? " in the group, " : ", ") + Presence(entry);
}

constexpr char kOneTooMany[] = "receivers that do not list it get one value too many";

Change Removed(const std::string& subject, const Entry& entry) {
    Change change{ChangeKind::kChanged, subject, "without " + Described(entry), kFormat1,
                  "the values that follow move up"};
    if (entry.key.first == kZELGroupMarker) {
        change.breaks = kAllFormats;
        change.reason = "nothing marks where a repetition starts";
        return change;
    }
    if (entry.mandatory) {
        change.breaks = kAllFormats;
        change.reason = "receivers that rely on it no longer get it";
    } else if (entry.isLast) {
        change.reason = kOneTooMany;
    }
    return change;
}

Change Added(const std::string& subject, const Entry& entry, int highestVersion) {
    Change change{ChangeKind::kChanged, subject, "with " + Described(entry), kFormat1,
                  "the values that follow move down"};
    if (entry.key.first == kZELGroupMarker) {
        change.breaks = kAllFormats;
        change.reason = "one side marks where a repetition starts, the other does not";
        return change;
    }
    const bool isNewer = entry.field->version > highestVersion;
    if (entry.mandatory && !isNewer) {
        change.breaks = kAllFormats;
        change.reason = "senders with the old dictionary leave it out";
        return change;
    }
    if (entry.isLast && isNewer) {
        change.breaks = kNoFormat;
        change.reason = "left out of messages below version " + std::to_string(entry.field->version);
        return change;
    }
    if (entry.isLast) {
        change.reason = kOneTooMany;
    }
    return change;
}

void CompareEntry(const std::string& subject, const Entry& before, const Entry& after, std::vector<Change>& changes) {
    const std::string& name = after.field->name;
    if (before.inGroup != after.inGroup) {
        changes.push_back({ChangeKind::kChanged, subject,
                           name + (after.inGroup ? " moved into the group" : " moved out of the group"), kAllFormats,
                           "one side takes it once, the other in every repetition"});
    } else if (before.afterMarker != after.afterMarker && before.inGroup) {
        changes.push_back({ChangeKind::kChanged, subject,
                           name + " moved past the field that marks where a repetition starts", kAllFormats,
                           "the value lands in another repetition"});
    }
    if (before.mandatory == after.mandatory) {
        return;
    }
    const std::string text = name + ' ' + Presence(before) + ", now " + Presence(after);
    changes.push_back({ChangeKind::kChanged, subject, text, kFormat0 | kFormat2,
                       after.mandatory ? "senders with the old dictionary may leave it out"
                                       : "receivers that rely on it may no longer get it"});
}

// The entries that both sides have, in the order of one of them.
std::vector<EntryKey> CommonOrder(const Listed& listed, const Listed& other) {
    std::vector<EntryKey> keys;
    for (const Entry& entry : listed.entries) {
        if (FindEntry(other, entry.key) != nullptr) {
            keys.push_back(entry.key);
        }
    }
    return keys;
}

// The id of the field that counts the group's repetitions, 0 without a group.
std::uint16_t CountFieldId(const MessageSide& side) {
    const MessageSource& message = side.message;
    return message.hasGroup ? FindField(side.dictionary, message.entries[message.groupStart - 1].field)->id
                            : std::uint16_t{0};
}

std::string GroupText(const MessageSide& side) {
    return side.message.hasGroup ? "group counted by " + side.message.entries[side.message.groupStart - 1].field
                                 : "no group";
}

}  // namespace

std::string MessageSubject(const MessageSource& message) {
    return "message " + std::to_string(message.type) + '/' + std::to_string(message.subType) + ' ' + message.name;
}

void CompareMessages(const MessageSide& before, const MessageSide& after, int highestVersion,
                     std::vector<Change>& changes) {
    const std::string subject = MessageSubject(after.message);
    const Listed old = ListEntries(before);
    const Listed now = ListEntries(after);
    if (before.message.name != after.message.name) {
        changes.push_back({ChangeKind::kChanged, subject, "name " + before.message.name + ", now " + after.message.name,
                           kNoFormat, "names of messages do not travel"});
    }
    if (CountFieldId(before) != CountFieldId(after)) {
        changes.push_back({ChangeKind::kChanged, subject, GroupText(before) + ", now " + GroupText(after), kAllFormats,
                           "the sides disagree about the number of repetitions"});
    }
    for (const Entry& entry : old.entries) {
        if (FindEntry(now, entry.key) == nullptr) {
            changes.push_back(Removed(subject, entry));
        }
    }
    for (const Entry& entry : now.entries) {
        const Entry* same = FindEntry(old, entry.key);
        if (same == nullptr) {
            changes.push_back(Added(subject, entry, highestVersion));
            continue;
        }
        CompareEntry(subject, *same, entry, changes);
    }
    if (CommonOrder(old, now) != CommonOrder(now, old)) {
        changes.push_back({ChangeKind::kChanged, subject, "fields in another order", kFormat1,
                           "values are told by their place alone"});
    }
}

}  // namespace zel::tools
