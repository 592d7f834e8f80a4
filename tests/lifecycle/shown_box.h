// The error boxes that the library shows: lines on standard error, or boxes on Windows, which are caught here so that
// nobody has to close them.
#ifndef ZEL_TESTS_LIFECYCLE_SHOWN_BOX_H
#define ZEL_TESTS_LIFECYCLE_SHOWN_BOX_H

#include <functional>
#include <string>

namespace zel::test {

// What is shown meanwhile, as "caption: text\n" for each box.
std::string BoxesShownBy(const std::function<void()>& action);

}  // namespace zel::test

#endif  // ZEL_TESTS_LIFECYCLE_SHOWN_BOX_H
