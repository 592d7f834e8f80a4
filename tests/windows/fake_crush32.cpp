// A CRUSH32.dll in place of the real one. It notes each call by a letter, and exports the notes by name, in addition to
// the six ordinals.
#include "crush32/crush32.h"

namespace {
char calls[100];

void Note(char call) {
    static int count = 0;
    calls[count++] = call;
}
}  // namespace

extern "C" {

__declspec(dllexport) const char* FakeCrushCalls() {
    return calls;
}

void CrushStartUp() noexcept {
    Note('u');
}
void CrushShutDown() noexcept {
    Note('d');
}
short CrushBegin() noexcept {
    Note('b');
    return 0;
}
int CrushCompress(const char* /*source*/, char* /*destination*/, int /*sourceLength*/) noexcept {
    Note('c');
    return 7;
}
short CrushExpand(const char* /*source*/, char* /*destination*/, int /*expanded*/, int /*compressed*/) noexcept {
    Note('x');
    return 9;
}
void CrushEnd() noexcept {
    Note('e');
}

}  // extern "C"
