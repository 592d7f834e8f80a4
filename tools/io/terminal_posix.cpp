// The terminal by file descriptors and signals.
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>

#include "tools/io/terminal.h"

namespace zel::tools {

namespace {

int Descriptor(Stream stream) noexcept {
    switch (stream) {
        case Stream::kInput:
            return STDIN_FILENO;
        case Stream::kOutput:
            return STDOUT_FILENO;
        case Stream::kError:
            break;
    }
    return STDERR_FILENO;
}

}  // namespace

// Some parents hand down SIGPIPE ignored.
void PrepareStreams() noexcept {
    (void)std::signal(SIGPIPE, SIG_DFL);
}

bool IsReaderGone() noexcept {
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

bool IsTerminal(Stream stream) noexcept {
    return isatty(Descriptor(stream)) == 1;
}

int TerminalWidth(Stream stream) noexcept {
    winsize size = {};
    return ioctl(Descriptor(stream), TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool EnableEscapes(Stream stream) noexcept {
    const char* kind = std::getenv("TERM");
    return IsTerminal(stream) && kind != nullptr && std::strcmp(kind, "dumb") != 0;
}

}  // namespace zel::tools
