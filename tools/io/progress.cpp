#include "tools/io/progress.h"

#include <algorithm>
#include <string_view>

#include "tools/io/descriptor.h"
#include "tools/io/terminal.h"

namespace zel::tools {

namespace {

constexpr std::chrono::milliseconds kFirstShown(1000);
constexpr std::chrono::milliseconds kShownEvery(200);

constexpr std::size_t kLongestLine = 60;

void WriteToTerminal(std::string_view text) {
    (void)WriteAll(kStandardError, text.data(), text.size());
}

}  // namespace

std::string ProgressLine(std::uint64_t done, std::uint64_t total) {
    constexpr std::uint64_t kMega = 1000000;
    constexpr std::size_t kWidth = 20;
    if (total == 0) {
        return std::to_string(done / kMega) + " MB";
    }
    done = std::min(done, total);
    const auto filled = static_cast<std::size_t>(done * kWidth / total);
    std::string percent = std::to_string(done * 100 / total);
    percent.insert(0, 3 - percent.size(), ' ');
    return '[' + std::string(filled, '#') + std::string(kWidth - filled, ' ') + "] " + percent + "%  " +
           std::to_string(done / kMega) + " of " + std::to_string(total / kMega) + " MB";
}

Progress::Progress(std::uint64_t total)
    : total_(total),
      wanted_(IsTerminal(Stream::kError) && !IsTerminal(Stream::kOutput)),
      due_(Clock::now() + kFirstShown) {}

Progress::~Progress() {
    if (shown_) {
        WriteToTerminal('\r' + std::string(kLongestLine, ' ') + '\r');
    }
}

void Progress::Show(std::uint64_t done) {
    constexpr unsigned kCallsBetweenLooks = 1024;
    if (!wanted_ || ++calls_ % kCallsBetweenLooks != 0) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now < due_) {
        return;
    }
    due_ = now + kShownEvery;
    shown_ = true;
    std::string line = ProgressLine(done, total_);
    line.resize(std::max(line.size(), kLongestLine), ' ');
    WriteToTerminal('\r' + line);
}

}  // namespace zel::tools
