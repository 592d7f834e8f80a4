#include "tools/capture/capture_diff.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "tools/message/header_json.h"
#include "tools/text/complaint.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_members.h"
#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

std::string_view BytesOf(const Frame& frame) {
    return {frame.bytes, frame.size};
}

std::string PlaceOf(const Frame& frame) {
    return "message " + std::to_string(frame.number) + " at offset " + std::to_string(frame.offset);
}

// ,"key":value
void AppendMember(std::string& out, const char* key, std::string_view value) {
    out += ",\"";
    out += key;
    out += "\":";
    out += value;
}

// The value as JSON; nothing for none.
std::string SourceOf(const JsonValue& value) {
    std::string source;
    if (value.Is(JsonKind::kText)) {
        AppendText(source, value.Text());
    } else if (value) {
        source = value.Source();
    }
    return source;
}

// The members of an object, sorted by their keys: of two messages each has to be found in the other, and there may be
// thousands.
class SortedMembers {
public:
    explicit SortedMembers(const JsonValue& object) {
        members_.reserve(object.size());
        for (const JsonValue::Member& member : object) {
            members_.push_back(member);
        }
        std::ranges::stable_sort(members_, {}, &JsonValue::Member::key);
    }
    [[nodiscard]] JsonValue Find(std::string_view key) const {
        const auto found = std::ranges::lower_bound(members_, key, {}, &JsonValue::Member::key);
        return found != members_.end() && found->key == key ? found->value : JsonValue();
    }

private:
    std::vector<JsonValue::Member> members_;
};

// "[1,null]"
std::string PairOf(std::string_view first, std::string_view second) {
    std::string pair = "[";
    pair += first.empty() ? "null" : first;
    pair += ',';
    pair += second.empty() ? "null" : second;
    return pair + ']';
}

// "NEW_ORDER, message id 101.1.1", as far as the message tells.
std::string NameOf(const JsonValue& message) {
    const JsonValue type = message.Find("type");
    if (!type) {
        return "no header";
    }
    std::string name(message.Find("name").Text());
    if (name.empty()) {
        name = "type " + std::string(type.Source()) + ", sub-type " + std::string(message.Find("subType").Source());
    }
    const char* separator = ", message id ";
    for (const JsonValue::Member& part : message.Find("messageId")) {
        name += separator + std::string(part.value.Source());
        separator = ".";
    }
    return name;
}

}  // namespace

CaptureDiff::CaptureDiff(const Catalog& catalog, DiffView view, ByteOutput& output)
    : catalog_(catalog), view_(std::move(view)), output_(output), faults_("", output), reader_(catalog) {}

CaptureDiff::Key CaptureDiff::KeyOf(const Frame& frame) const {
    ReceivedMessage message{};
    Reader payload{};
    if (!ViewMessage(frame, message, payload)) {
        return {};
    }
    const ZelMsgStruct& header = message.header.numbers;
    Key key{1, header.msgType, header.subType};
    if (!view_.byOrder) {
        key[3] = header.msgIdSeq;
        key[4] = header.msgIdPart2;
        key[5] = header.msgIdPart3;
    }
    return key;
}

void CaptureDiff::Add(std::size_t side, const Frame& frame) {
    const Key key = KeyOf(frame);
    std::multimap<Key, KeptFrame>& others = waiting_[1 - side];
    // The first that came of those that are alike.
    const auto found = others.lower_bound(key);
    if (found == others.end() || found->first != key) {
        waiting_[side].emplace(key, KeptFrame{frame, std::string(BytesOf(frame))});
        return;
    }
    const Frame other = found->second.frame();
    if (BytesOf(frame) == BytesOf(other)) {
        ++same_;
    } else {
        Compare(side == 0 ? Frames{&frame, &other} : Frames{&other, &frame});
    }
    others.erase(found);
}

void CaptureDiff::EndCaptures() {
    for (std::size_t side = 0; side < waiting_.size(); ++side) {
        std::vector<Frame> left;
        for (const auto& [key, kept] : waiting_[side]) {
            left.push_back(kept.frame());
        }
        std::sort(left.begin(), left.end(), [](const Frame& a, const Frame& b) { return a.number < b.number; });
        for (const Frame& frame : left) {
            Compare(side == 0 ? Frames{&frame, nullptr} : Frames{nullptr, &frame});
        }
    }
    if (!view_.json) {
        output_.text += Counted(same_, "message") + " the same, " + std::to_string(different_) + " different, " +
                        std::to_string(only_[0]) + " only in A, " + std::to_string(only_[1]) + " only in B\n";
    }
}

// The message as JSON without its offset. One that is refused has its header; what is wrong is told.
std::string CaptureDiff::TextOf(std::size_t side, const Frame& frame, bool& anyFault) {
    ReceivedMessage message{};
    std::string fault;
    std::string text;
    const bool isRead = reader_.Read(frame, message, fault);
    if (!isRead || !fault.empty()) {
        anyFault = true;
        faults_.Begin(view_.names[side]);
        faults_.AddForMessage(frame.offset, frame.number, fault);
    }
    if (isRead) {
        message.offset.reset();
        AppendMessageJson(text, catalog_, message, {{}, {}});
        text.pop_back();
        return text;
    }
    text += '{';
    AppendFrameJson(text, message.frame);
    if (message.hasHeader) {
        const ZelMsgStruct& header = message.header.numbers;
        text += ',';
        text += message.kind != nullptr
                    ? message.kind->jsonText
                    : "\"type\":" + std::to_string(header.msgType) + ",\"subType\":" + std::to_string(header.subType);
        text += ',';
        AppendHeaderJson(text, message.header);
    }
    return text + '}';
}

void CaptureDiff::Compare(const Frames& frames) {
    std::array<std::string, 2> texts;
    bool anyFault = false;
    for (std::size_t side = 0; side < frames.size(); ++side) {
        texts[side] = frames[side] != nullptr ? TextOf(side, *frames[side], anyFault) : "";
    }
    std::array<JsonDocument, 2> documents;
    Findings findings;
    for (std::size_t side = 0; side < frames.size(); ++side) {
        if (anyFault && frames[side] != nullptr) {
            // The library did not keep all that it says.
            texts[side].back() = ',';
            texts[side] += "\"bytes\":\"";
            AppendHex(texts[side], frames[side]->bytes, frames[side]->size);
            texts[side] += "\"}";
        }
        documents[side] = ParseJson(texts[side], findings);
    }
    const JsonValue a = documents[0].root();
    const JsonValue b = documents[1].root();
    Begin(frames, a ? a : b);
    if (a && b) {
        CompareMessages(a, b);
        ++(isTold_ ? different_ : same_);
    } else {
        Tell("", a, b);
        ++only_[a ? 0 : 1];
    }
    FlushWhenLarge(output_);
}

void CaptureDiff::Begin(const Frames& frames, const JsonValue& message) {
    isTold_ = false;
    if (view_.json) {
        std::array<std::string, 2> numbers;
        std::array<std::string, 2> offsets;
        for (std::size_t side = 0; side < frames.size(); ++side) {
            numbers[side] = frames[side] != nullptr ? std::to_string(frames[side]->number) : "";
            offsets[side] = frames[side] != nullptr ? std::to_string(frames[side]->offset) : "";
        }
        title_ = "{\"numbers\":" + PairOf(numbers[0], numbers[1]);
        AppendMember(title_, "offsets", PairOf(offsets[0], offsets[1]));
        for (const char* key : {"name", "type", "subType", "messageId"}) {
            if (const JsonValue value = message.Find(key)) {
                AppendMember(title_, key, SourceOf(value));
            }
        }
        return;
    }
    const auto& [a, b] = frames;
    title_ = a == nullptr ? "only in B: " + PlaceOf(*b) : b == nullptr ? "only in A: " + PlaceOf(*a) : PlaceOf(*a);
    if (a != nullptr && b != nullptr && PlaceOf(*a) != PlaceOf(*b)) {
        title_ += ", in B " + PlaceOf(*b);
    }
    title_ += ": " + NameOf(message) + '\n';
}

void CaptureDiff::CompareMessages(const JsonValue& a, const JsonValue& b) {
    CompareMembers("", a, b);
    const JsonValue fieldsA = a.Find("fields");
    const JsonValue fieldsB = b.Find("fields");
    if (!fieldsA || !fieldsB) {
        return;  // One is refused. The bytes tell.
    }
    CompareMembers("fields", fieldsA, fieldsB);
    const JsonValue groupA = a.Find("group");
    const JsonValue groupB = b.Find("group");
    JsonValue::Iterator nextA = groupA.begin();
    JsonValue::Iterator nextB = groupB.begin();
    const std::size_t count = view_.ignored.contains("group") ? 0 : std::max(groupA.size(), groupB.size());
    for (std::size_t index = 0; index < count; ++index) {
        const bool hasA = index < groupA.size();
        const bool hasB = index < groupB.size();
        const JsonValue repetitionA = hasA ? (*nextA).value : JsonValue();
        const JsonValue repetitionB = hasB ? (*nextB).value : JsonValue();
        if (hasA && hasB) {
            CompareMembers(ElementPlace("group", index), repetitionA, repetitionB);
            ++nextA;
            ++nextB;
        } else {
            Tell(ElementPlace("group", index), repetitionA, repetitionB);
            ++(hasA ? nextA : nextB);
        }
    }
}

// Of the message itself without its fields, of "fields", or of a repetition.
void CaptureDiff::CompareMembers(const std::string& place, const JsonValue& a, const JsonValue& b) {
    const auto isCompared = [&](std::string_view key) {
        return !(place.empty() && (key == "fields" || key == "group")) && !view_.ignored.contains(key);
    };
    const SortedMembers membersOfA(a);
    const SortedMembers membersOfB(b);
    for (const auto& [key, value] : a) {
        const JsonValue other = membersOfB.Find(key);
        if (isCompared(key) && SourceOf(value) != SourceOf(other)) {
            Tell(MemberPlace(place, key), value, other);
        }
    }
    for (const auto& [key, value] : b) {
        if (isCompared(key) && !membersOfA.Find(key)) {
            Tell(MemberPlace(place, key), {}, value);
        }
    }
}

void CaptureDiff::Tell(const std::string& place, const JsonValue& a, const JsonValue& b) {
    std::string& out = output_.text;
    if (view_.json) {
        out += title_;
        if (!place.empty()) {
            out += ",\"place\":";
            AppendText(out, place);
        }
        AppendMember(out, "values", PairOf(SourceOf(a), SourceOf(b)));
        out += "}\n";
    } else {
        out += isTold_ ? "" : title_;
        if (!place.empty()) {
            out += "  " + Printable(place) + ": ";
            out += a ? SourceOf(a) : "none";
            out += ", in B ";
            out += b ? SourceOf(b) : "none";
            out += '\n';
        }
    }
    isTold_ = true;
}

}  // namespace zel::tools
