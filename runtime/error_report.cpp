#include "runtime/error_report.h"

#include <cerrno>

#include "runtime/thread_slot.h"

namespace {

ZELErrorSink errorSink = nullptr;
void* errorSinkContext = nullptr;

// Always 0: reports carry its address.
ZELLong errorWord = 0;

}  // namespace

namespace zel {

ReportListener::ReportListener() noexcept : outer_(ThreadListener()) {
    SetThreadListener(this);
}

ReportListener::~ReportListener() noexcept {
    SetThreadListener(outer_);
}

bool IsAnybodyListening() noexcept {
    return errorSink != nullptr || ThreadListener() != nullptr;
}

void NoteField(int fieldId) noexcept {
    ReportListener* listener = ThreadListener();
    if (listener != nullptr && listener->fieldId == 0) {
        listener->fieldId = fieldId;
    }
}

void SendReport(const Report& report, const char* text) noexcept {
    const int code = report.code == kSystemErrorNumber ? errno : report.code;
    ReportListener* listener = ThreadListener();
    if (listener != nullptr && !listener->hasHeard) {
        listener->hasHeard = true;
        listener->code = code;
    }
    SetError(code, &errorWord, text);
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
