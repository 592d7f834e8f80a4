// Environment variables of the test process.
#ifndef ZEL_TESTS_SUPPORT_ENVIRONMENT_H
#define ZEL_TESTS_SUPPORT_ENVIRONMENT_H

#include <string>

namespace zel::test {

// Sets the variable. An empty value counts as none.
void SetEnvironment(const std::string& name, const std::string& value);

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_ENVIRONMENT_H
