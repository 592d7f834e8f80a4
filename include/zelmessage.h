// The ZEL message library: messages, response processing, error reports, and the plain records behind them.
//
// What holds for every operation here:
//  - No exception leaves the library. Failure is a result (-1, 0 or null, as each operation says), and a report to the
//    error sink, if the program installed one. Reports come innermost cause first.
//  - Different message objects may be used in different threads at the same time. One object belongs to one thread at a
//    time. CZELMessage::init, CZELMessage::terminate and ZELSetErrorSink run while no other call is in progress.
//  - Numbers on the wire are 16 or 32 bits wide. A long in a signature carries a 32-bit value, whatever its own width.
//  - The library reads the data dictionary and the message table from a provider library (zelprovider.h).
#ifndef ZEL_ZELMESSAGE_H
#define ZEL_ZELMESSAGE_H

#include <limits.h>
#include <stddef.h>
#include <stdint.h>

// On Windows a .def file names what is exported.
#if defined(_WIN32)
#define ZEL_API
#else
#define ZEL_API __attribute__((visibility("default")))
#endif

// The protocol's long: 32 bits.
#if LONG_MAX == 2147483647L
typedef long ZELLong;
#else
typedef int32_t ZELLong;
#endif

// The largest payload, before and after compression: peers work in buffers of this size.
constexpr int kZELMaxPayload = 12288;

// The largest frame without variable user data: what a buffer for packMessage holds. With variable user data add its
// length.
constexpr int kZELMaxFrame = 6 + 32 + kZELMaxPayload;

// The most field slots of one message: they are counted in a short.
constexpr int kZELMaxSlots = 32767;

class VormaZelData;

namespace zel {
struct SlotIndex;
struct ValueBlock;
}  // namespace zel

// ---- Values of the types 8 and 9 ------------------------------------------------------------------------------------

// Money: `amount` counts units of 1/denominator; `displayCode` selects the denominator and how the amount is shown.
struct _money {
    ZELLong amount;
    short displayCode;
};

// A date, a time or both. Its eight bytes travel as they lie in memory.
struct _datetime {
    signed char day;      // 1 to 31; 0 in a null date
    signed char month;    // 1 to 12; 0 in a null date
    unsigned char year;   // years since 1900
    signed char hour;     // 0 to 24
    signed char minute;   // 0 to 59
    signed char second;   // 0 to 59
    unsigned char extra;  // written 0, read by nobody
    unsigned char kind;   // 0 none, 1 date, 2 time, 3 date and time
};

// ---- A message in memory --------------------------------------------------------------------------------------------

// One field slot of a message. Every field of the message type has its slots from creation on; setting a field gives a
// slot its value and marks it.
struct _field_data {
    unsigned short id;
    unsigned short presence;  // 2: mandatory; anything else: optional
    unsigned short isSet;     // 1 once a value was given or received
    void* value;              // inlineValue, a separate buffer, or null
    unsigned short length;    // of the value, in bytes
    alignas(8) unsigned char inlineValue[8];
    unsigned short ownsValue;  // 1: value is a buffer of the library's that the slot owns

    // The library's own.
    unsigned short groupMarkers;  // how many group-marker slots lie at or before this one
};

// The field slots of a message, in the order of the message table with the repeating group expanded.
struct ZELDataBuf {
    short count;
    _field_data* fields;

    // The library's own.
    zel::SlotIndex* index;
    zel::ValueBlock* replacedValues;
};

// A message: its header values and its field slots. Created and freed by the library; a program reads and writes the
// header members through CZELMessage::message. The members that hold 4 bits spill into their neighbours on the wire
// when a larger value is put in.
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
    char* varUserData;           // or null; a buffer of the program's own stays the program's (varUserDataOwned 0)
    unsigned short varUserDataLen;
    unsigned short varUserDataOwned;  // 1: the library allocated varUserData and frees it with the message
    short numFields;                  // fields set, received or packed
    short repeatCount;
    ZELDataBuf* dataBuf;
};

static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(ZELLong) == 4, "widths of the protocol");
static_assert(sizeof(_money) == 8 && offsetof(_money, displayCode) == 4, "layout of _money");
static_assert(sizeof(_datetime) == 8 && offsetof(_datetime, kind) == 7, "layout of _datetime");
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
// The getters hand out pointers into the message. They stay good until the field is set again, the message is
// destroyed, or another one is created or unpacked in the same object.
class CZELMessage {
public:
    // Loads the provider library if none is loaded, takes the dictionary and the message table from it, and starts the
    // compression library. Call it once before all other use. Failure is quiet: getVormaZelData then answers null, each
    // construction shows an error box (on Linux a line on standard error), and no message can be created.
    ZEL_API static void init() noexcept;

    // Destroys the provider, unloads its library, shuts the compression library down. Destroy all messages before.
    // Calls of init and terminate are not counted.
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
    //   1 short   2 ZELLong   3 int   6 float   7 double   8 _datetime   9 _money
    //   4 text: cut at the field's length or padded with zero bytes to it
    //   5 text: any length up to 65535 without the terminator; null sets a single zero byte
    //   10, 11 bytes: as many as the field's current length (setFieldValueBinary takes a length)
    // The value is copied. A field that the message does not have, and a null value for a type other than 5, change
    // nothing. Set each field once: every call counts one more field, and a message whose count does not match what
    // was packed is refused by packMessage in the formats 0 and 2. A value that is replaced stays allocated until
    // the message is freed. Reports 1001 (field id 0), 1412 (no dictionary), or the system's error number with
    // "Malloc failed" (out of memory: the field keeps what it had).
    ZEL_API void setFieldValue(short fieldId, const void* value, short occurrence) noexcept;

    // Sets one field to a copy of `length` bytes, whatever its type; a length of 0 or below counts as 1. What is said
    // above of missing fields, null, counting and reports holds here too.
    ZEL_API void setFieldValueBinary(short fieldId, const void* data, short length, short occurrence) noexcept;

    // The field's value, or null if the message has no such field. Texts of type 5 end with a zero byte when they were
    // received and without one when they were set: use getFieldLen.
    ZEL_API void* getFieldValue(short fieldId, short occurrence) noexcept;

    // 1 with the field's value in *value, or 0 with *value untouched if the message has no such field.
    ZEL_API int getFieldValue(void** value, short fieldId, short occurrence) noexcept;

    // The slot itself, or null. Its id must not be changed.
    ZEL_API _field_data* getField(short fieldId, short occurrence) noexcept;

    // The length of the field's value in bytes, or 0 if the message has no such field.
    ZEL_API short getFieldLen(short fieldId, short occurrence) noexcept;

    // The field's type from the dictionary, or -1 if it has no such field. Reports 1001 (id 0), 1412 (no dictionary).
    ZEL_API short getFieldType(short fieldId) noexcept;

    // Packs the message into `buffer` behind a frame. 0 with *length the number of bytes in all, or -1.
    // The buffer must hold kZELMaxFrame bytes and the variable user data. Nothing is allocated. Reports 1435 last,
    // before it the cause: 1001 (no message, null argument), 1486, 1485, 1476, 1417, 1027, 1426 (a field), 1418
    // (header); no cause when the count of the fields set differs from the fields packed.
    ZEL_API long packMessage(char* buffer, long* length) noexcept;

    // Replaces the message by the one received at `buffer`, frame first; the frame's length bounds every read behind
    // the frame. 0, or -1 with `message` as it was when the validation failed, and null when anything later failed.
    // Reports 1432 (validation), 1434 (creation) or 1437 (a field) last, before it the cause. A received field that
    // the message type does not have is reported (1425) and passed over.
    ZEL_API long unpackMessage(const char* buffer) noexcept;

    // The same for `length` bytes without a frame; compressMode keeps its value.
    ZEL_API long unpackMessageNoFrame(const char* buffer, long length) noexcept;

    // Reads the frame at `buffer` (4 bytes; 6 when the second byte's high nibble is not 1): 0 with *length the number
    // of bytes behind the frame and *frameType 1 (frame of 4 bytes) or 3 (frame of 6 bytes); or -1 with report 1005
    // and both untouched when the first byte is not 0x01.
    ZEL_API int getHeaderInfo(const char* buffer, long* length, short* frameType) noexcept;

    // The id of the field with this name, or what the provider answers for an unknown name (the reference provider:
    // -1). -1 when the object was constructed without a provider.
    ZEL_API long getZelIdFromName(const char* name) noexcept;

    short msgType;
    short subType;
    short serviceIdHigh;
    short serviceIdLow;
    short repeatCount;  // set it before createStruct when the message type has a repeating group
    int compressMode;   // 0 plain, 1 compressed, 2 marked as handled and plain
    int shortFrame;     // 0: frame of 6 bytes; else: frame of 4 bytes
    ZelMsgStruct* message;
    VormaZelData* provider;
    short version;
    short sequence;  // raised by one on every pack; gives a message without an id its id
    int useFormat2;
};

static_assert(offsetof(CZELMessage, compressMode) == 12, "layout of CZELMessage");
static_assert(offsetof(CZELMessage, message) == (sizeof(void*) == 8 ? 24 : 20), "layout of CZELMessage");
static_assert(offsetof(CZELMessage, version) == offsetof(CZELMessage, message) + 2 * sizeof(void*), "layout");
static_assert(sizeof(CZELMessage) == offsetof(CZELMessage, version) + 8, "layout of CZELMessage");

extern "C" {

// ---- Responses ------------------------------------------------------------------------------------------------------

// Validates the framed message at `buffer` and tells its type and sub-type: 0, or -1 with both untouched and report
// 1432 behind its cause. The arguments ignored1 and ignored2 are not read. Any thread, between init and terminate.
ZEL_API int ProcessRsp(const char* buffer, long ignored1, short* msgType, short* subType, long ignored2) noexcept;

// The same for `length` bytes without a frame.
ZEL_API int ProcessRspNoFrame(const char* buffer, long length, short* msgType, short* subType) noexcept;

// ---- Error reports --------------------------------------------------------------------------------------------------

// Where reports go. `text` is valid during the call only. The sink runs in the thread whose call failed and must not
// throw.
typedef void (*ZELErrorSink)(int code, const char* text, void* context);

// Installs a sink, or none with null; answers the one before. Reports are dropped while there is none.
ZEL_API ZELErrorSink ZELSetErrorSink(ZELErrorSink sink, void* context) noexcept;

// Hands a report to the sink. `errorWord` is not used.
ZEL_API void SetError(int code, ZELLong* errorWord, const char* text) noexcept;

// ---- Memory ---------------------------------------------------------------------------------------------------------

// Releases a block that an operation of this library returned to the caller to own. Null is allowed.
ZEL_API void ZELFree(void* block) noexcept;

}  // extern "C"

#endif  // ZEL_ZELMESSAGE_H
