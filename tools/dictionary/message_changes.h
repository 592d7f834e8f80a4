// What changed in one message between two dictionaries.
#ifndef ZEL_TOOLS_DICTIONARY_MESSAGE_CHANGES_H
#define ZEL_TOOLS_DICTIONARY_MESSAGE_CHANGES_H

#include <string>
#include <vector>

#include "tools/dictionary/change.h"
#include "tools/dictionary/dictionary_source.h"

namespace zel::tools {

struct MessageSide {
    const DictionarySource& dictionary;
    const MessageSource& message;
};

// Appends the changes; a field of a version above `highestVersion` goes to no program that knows the old dictionary.
void CompareMessages(const MessageSide& before, const MessageSide& after, int highestVersion,
                     std::vector<Change>& changes);

// "message 10/1 NEW_ORDER"
[[nodiscard]] std::string MessageSubject(const MessageSource& message);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_MESSAGE_CHANGES_H
