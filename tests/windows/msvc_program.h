// The frame of a program without a standard library: it runs Body() between init and terminate, and its exit status is
// the number of the first line where a check failed, or 0.
#ifndef ZEL_TESTS_WINDOWS_MSVC_PROGRAM_H
#define ZEL_TESTS_WINDOWS_MSVC_PROGRAM_H

#include "zelmessage.h"

extern "C" {
__declspec(dllimport) void __stdcall ExitProcess(unsigned status);
int _fltused;

// What the compiler itself calls.
void* memset(void* to, int value, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        static_cast<volatile char*>(to)[i] = static_cast<char>(value);
    }
    return to;
}
}

static void Body();

static int firstWrongLine = 0;

static void Check(bool right, int line) {
    if (!right && firstWrongLine == 0) {
        firstWrongLine = line;
    }
}

#define CHECK(condition) Check(condition, __LINE__)

extern "C" void Start() {
    CZELMessage::init();
    CHECK(CZELMessage::getVormaZelData() != nullptr);
    if (firstWrongLine == 0) {
        Body();
    }
    CZELMessage::terminate();
    CHECK(CZELMessage::getVormaZelData() == nullptr);
    ExitProcess(static_cast<unsigned>(firstWrongLine));
}

#endif  // ZEL_TESTS_WINDOWS_MSVC_PROGRAM_H
