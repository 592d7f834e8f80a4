// A bar on standard error for work that takes long.
#ifndef ZEL_TOOLS_IO_PROGRESS_H
#define ZEL_TOOLS_IO_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zel::tools {

// "[#####               ]  25%  50 of 200 MB", or " 25%" where that needs more columns than there are; without a total
// the amount alone.
[[nodiscard]] std::string ProgressLine(std::uint64_t done, std::uint64_t total, std::size_t columns);

class Progress {
public:
    // `total`: bytes, 0 when it is not known. Nothing is shown unless standard error is a terminal and the result goes
    // elsewhere.
    explicit Progress(std::uint64_t total);
    // Takes the bar away.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Cheap enough to be called for every message.
    void Show(std::uint64_t done);

private:
    using Clock = std::chrono::steady_clock;

    std::uint64_t total_;
    bool wanted_;
    std::size_t shown_ = 0;  // columns
    unsigned calls_ = 0;
    Clock::time_point due_;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_PROGRESS_H
