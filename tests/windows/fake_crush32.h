// A CRUSH32.dll in place of the real one, with results that the test sets.
#ifndef ZEL_TESTS_WINDOWS_FAKE_CRUSH32_H
#define ZEL_TESTS_WINDOWS_FAKE_CRUSH32_H

namespace zel::test {

struct CrushAnswers {
    short begin = 0;
    int compress = 0;
    short expand = 0;
    // Calls so far.
    int startUps = 0;
    int shutDowns = 0;
    int begins = 0;
    int ends = 0;
};

}  // namespace zel::test

// Exported by name, in addition to the six ordinals.
extern "C" zel::test::CrushAnswers* FakeCrushAnswers();

#endif  // ZEL_TESTS_WINDOWS_FAKE_CRUSH32_H
