#include "tests/support/environment.h"

#include <cstdlib>
#include <deque>

namespace zel::test {

void SetEnvironment(const std::string& name, const std::string& value) {
    // The environment keeps pointers to these strings.
    static std::deque<std::string> given;
    given.push_back(name + '=' + value);
    putenv(given.back().data());
}

}  // namespace zel::test
