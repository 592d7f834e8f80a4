// Messages as rows of a table, for spreadsheets.
#ifndef ZEL_TOOLS_CAPTURE_MESSAGE_CSV_H
#define ZEL_TOOLS_CAPTURE_MESSAGE_CSV_H

#include <string>
#include <vector>

#include "tools/dictionary/catalog.h"
#include "tools/message/message_json.h"

namespace zel::tools {

// The row with the names of the columns.
void AppendCsvHead(std::string& out, const std::vector<const CatalogField*>& fields, bool hasFile, bool hasOffset);

// One row, or one for each repetition that has one of the fields; the values outside the group stand in each. `file`
// stands in the first column unless it is empty.
void AppendCsvRows(std::string& out, const ReceivedMessage& message, const std::vector<const CatalogField*>& fields,
                   const std::string& file);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_MESSAGE_CSV_H
