// Start and stop, with providers and a compression library that count their calls.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <tuple>

#include "crush32/crush32.h"
#include "include/zelmessage.h"
#include "tests/lifecycle/fake_provider.h"
#include "tests/lifecycle/shown_box.h"
#include "tests/support/environment.h"
#include "tests/support/recorded_reports.h"

namespace {
int startUps = 0;
int shutDowns = 0;

// Global, because a module that stays loaded counts its unloading when the process ends.
zel::test::ProviderCounts counts;
}  // namespace

// Nothing here packs messages: the passes are only needed to link.
extern "C" {
void CrushStartUp() noexcept {
    ++startUps;
}
void CrushShutDown() noexcept {
    ++shutDowns;
}
short CrushBegin() noexcept {
    return -1;
}
int CrushCompress(const char* /*source*/, char* /*destination*/, int /*sourceLength*/) noexcept {
    return -16;
}
short CrushExpand(const char* /*source*/, char* /*destination*/, int /*expandedLength*/,
                  int /*compressedLength*/) noexcept {
    return -1;
}
void CrushEnd() noexcept {}
}

namespace zel::test {
namespace {

namespace fs = std::filesystem;

// The file that the library looks for, in this program's folder.
const fs::path kProviderPath = fs::path(ZEL_TEST_FOLDER) / ZEL_TEST_PROVIDER_FILE;

class Lifecycle : public testing::Test {
protected:
    void SetUp() override {
        char address[32];
        (void)std::snprintf(address, sizeof address, "%p", static_cast<void*>(&counts));
        SetEnvironment(kCountsVariable, address);
        counts = {};
        startUps = 0;
        shutDowns = 0;
        Install("");
    }
    void TearDown() override {
        CZELMessage::terminate();
        // On Windows the file of a loaded library cannot be removed yet: the next SetUp does it.
        std::error_code ignored;
        fs::remove(kProviderPath, ignored);
    }
    // Puts the provider of this kind where the library finds it; none for "".
    static void Install(const std::string& kind) {
        fs::remove(kProviderPath);
        if (!kind.empty()) {
            fs::copy_file(fs::path(ZEL_TEST_FOLDER) / kind / ZEL_TEST_PROVIDER_FILE, kProviderPath);
        }
    }
};

constexpr char kBox[] = "LoadLib/GetProcAddress Failed: CZELMessage::CZELMessage(): Error Loading zeldata.dll\n";

std::string BoxOfConstruction() {
    return BoxesShownBy([] {
        const CZELMessage message(1, 0);
        EXPECT_EQ(message.provider, CZELMessage::getVormaZelData());
    });
}

TEST_F(Lifecycle, LoadsOnceAndRefreshesTheTables) {
    Install("counting");
    CZELMessage::init();
    EXPECT_NE(CZELMessage::getVormaZelData(), nullptr);
    EXPECT_EQ(BoxOfConstruction(), "");
    CZELMessage::init();
    EXPECT_EQ(std::tuple(counts.loads, counts.entries), std::tuple(1, 1));
    EXPECT_EQ(std::tuple(counts.dictionaries, counts.messageTables), std::tuple(2, 2));
    EXPECT_EQ(startUps, 2);
    {
        CZELMessage message(0, 0);
        EXPECT_EQ(message.getZelIdFromName("KNOWN"), 4711);
        EXPECT_EQ(message.getZelIdFromName("?"), -77) << "the provider's result, unchanged";
        message.msgType = 7;
        message.createStruct();
        EXPECT_NE(message.message, nullptr) << "the tables are those of the provider";
    }
    CZELMessage::terminate();
    EXPECT_EQ(CZELMessage::getVormaZelData(), nullptr);
    EXPECT_EQ(std::tuple(counts.destructions, counts.lastFlag, counts.unloads, shutDowns), std::tuple(1, 1, 1, 1));
    CZELMessage::terminate();
    EXPECT_EQ(std::tuple(counts.destructions, counts.unloads, shutDowns), std::tuple(1, 1, 2));
    EXPECT_EQ(BoxOfConstruction(), kBox);
    CZELMessage::init();
    EXPECT_EQ(std::tuple(counts.loads, counts.entries, counts.dictionaries), std::tuple(2, 2, 3));
    EXPECT_NE(CZELMessage::getVormaZelData(), nullptr);
    CZELMessage::terminate();
    EXPECT_EQ(std::tuple(counts.otherSlots, counts.lookups), std::tuple(0, 2));
}

TEST_F(Lifecycle, StopsWithoutAStart) {
    CZELMessage::terminate();
    EXPECT_EQ(std::tuple(shutDowns, startUps), std::tuple(1, 0));
}

TEST_F(Lifecycle, LeavesMessagesThatOutliveIt) {
    Install("counting");
    CZELMessage::init();
    CZELMessage kept(0, 0);
    kept.msgType = 7;
    kept.createStruct();
    ASSERT_NE(kept.message, nullptr);
    CZELMessage::init();
    CZELMessage::terminate();
    EXPECT_EQ(counts.destructions, 1);
    RecordedReports reports;
    char buffer[kZELMaxFrame];
    long length = 0;
    EXPECT_EQ(kept.packMessage(buffer, &length), -1);
    EXPECT_EQ(reports.Take().front(), "1412 Data Dictionary not initialized in shared memory");
    kept.createStruct();
    EXPECT_EQ(reports.Take(), Lines{"1415 Message table not initialized in shared memory"});
    EXPECT_EQ(kept.message, nullptr);
}

// A loaded library is found again whatever the file holds, so each of these runs in its own process.
void ExpectQuietFailure(int loads, int entries, const std::string& why) {
    RecordedReports reports;
    std::string told;
    ZELListener listener{[](int code, int /*fieldId*/, const char* text, void* to) {
                             *static_cast<std::string*>(to) += std::to_string(code) + ' ' + text;
                         },
                         &told, nullptr};
    ZELBeginListening(&listener);
    EXPECT_EQ(BoxesShownBy([] { CZELMessage::init(); }), "");
    ZELEndListening(&listener);
    EXPECT_TRUE(told.starts_with("2010 ") && told.find(why) != std::string::npos) << told;
    EXPECT_EQ(CZELMessage::getVormaZelData(), nullptr);
    EXPECT_EQ(std::tuple(counts.loads, counts.entries), std::tuple(loads, entries));
    EXPECT_EQ(startUps, 1);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(BoxOfConstruction(), kBox);
    EXPECT_EQ(BoxOfConstruction(), kBox) << "each construction says so";
    BoxesShownBy([&] {
        CZELMessage message(0, 0);
        message.createStruct();
        EXPECT_EQ(message.message, nullptr);
        EXPECT_EQ(reports.Take(), Lines{"1415 Message table not initialized in shared memory"});
        EXPECT_EQ(message.getZelIdFromName("KNOWN"), -1);
    });
    CZELMessage::terminate();
    EXPECT_EQ(counts.unloads, 0) << "without a provider nothing is unloaded";
}

TEST_F(Lifecycle, StaysQuietWithoutTheLibrary) {
    ExpectQuietFailure(0, 0, "cannot");
}

TEST_F(Lifecycle, StaysQuietWithoutTheEntry) {
    Install("no_entry");
    ExpectQuietFailure(1, 0, "VORMA_DLL_ENTRY");
}

TEST_F(Lifecycle, StaysQuietWithoutAProvider) {
    Install("null_entry");
    ExpectQuietFailure(1, 1, "serves no dictionary");
}

}  // namespace
}  // namespace zel::test
