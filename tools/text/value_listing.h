// One field's value for people's eyes.
#ifndef ZEL_TOOLS_TEXT_VALUE_LISTING_H
#define ZEL_TOOLS_TEXT_VALUE_LISTING_H

#include <string>
#include <string_view>

#include "include/zelmessage.h"
#include "tools/text/value_json.h"

namespace zel::tools {

void AppendValueListing(std::string& out, const ValueType& type, const _field_data& slot);

// A text in quotes; bytes that are no UTF-8 as \xNN.
void AppendQuoted(std::string& out, std::string_view text);
void AppendMoneyListing(std::string& out, const _money& money);
void AppendDateTimeListing(std::string& out, const _datetime& value);
// As in JSON.
void AppendRealListing(std::string& out, float number);
void AppendRealListing(std::string& out, double number);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_VALUE_LISTING_H
