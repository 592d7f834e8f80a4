// Values as the C library prints them, to compare the times of the library with.
#ifndef ZEL_BENCH_PRINTED_VALUES_H
#define ZEL_BENCH_PRINTED_VALUES_H

#include "include/zelmessage.h"

namespace zel::bench {

// Each text takes at most 24 bytes. False for an invalid display code.
bool PrintMoney(const _money& money, char* text, short format);

void PrintDate(const _datetime& value, char* text, short format);
void PrintTime(const _datetime& value, char* text, short format);

}  // namespace zel::bench

#endif  // ZEL_BENCH_PRINTED_VALUES_H
