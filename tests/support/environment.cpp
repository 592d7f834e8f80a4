#include "tests/support/environment.h"

#include <cstdlib>
#include <deque>

namespace zel::test {

void SetEnvironment(const std::string& name, const std::string& value) {
    // The environment keeps pointing to what it was given.
    static std::deque<std::string> given;
    given.push_back(name + '=' + value);
    putenv(given.back().data());
}

}  // namespace zel::test
