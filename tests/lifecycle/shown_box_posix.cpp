#include <gtest/gtest.h>

#include "tests/lifecycle/shown_box.h"

namespace zel::test {

std::string BoxesShownBy(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

}  // namespace zel::test
