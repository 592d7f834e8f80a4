// Messages from their JSON form to the bytes that travel.
#ifndef ZEL_TOOLS_CAPTURE_MESSAGE_WRITER_H
#define ZEL_TOOLS_CAPTURE_MESSAGE_WRITER_H

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "include/zelmessage.h"
#include "tools/capture/header_json.h"
#include "tools/capture/library_reports.h"
#include "tools/dictionary/catalog.h"

namespace zel::tools {

class MessageWriter {
public:
    explicit MessageWriter(const Catalog& catalog);

    // The message's bytes, which stay until the next one. Throws MessageError.
    std::string_view Write(const nlohmann::json& json);

private:
    // A member of "fields" or of an element of "group": a value for one slot.
    struct GivenField {
        SlotPlace place;
        std::string where;  // in the JSON
        const nlohmann::json* value;
    };

    void ReadKind(const nlohmann::json& json);
    void ReadFields(const nlohmann::json& json);
    void ReadObject(const nlohmann::json& object, std::size_t repetition, const std::string& where);
    [[nodiscard]] int RepeatCount(const nlohmann::json& json) const;
    void Create(int repeatCount);
    void NumberSlots();
    [[nodiscard]] std::size_t SlotAt(const SlotPlace& place) const;
    void SetField(const GivenField& given);
    void SetMissing(const nlohmann::json& json);
    void SetValue(const SlotPlace& place, const std::string& bytes);
    std::string_view Pack(FrameKind frame);
    void Reorder(const nlohmann::json& order, char* message, std::size_t size) const;

    const Catalog& catalog_;
    ReportCollector reports_;
    CZELMessage object_;
    std::vector<char> buffer_;

    // The message being written.
    const CatalogMessage* kind_ = nullptr;
    GivenHeader header_{};
    std::vector<GivenField> given_;
    std::vector<SlotPlace> places_;        // by slot
    std::vector<short> occurrences_;       // by slot
    std::vector<std::size_t> firstSlots_;  // by entry; as many as there are slots: it has none
    std::vector<short> slotsOfId_;         // counted by NumberSlots
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_MESSAGE_WRITER_H
