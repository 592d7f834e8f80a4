// The shipped libraries can be loaded into a process and unloaded again, and ask for no notifications of threads.
// clang-format off
#include <windows.h>
// clang-format on

#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(ShippedLibraries, LeaveTheProcess) {
    for (const char* file : {ZEL_TEST_SHIPPED}) {
        // Windows looks for needed libraries in the same folder only for paths with backslashes.
        const std::string path = std::filesystem::absolute(file).make_preferred().string();
        const HMODULE library = LoadLibraryExA(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        ASSERT_NE(library, nullptr) << path << ": error " << GetLastError();
        EXPECT_NE(DisableThreadLibraryCalls(library), 0) << path << " has thread-local storage";
        EXPECT_NE(FreeLibrary(library), 0);
        EXPECT_EQ(GetModuleHandleA(path.c_str()), nullptr) << path;
    }
}

}  // namespace
