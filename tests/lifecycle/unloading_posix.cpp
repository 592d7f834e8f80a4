// The shipped libraries can be loaded into a process and unloaded again.
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

TEST(ShippedLibraries, LeaveTheProcess) {
    for (const char* file : {ZEL_TEST_SHIPPED}) {
        void* library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        EXPECT_EQ(dlclose(library), 0);
        EXPECT_EQ(dlopen(file, RTLD_NOW | RTLD_NOLOAD), nullptr) << file;
    }
}

}  // namespace
