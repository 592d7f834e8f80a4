#include "runtime/error_report.h"

#include <cerrno>

namespace {

ZELErrorSink errorSink = nullptr;
void* errorSinkContext = nullptr;

// Always 0: reports carry its address.
ZELLong errorWord = 0;

}  // namespace

namespace zel {

bool HasErrorSink() noexcept {
    return errorSink != nullptr;
}

void SendReport(const Report& report, const char* text) noexcept {
    SetError(report.code == kSystemErrorNumber ? errno : report.code, &errorWord, text);
}

}  // namespace zel

extern "C" ZELErrorSink ZELSetErrorSink(ZELErrorSink sink, void* context) noexcept {
    const ZELErrorSink previous = errorSink;
    errorSink = sink;
    errorSinkContext = context;
    return previous;
}

extern "C" void SetError(int code, ZELLong* /*errorWord*/, const char* text) noexcept {
    if (errorSink != nullptr) {
        errorSink(code, text, errorSinkContext);
    }
}
