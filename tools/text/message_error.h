// What is wrong with a message that is given as text.
#ifndef ZEL_TOOLS_TEXT_MESSAGE_ERROR_H
#define ZEL_TOOLS_TEXT_MESSAGE_ERROR_H

#include <stdexcept>

namespace zel::tools {

// Its text ends the line that the user sees.
struct MessageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_MESSAGE_ERROR_H
