#include "tools/io/progress.h"

#include <algorithm>
#include <string_view>

#include "tools/io/descriptor.h"
#include "tools/io/terminal.h"

namespace zel::tools {

namespace {

constexpr std::chrono::milliseconds kFirstShown(1000);
constexpr std::chrono::milliseconds kShownEvery(200);

// What a terminal has that does not tell.
constexpr std::size_t kUsualColumns = 80;

void WriteToTerminal(std::string_view text) {
    (void)WriteAll(kStandardError, text.data(), text.size());
}

}  // namespace

std::string ProgressLine(std::uint64_t done, std::uint64_t total, std::size_t columns) {
    constexpr std::uint64_t kMega = 1000000;
    constexpr std::size_t kWidth = 20;
    if (total == 0) {
        return std::to_string(done / kMega) + " MB";
    }
    done = std::min(done, total);
    const auto filled = static_cast<std::size_t>(done * kWidth / total);
    std::string percent = std::to_string(done * 100 / total);
    percent.insert(0, 3 - percent.size(), ' ');
    const std::string line = '[' + std::string(filled, '#') + std::string(kWidth - filled, ' ') + "] " + percent +
                             "%  " + std::to_string(done / kMega) + " of " + std::to_string(total / kMega) + " MB";
    return line.size() <= columns ? line : percent + '%';
}

Progress::Progress(std::uint64_t total)
    : total_(total),
      wanted_(IsTerminal(Stream::kError) && !IsTerminal(Stream::kOutput)),
      due_(Clock::now() + kFirstShown) {}

Progress::~Progress() {
    if (shown_ != 0) {
        WriteToTerminal('\r' + std::string(shown_, ' ') + '\r');
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
    // A line that fills the last column would begin the next.
    const auto width = static_cast<std::size_t>(TerminalWidth(Stream::kError));
    const std::size_t columns = (width == 0 ? kUsualColumns : width) - 1;
    std::string line = ProgressLine(done, total_, columns);
    if (line.size() > columns) {
        return;
    }
    line.resize(std::max(line.size(), std::min(shown_, columns)), ' ');
    shown_ = line.size();
    WriteToTerminal('\r' + line);
}

}  // namespace zel::tools
