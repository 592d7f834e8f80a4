#include <stddef.h>

void* memset(void* to, int value, size_t size);
char* strcpy(char* to, const char* from);
