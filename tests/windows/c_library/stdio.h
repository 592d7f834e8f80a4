/* Of the C library of Windows, what programs of ours use that are built without its headers. */
int printf(const char* format, ...);
