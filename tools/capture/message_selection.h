// Which messages of a capture are wanted: by their type, and by the values of their fields.
#ifndef ZEL_TOOLS_CAPTURE_MESSAGE_SELECTION_H
#define ZEL_TOOLS_CAPTURE_MESSAGE_SELECTION_H

#include <string>
#include <utility>
#include <vector>

#include "core/wire/header_numbers.h"
#include "include/zelmessage.h"
#include "tools/dictionary/catalog.h"

namespace zel::tools {

class MessageSelection {
public:
    // A name, for which a catalog is needed, or TYPE/SUBTYPE. Throws MessageError. Of several types any will do.
    void AddType(const std::string& text, const Catalog* catalog);

    // FIELD=VALUE, or with !=, <, <=, >, >= or ~ (contains). Throws MessageError. Of several conditions all must hold.
    void AddCondition(const std::string& text, const Catalog& catalog);

    // Null: the message has no header.
    [[nodiscard]] bool WantsType(const ZelMsgStruct* header) const;
    // Null: the message cannot be read.
    [[nodiscard]] bool WantsContent(const ZelMsgStruct* content) const;

private:
    struct Condition {
        const CatalogField* field;
        std::string comparison;
        std::string value;  // as a message holds it in memory
    };
    static bool Holds(const Condition& condition, const ZELDataBuf& fields);

    std::vector<std::pair<int, int>> types_;  // with sub-types; none: all
    std::vector<Condition> conditions_;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_MESSAGE_SELECTION_H
