#include "runtime/error_report.h"

#include <cerrno>

#include "runtime/meanings.h"
#include "runtime/thread_slot.h"

namespace {

ZELErrorSink errorSink = nullptr;
void* errorSinkContext = nullptr;

// Always 0: reports carry its address.
ZELLong errorWord = 0;

}  // namespace

namespace zel {

ReportListener::ReportListener() noexcept : listener_{Hear, this, nullptr} {
    ZELBeginListening(&listener_);
}

ReportListener::~ReportListener() noexcept {
    ZELEndListening(&listener_);
}

void ReportListener::Hear(int code, int fieldId, const char* /*text*/, void* self) noexcept {
    auto& listener = *static_cast<ReportListener*>(self);
    if (!listener.hasHeard) {
        listener.hasHeard = true;
        listener.code = code;
    }
    if (listener.fieldId == 0) {
        listener.fieldId = fieldId;
    }
}

bool IsAnybodyListening() noexcept {
    return errorSink != nullptr || ThreadListener() != nullptr;
}

void TellListeners(int code, int fieldId, const char* text) noexcept {
    for (const ZELListener* listener = ThreadListener(); listener != nullptr;) {
        // One that hears enough may end, and be gone.
        const ZELListener* const outer = listener->outer;
        listener->hear(code, fieldId, text, listener->context);
        listener = outer;
    }
}

void SendReport(const Report& report, const char* text, int fieldId) noexcept {
    const int code = report.code == kSystemErrorNumber ? errno : report.code;
    TellListeners(code, fieldId, text);
    SetError(code, &errorWord, text);
}

}  // namespace zel

extern "C" void ZELBeginListening(ZELListener* listener) noexcept {
    listener->outer = zel::ReplaceThreadListener(listener);
}

extern "C" void ZELEndListening(const ZELListener* listener) noexcept {
    zel::ReplaceThreadListener(listener->outer);
}

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

extern "C" const char* ZELExplain(int code) noexcept {
    if (code > 0 && code < 1000) {
        return "memory is out: the code is the system's error number";
    }
    const zel::Meaning* meaning = zel::kMeanings;
    while (meaning->name != nullptr && meaning->code != code) {
        ++meaning;
    }
    return meaning->text;
}
