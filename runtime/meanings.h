// What each code of ZELResult means. The failures of records, `zel explain` and docs/reports.md say it in these words.
#ifndef ZEL_RUNTIME_MEANINGS_H
#define ZEL_RUNTIME_MEANINGS_H

#include "include/zelreport.h"

namespace zel {

struct Meaning {
    int code;
    const char* name;
    const char* text;  // "cause: cure"
};

// By code, ascending, without ZEL_OK; one without a name ends it.
extern const Meaning kMeanings[];

}  // namespace zel

#endif  // ZEL_RUNTIME_MEANINGS_H
