// Frames in a stream of bytes, as they come from a socket. zel.hpp includes it.
//
//     zel::FrameReader frames;
//     while ((size = recv(connection, chunk.data(), chunk.size(), 0)) > 0) {
//         frames.Feed(std::span(chunk).first(size));
//         while (const auto frame = frames.Next()) {
//             const auto used = message.Unpack(*frame);
//         }
//         if (frames.IsDamaged()) { ... close the connection ... }
//     }
#ifndef ZEL_ZELFRAMES_HPP
#define ZEL_ZELFRAMES_HPP

#include <cstddef>
#include <optional>
#include <ranges>
#include <span>
#include <vector>

#include "zelfield.hpp"
#include "zelrecord.h"

namespace zel {

// Takes bytes as they come and gives whole frames. Of a frame that is not whole it holds no more than the longest frame
// takes, 77,867 bytes.
class FrameReader {
public:
    // Frames that Next gave before are gone.
    template <detail::HasBytes Bytes>
    void Feed(const Bytes& bytes) {
        held_.erase(held_.begin(), held_.begin() + static_cast<std::ptrdiff_t>(used_));
        used_ = 0;
        const auto* begin = reinterpret_cast<const char*>(std::ranges::data(bytes));
        held_.insert(held_.end(), begin, begin + std::ranges::size(bytes));
    }

    // The next frame, or none: bytes are missing, or the stream is damaged.
    [[nodiscard]] std::optional<std::span<const char>> Next() noexcept {
        const std::span<const char> rest = Rest();
        std::size_t size = 0;
        result_ = rest.empty() ? int{ZEL_INCOMPLETE} : ZELFindFrame(rest.data(), rest.size(), &size);
        if (result_ != ZEL_OK) {
            return std::nullopt;
        }
        used_ += size;
        return rest.first(size);
    }

    // Whether no frame starts where the last one ended. Nothing tells where the next one does.
    [[nodiscard]] bool IsDamaged() const noexcept { return result_ == ZEL_NO_FRAME; }

    // The bytes that no frame was made of yet.
    [[nodiscard]] std::span<const char> Rest() const noexcept { return std::span<const char>(held_).subspan(used_); }

private:
    std::vector<char> held_;
    std::size_t used_ = 0;
    int result_ = ZEL_INCOMPLETE;
};

}  // namespace zel

#endif  // ZEL_ZELFRAMES_HPP
