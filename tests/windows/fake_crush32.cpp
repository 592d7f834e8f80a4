#include "tests/windows/fake_crush32.h"

#include "crush32/crush32.h"

namespace {
zel::test::CrushAnswers answers;
}  // namespace

extern "C" {

__declspec(dllexport) zel::test::CrushAnswers* FakeCrushAnswers() {
    return &answers;
}

void CrushStartUp() noexcept {
    ++answers.startUps;
}
void CrushShutDown() noexcept {
    ++answers.shutDowns;
}
short CrushBegin() noexcept {
    ++answers.begins;
    return answers.begin;
}
int CrushCompress(const char* /*source*/, char* /*destination*/, int /*sourceLength*/) noexcept {
    return answers.compress;
}
short CrushExpand(const char* /*source*/, char* /*destination*/, int /*expanded*/, int /*compressed*/) noexcept {
    return answers.expand;
}
void CrushEnd() noexcept {
    ++answers.ends;
}

}  // extern "C"
