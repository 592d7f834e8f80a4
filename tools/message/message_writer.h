// Messages from their JSON form to the bytes that travel.
#ifndef ZEL_TOOLS_MESSAGE_MESSAGE_WRITER_H
#define ZEL_TOOLS_MESSAGE_MESSAGE_WRITER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "include/zelmessage.h"
#include "tools/dictionary/catalog.h"
#include "tools/message/header_json.h"
#include "tools/message/library_reports.h"
#include "tools/message/message_members.h"
#include "tools/text/value_text.h"

namespace zel::tools {

class MessageWriter {
public:
    MessageWriter(const Catalog& catalog, Reading reading);

    // The message's bytes, which stay until the next one. Throws MessageError.
    std::string_view Write(const JsonValue& json);

private:
    // A member of "fields" or of an element of "group": a value for one slot.
    struct GivenField {
        SlotPlace place;
        JsonValue::Member member;
    };

    void ReadKind();
    void ReadFields();
    void ReadObject(const JsonValue& object, std::size_t repetition);
    [[nodiscard]] std::size_t FindEntry(std::string_view key, std::size_t repetition) const;
    [[nodiscard]] int RepeatCount() const;
    void Create(int repeatCount);
    void NumberSlots();
    [[nodiscard]] std::size_t SlotAt(const SlotPlace& place) const;
    [[nodiscard]] std::string ReadValue(const GivenField& given) const;
    void SetField(const GivenField& given);
    void SetMissing();
    void SetValue(std::size_t slot, const std::string& bytes);
    std::string_view Pack(FrameKind frame);
    void Reorder(const JsonValue& order, char* message, std::size_t size) const;

    const Catalog& catalog_;
    Reading reading_;
    ReportCollector reports_;
    CZELMessage object_;
    std::vector<char> buffer_;

    // The message being written.
    MessageMembers members_;
    const CatalogMessage* kind_ = nullptr;
    GivenHeader header_{};
    std::vector<GivenField> given_;

    // Of the kind and the repetitions that were numbered last.
    const CatalogMessage* numberedKind_ = nullptr;
    short numberedCount_ = 0;
    std::vector<SlotPlace> places_;        // by slot
    std::vector<short> occurrences_;       // by slot
    std::vector<std::size_t> firstSlots_;  // by entry; as many as there are slots: it has none
    std::vector<short> slotsOfId_;         // counted by NumberSlots
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_MESSAGE_WRITER_H
