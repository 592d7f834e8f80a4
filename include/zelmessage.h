// The ZEL message library: messages, responses and the error sink. Two headers come with it: zelvalues.h has money,
// dates, times and fractions, zelreport.h the codes of reports.
//
// What holds for every operation here:
//  - No exception leaves the library. Failure is a result (-1, 0 or null, as each operation says), and a report to the
//    error sink, if the program installed one. Reports come innermost cause first.
//  - Different message objects may be used in different threads at the same time. One object belongs to one thread at a
//    time. CZELMessage::init, CZELMessage::terminate, ZELSetErrorSink and ZELSetMostRepetitions run while no other call
//    is in progress.
//  - Numbers on the wire are 16 or 32 bits wide. A long in a signature carries a 32-bit value, whatever its own width.
//  - The library reads the data dictionary and the message table from a provider library (zelprovider.h).
//  - Members marked [library] are written by the library alone; a program may read them. It may write the others.
#ifndef ZEL_ZELMESSAGE_H
#define ZEL_ZELMESSAGE_H

#include <stddef.h>

#include "zelreport.h"
#include "zelvalues.h"

// The largest payload, before and after compression: peers work in buffers of this size.
constexpr int kZELMaxPayload = 12288;

// The largest frame without variable user data: what a buffer for packMessage holds. With variable user data add its
// length.
constexpr int kZELMaxFrame = 6 + 32 + kZELMaxPayload;

// The most field slots of one message: they are counted in a short.
constexpr int kZELMaxSlots = 32767;

class VormaZelData;

// ---- A message in memory --------------------------------------------------------------------------------------------

// One field slot of a message. Every field of the message type has its slots from creation on; setting a field gives a
// slot its value and marks it.
//
// Who owns a value's buffer:
//  - A buffer that a slot owns is released with its message: when that is destroyed, or when another is created or
//    unpacked in its object.
//  - A program takes such a buffer away by setting ownsValue to 0. It then releases the buffer with ZELFree, at any
//    time and in any thread. The message's memory stays allocated until then.
//  - A program gives a buffer to a slot by pointing value at it and setting ownsValue to 1. The buffer must be one that
//    the program took away, or a text of ConvertDecimalToFraction.
//  - Setting a field that owns a buffer releases nothing. A buffer of the library's stays until the message ends; one
//    that the program gave is the program's again.
//
// The library never reads or sends more of its own buffer than it holds, whatever `length` says: zero bytes are sent
// for the rest. A buffer of the program's must have `length` bytes, and at least as many as a value of the field's
// type.
struct _field_data {
    unsigned short id;        // [library]
    unsigned short presence;  // [library] 2: mandatory; anything else: optional
    unsigned short isSet;     // 1 once a value was given or received
    void* value;              // inlineValue, a separate buffer, or null
    unsigned short length;  // of the value, in bytes; of a date-time received in format 2 what the peer said, from 8 on
    alignas(8) unsigned char inlineValue[8];
    unsigned short ownsValue;   // 1: value is a buffer that is released with the message; else 0
    unsigned short repetition;  // [library] of the group, from 0
    unsigned int entry;         // [library] of the field list that the slot comes from
};

// The field slots of a message, in the order of the message table with the repeating group expanded. The library
// ignores what a program writes here, and sets both members again for the next message in the object.
struct ZELDataBuf {
    short count;          // [library]
    _field_data* fields;  // [library]
};

// A message: its header values and its field slots. The library creates and frees it; a program reads and writes the
// header members through CZELMessage::message. A value of more than 4 bits in a member of 4 bits overflows into its
// neighbours on the wire.
struct ZelMsgStruct {
    short msgType;
    short subType;
    short serviceIdHigh;
    short serviceIdLow;
    unsigned short encryptFlag;  // 4 bits; not 0: the payload passes the data transform
    unsigned short packFlags;    // 4 bits; 4: compressed, 8: marked and plain, 1: set on every message sent
    unsigned short format;       // 4 bits; 0: id and value, 1: value only, 2: id, length and value
    unsigned short version;      // 4 bits; 0: every field is sent, whatever its version
    unsigned short msgIdSeq;     // 0 until the first pack gives the message its id
    unsigned short msgIdPart2;   // 8 bits
    unsigned short msgIdPart3;   // 8 bits
    ZELLong userData;            // sent when there is no variable user data
    char* varUserData;           // or null; leave varUserDataOwned 0 for a buffer of the program's own
    unsigned short varUserDataLen;
    unsigned short varUserDataOwned;  // 1: the library allocated varUserData and frees it with the message
    short numFields;                  // fields set, received or packed
    short repeatCount;                // [library] that the slots were created for
    ZELDataBuf* dataBuf;              // [library]
};

static_assert(offsetof(_field_data, value) == 8, "layout of _field_data");
static_assert(offsetof(_field_data, length) == 8 + sizeof(void*), "layout of _field_data");
static_assert(offsetof(_field_data, inlineValue) == (sizeof(void*) == 8 ? 24 : 16), "layout of _field_data");
static_assert(offsetof(_field_data, ownsValue) == offsetof(_field_data, inlineValue) + 8, "layout of _field_data");
static_assert(offsetof(ZELDataBuf, fields) == sizeof(void*), "layout of ZELDataBuf");
static_assert(offsetof(ZelMsgStruct, userData) == 24, "layout of ZelMsgStruct");
static_assert(offsetof(ZelMsgStruct, varUserData) == (sizeof(void*) == 8 ? 32 : 28), "layout of ZelMsgStruct");
static_assert(offsetof(ZelMsgStruct, dataBuf) ==
                  offsetof(ZelMsgStruct, varUserData) + 2 * sizeof(void*) + (sizeof(void*) == 8 ? 0 : 4),
              "layout of ZelMsgStruct");

// ---- The message class ----------------------------------------------------------------------------------------------

// One message: set the header members, call createStruct, set the fields, pack; or unpack a received buffer and read.
//
// `occurrence` is the 1-based number of a field that a repeating group holds several times; -1 means the first slot
// with the id; 0, other negative numbers and numbers beyond the repetitions find nothing.
//
// The getters return pointers into the message. They are valid until the field is set again, the message is
// destroyed, or another one is created or unpacked in the same object.
class CZELMessage {
public:
    // Loads the provider library if none is loaded, takes the dictionary and the message table from it, and starts the
    // compression library. Call it once before all other use. Failure is quiet: getVormaZelData then returns null, each
    // construction shows an error box (on Linux a line on standard error), and no message can be created.
    // Any thread may call it while no other call is in progress. A further call reads the provider's tables again, for
    // messages that are created from then on. A message keeps the tables that it was created from; lookups of a field's
    // name or type use the current ones.
    ZEL_API static void init() noexcept;

    // Destroys the provider, unloads its library, shuts the compression library down. Calls of init and terminate are
    // not counted: the first call of terminate ends all. Any thread may call it while no other call is in progress.
    // Existing messages may still be read, set and destroyed; packing them reports that there is no dictionary (1412),
    // until the next init. The `provider` of their objects is invalid: do not call getZelIdFromName.
    ZEL_API static void terminate() noexcept;

    // The provider: null before init, after an init that failed, and after terminate.
    ZEL_API static VormaZelData* getVormaZelData() noexcept;

    // `messageVersion` (0 to 15) goes into every message packed: fields newer than it are left out; 0 leaves none out.
    // `packFormat2` other than 0 packs every message in field format 2 (id, length and value).
    ZEL_API CZELMessage(short messageVersion, int packFormat2) noexcept;
    ZEL_API ~CZELMessage() noexcept;
    CZELMessage(const CZELMessage&) = delete;
    CZELMessage& operator=(const CZELMessage&) = delete;

    // Replaces the message by an empty one for msgType, subType and repeatCount. On failure `message` is null.
    // Reports 1415 (no message table), 1416 (no such type and sub-type), 1001 (repeat count negative, or too many
    // slots), or the system's error number (out of memory).
    ZEL_API void createStruct() noexcept;

    // Frees the message, if there is one.
    ZEL_API void destroyStruct() noexcept;

    // Sets one field from a value in the form of its dictionary type:
    //   1 short   2 ZELLong   3 int   6 float   7 double   8 _datetime   9 _money: as many bytes as the field's current
    //     length, and never more than such a value has
    //   4 text: cut at the field's length or padded with zero bytes to it
    //   5 text: any length up to 65535 without the terminator; null sets a single zero byte
    //   10, 11 bytes: as many as the field's current length (setFieldValueBinary takes a length)
    // The value is copied. A field that the message does not have, and a null value for a type other than 5, change
    // nothing. Set each field once: every call counts one more field, and in the formats 0 and 2 packMessage refuses a
    // message whose count differs from the fields packed. A value that is replaced stays allocated until the message is
    // freed. Reports 1001 (field id 0), 1412 (no dictionary), or the system's error number with "Malloc failed" (out of
    // memory: the field keeps what it had).
    ZEL_API void setFieldValue(short fieldId, const void* value, short occurrence) noexcept;

    // Sets one field to a copy of `length` bytes, whatever its type; a length of 0 or below counts as 1. Missing
    // fields, null, counting and reports are as for setFieldValue.
    ZEL_API void setFieldValueBinary(short fieldId, const void* data, short length, short occurrence) noexcept;

    // The field's value, or null if the message has no such field. A field that is not set has a value of zero bytes if
    // its type has one size, else null: getField and isSet tell. Texts of type 5 end with a zero byte when they were
    // received and without one when they were set: use getFieldLen.
    ZEL_API void* getFieldValue(short fieldId, short occurrence) noexcept;

    // 1 with the field's value in *value, or 0 with *value untouched if the message has no such field.
    ZEL_API int getFieldValue(void** value, short fieldId, short occurrence) noexcept;

    // The slot itself, or null.
    ZEL_API _field_data* getField(short fieldId, short occurrence) noexcept;

    // The length of the field's value in bytes, or 0 if the message has no such field. A length above 32767 comes as
    // the negative number that has the same 16 bits.
    ZEL_API short getFieldLen(short fieldId, short occurrence) noexcept;

    // The field's type from the dictionary, or -1 if it has no such field. Reports 1001 (id 0), 1412 (no dictionary).
    ZEL_API short getFieldType(short fieldId) noexcept;

    // Packs the frame and the message into `buffer`. 0 with *length the number of bytes in all, or -1.
    // The buffer must hold kZELMaxFrame bytes and the variable user data; after a failure its contents are undefined.
    // Nothing is allocated. Reports 1435 last, before it the cause: 1001 (no message, null argument), 1486, 1485, 1476,
    // 1417, 1027, 1426 (a field), 1418 (header); no cause when the count of the fields set differs from the fields
    // packed. With shortFrame, a message of more than 32,767 bytes (only variable user data makes it so long) gets a
    // frame whose length peers read as a negative number; the result is still 0.
    ZEL_API long packMessage(char* buffer, long* length) noexcept;

    // Replaces the message by the one received at `buffer`, frame first; the frame's length bounds every read after
    // the frame. 0, or -1 with `message` as it was when the validation failed, and null when anything later failed.
    // `buffer` must not lie in the object's own message: what it has in a field of bytes, unpack in another object.
    // Reports 1432 (validation), 1434 (creation) or 1437 (a field) last, before it the cause. A received field that
    // the message type does not have is reported (1425) and skipped.
    ZEL_API long unpackMessage(const char* buffer) noexcept;

    // Like unpackMessage, for `length` bytes without a frame; compressMode keeps its value.
    ZEL_API long unpackMessageNoFrame(const char* buffer, long length) noexcept;

    // Reads the frame at `buffer` (4 bytes; 6 when the second byte's high nibble is not 1). 0 with *length the number
    // of bytes after the frame and *frameType that nibble: peers send 1 (frame of 4 bytes) or 3 (frame of 6 bytes). -1
    // with report 1005 and both untouched when the first byte is not 0x01.
    ZEL_API int getHeaderInfo(const char* buffer, long* length, short* frameType) noexcept;

    // The id of the field with this name, or what the provider returns for an unknown name (the reference provider:
    // -1). -1 when the object was constructed without a provider.
    ZEL_API long getZelIdFromName(const char* name) noexcept;

    short msgType;
    short subType;
    short serviceIdHigh;
    short serviceIdLow;
    short repeatCount;       // set it before createStruct when the message type has a repeating group
    int compressMode;        // 0 uncompressed, 1 compressed, 2 uncompressed but marked as handled
    int shortFrame;          // 0: frame of 6 bytes; else: frame of 4 bytes
    ZelMsgStruct* message;   // [library] null: none
    VormaZelData* provider;  // [library]
    short version;
    short sequence;  // raised by one on every pack; gives a message without an id its id
    int useFormat2;
};

static_assert(offsetof(CZELMessage, msgType) == 0 && offsetof(CZELMessage, subType) == 2, "layout of CZELMessage");
static_assert(offsetof(CZELMessage, serviceIdHigh) == 4 && offsetof(CZELMessage, serviceIdLow) == 6, "CZELMessage");
static_assert(offsetof(CZELMessage, repeatCount) == 8 && offsetof(CZELMessage, compressMode) == 12, "CZELMessage");
static_assert(offsetof(CZELMessage, shortFrame) == 16, "layout of CZELMessage");
static_assert(offsetof(CZELMessage, message) == (sizeof(void*) == 8 ? 24 : 20), "layout of CZELMessage");
static_assert(offsetof(CZELMessage, provider) == offsetof(CZELMessage, message) + sizeof(void*), "CZELMessage");
static_assert(offsetof(CZELMessage, version) == offsetof(CZELMessage, message) + 2 * sizeof(void*), "CZELMessage");
static_assert(offsetof(CZELMessage, sequence) == offsetof(CZELMessage, version) + 2, "layout of CZELMessage");
static_assert(offsetof(CZELMessage, useFormat2) == offsetof(CZELMessage, version) + 4, "layout of CZELMessage");
static_assert(sizeof(CZELMessage) == offsetof(CZELMessage, version) + 8, "layout of CZELMessage");

extern "C" {

// ---- Slots ----------------------------------------------------------------------------------------------------------

// Where a message's slots lie: those of each repetition of its group in a row, right behind one another.
struct ZELGroupSlots {
    int first;                // slot of the first repetition
    int size;                 // slots of one repetition; 0: the type has no group
    int repetitions;          // 0: the slots from `first` on stand for no field
    unsigned short countId;   // the field that counts the repetitions
    unsigned short markerId;  // the field that marks their start, or 0: the group has none
    int hasRepeatedIds;       // 1: the type lists some field several times, so that its id alone does not say which
};

// Reads this off a message; null is one without a group.
ZEL_API void ZELFindGroup(const ZelMsgStruct* message, ZELGroupSlots* group) noexcept;

// Sets a slot of the message to `length` bytes, and counts it in numFields. Texts and byte strings get as many; chars
// those that their field has, with zero bytes after fewer and without those that are too many; for other types `length`
// is the size of the type. Of no bytes `value` may be null. 1, or 0 without memory, reported, with the slot as it was.
ZEL_API int ZELSetSlot(ZelMsgStruct* message, _field_data* slot, const void* value, unsigned short length) noexcept;

// ---- Responses ------------------------------------------------------------------------------------------------------

// Validates the framed message at `buffer` and gives its type and sub-type: 0, or -1 with both untouched and report
// 1432 after its cause. The arguments ignored1 and ignored2 are not read. Any thread, between init and terminate.
ZEL_API int ProcessRsp(const char* buffer, long ignored1, short* msgType, short* subType, long ignored2) noexcept;

// Like ProcessRsp, for `length` bytes without a frame.
ZEL_API int ProcessRspNoFrame(const char* buffer, long length, short* msgType, short* subType) noexcept;

// Sets how many repetitions a received message may have, for programs whose peers are not trusted. A message of 40
// bytes can state thousands, and each gets its slots: 32,767 slots, the most there can be, take 1.3 MB (1 MB in 32-bit
// programs) until the message is freed, and about 0.1 ms. unpackMessage and unpackMessageNoFrame refuse a message with
// more repetitions as if memory were out (1001 "CreateZELDataBuf() failed", 1434; `message` is null). A negative number
// counts as 0. Messages without a repeating group and messages that the program creates are not affected. Returns the
// number before; it starts as 32767, which refuses nothing.
ZEL_API short ZELSetMostRepetitions(short most) noexcept;

// ---- Error reports --------------------------------------------------------------------------------------------------

// Where reports go. `text` is valid during the call only. The sink runs in the thread whose call failed and must not
// throw. It may call the library, but only read the message object whose call reports: that has no message while one is
// created or unpacked in it.
typedef void (*ZELErrorSink)(int code, const char* text, void* context);

// Installs a sink, or none with null; returns the one before. Reports are dropped while there is none.
ZEL_API ZELErrorSink ZELSetErrorSink(ZELErrorSink sink, void* context) noexcept;

// Hands a report to the sink. `errorWord` is not used.
ZEL_API void SetError(int code, ZELLong* errorWord, const char* text) noexcept;

}  // extern "C"

#endif  // ZEL_ZELMESSAGE_H
