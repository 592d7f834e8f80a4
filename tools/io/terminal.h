// The standard streams: what the command sets up for them, and whether they are a terminal.
#ifndef ZEL_TOOLS_IO_TERMINAL_H
#define ZEL_TOOLS_IO_TERMINAL_H

namespace zel::tools {

enum class Stream { kInput, kOutput, kError };

// Once, before anything is read or written: streams carry bytes as they are on every platform, and a reader that
// closes its pipe early (`zel ... | head`) ends the command quietly where the platform can do that by itself.
void PrepareStreams() noexcept;

// After output failed: true when the reader has gone, which is no error of ours.
[[nodiscard]] bool IsReaderGone() noexcept;

[[nodiscard]] bool IsTerminal(Stream stream) noexcept;

// Columns, or 0 when the stream is no terminal or does not tell.
[[nodiscard]] int TerminalWidth(Stream stream) noexcept;

// True when the stream shows escape sequences and the user did not set NO_COLOR to a text that is not empty.
[[nodiscard]] bool TakesColor(Stream stream) noexcept;

// The platform's part of TakesColor: switches escape sequences on where the terminal needs that.
[[nodiscard]] bool EnableEscapes(Stream stream) noexcept;

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_TERMINAL_H
