// The error boxes that the library shows: lines on standard error, or on Windows boxes, which are caught so that they
// need not be closed.
#ifndef ZEL_TESTS_LIFECYCLE_SHOWN_BOX_H
#define ZEL_TESTS_LIFECYCLE_SHOWN_BOX_H

#include <functional>
#include <string>

namespace zel::test {

// What `action` shows, as "caption: text\n" for each box.
std::string BoxesShownBy(const std::function<void()>& action);

}  // namespace zel::test

#endif  // ZEL_TESTS_LIFECYCLE_SHOWN_BOX_H
