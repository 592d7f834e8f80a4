// The data transform between the fields and the compression, chosen by a message's encryptFlag. Every flag copies.
#ifndef ZEL_CORE_WIRE_TRANSFORM_H
#define ZEL_CORE_WIRE_TRANSFORM_H

namespace zel {

// Both take at most kZELMaxPayload bytes into a buffer that holds as many: 0 with the output's length, or -1.
int ZELEncryptData(unsigned short encryptFlag, const char* in, short inLength, char* out, short* outLength) noexcept;
int ZELDecryptData(unsigned short encryptFlag, const char* in, short inLength, char* out, short* outLength) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_WIRE_TRANSFORM_H
