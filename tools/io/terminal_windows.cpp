// The terminal by console handles.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>

#include "tools/io/terminal.h"

#ifndef ENABLE_VIRTUAL_TERMINAL_PROCESSING
#define ENABLE_VIRTUAL_TERMINAL_PROCESSING 0x0004
#endif

namespace zel::tools {

namespace {

HANDLE Handle(Stream stream) noexcept {
    switch (stream) {
        case Stream::kInput:
            return GetStdHandle(STD_INPUT_HANDLE);
        case Stream::kOutput:
            return GetStdHandle(STD_OUTPUT_HANDLE);
        case Stream::kError:
            break;
    }
    return GetStdHandle(STD_ERROR_HANDLE);
}

}  // namespace

void PrepareStreams() noexcept {
    (void)_setmode(_fileno(stdin), _O_BINARY);
    (void)_setmode(_fileno(stdout), _O_BINARY);
    (void)_setmode(_fileno(stderr), _O_BINARY);
}

// The only way in which writing to a pipe fails.
bool IsReaderGone() noexcept {
    return GetFileType(Handle(Stream::kOutput)) == FILE_TYPE_PIPE;
}

bool IsTerminal(Stream stream) noexcept {
    DWORD mode = 0;
    return GetConsoleMode(Handle(stream), &mode) != 0;
}

int TerminalWidth(Stream stream) noexcept {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (GetConsoleScreenBufferInfo(Handle(stream), &info) == 0) {
        return 0;
    }
    return info.srWindow.Right - info.srWindow.Left + 1;
}

bool EnableEscapes(Stream stream) noexcept {
    DWORD mode = 0;
    return GetConsoleMode(Handle(stream), &mode) != 0 &&
           SetConsoleMode(Handle(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

}  // namespace zel::tools
