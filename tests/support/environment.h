// Environment variables of the test process.
#ifndef ZEL_TESTS_SUPPORT_ENVIRONMENT_H
#define ZEL_TESTS_SUPPORT_ENVIRONMENT_H

#include <cstdlib>
#include <deque>
#include <string>

namespace zel::test {

// Sets the variable. An empty value counts as none.
inline void SetEnvironment(const std::string& name, const std::string& value) {
    // The environment keeps pointers to these strings.
    static std::deque<std::string> given;
    putenv(given.emplace_back(name + '=' + value).data());
}

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_ENVIRONMENT_H
