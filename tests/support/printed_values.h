// Values as the C library prints them, to compare the library's digits and times with.
#ifndef ZEL_TESTS_SUPPORT_PRINTED_VALUES_H
#define ZEL_TESTS_SUPPORT_PRINTED_VALUES_H

#include "include/zelmessage.h"

namespace zel::test {

// Each text takes at most 24 bytes. False for an invalid display code.
bool PrintMoney(const _money& money, char* text, short format);

void PrintDate(const _datetime& value, char* text, short format);
void PrintTime(const _datetime& value, char* text, short format);

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_PRINTED_VALUES_H
