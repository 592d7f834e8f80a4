// The ZEL message library: messages, response processing, error reports, value conversions, and the plain records
// behind them.
//
// What holds for every operation here:
//  - No exception leaves the library. Failure is a result (-1, 0 or null, as each operation says), and a report to the
//    error sink, if the program installed one. Reports come innermost cause first.
//  - Different message objects may be used in different threads at the same time. One object belongs to one thread at a
//    time. CZELMessage::init, CZELMessage::terminate, ZELSetErrorSink and ZELSetMostRepetitions run while no other call
//    is in progress.
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
//
// A buffer that a slot owns is released with its message: when that is destroyed, or another is created or unpacked in
// its object. A program takes such a buffer away by setting ownsValue to 0; it is then the program's, to be released
// with ZELFree at any time and in any thread, and keeps its message's memory until then. A program gives a buffer by
// pointing value at it and setting ownsValue to 1: one that it took away, or a text of ConvertDecimalToFraction.
// Setting a field that owns a buffer releases nothing: the message's own stays until the message goes, and one that was
// given is the program's again.
//
// A program may write isSet, value, length, ownsValue and inlineValue; the other members are the library's. Of a buffer
// of the library's no more than it holds is read or sent, whatever `length` says: zero bytes go out for the rest. A
// buffer of the program's has as many bytes as `length` says, and at least those that a value of the field's type has.
struct _field_data {
    unsigned short id;
    unsigned short presence;  // 2: mandatory; anything else: optional
    unsigned short isSet;     // 1 once a value was given or received
    void* value;              // inlineValue, a separate buffer, or null
    unsigned short length;  // of the value, in bytes; of a date-time received in format 2 what the peer said, from 8 on
    alignas(8) unsigned char inlineValue[8];
    unsigned short ownsValue;  // 1: value is a buffer of the library's that goes with the message; else 0

    // The library's own: in which repetition of the group the slot is, from 0, and which entry of the field list it
    // comes from.
    unsigned short repetition;
    unsigned int entry;
};

// The field slots of a message, in the order of the message table with the repeating group expanded. Both members are
// the library's: it does not go by what a program writes there, and the next message in the object has them right
// again.
struct ZELDataBuf {
    short count;
    _field_data* fields;
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
    // compression library. Call it once before all other use. Failure is quiet: getVormaZelData then returns null, each
    // construction shows an error box (on Linux a line on standard error), and no message can be created.
    // Any thread may call it while no other call is in progress. A further call reads the provider's tables again:
    // messages created from then on go by them. A message that is alive goes by the tables that it was created from, as
    // long as it lives; asking for a field's name or type goes by those in use.
    ZEL_API static void init() noexcept;

    // Destroys the provider, unloads its library, shuts the compression library down. Calls of init and terminate are
    // not counted: the first call of terminate ends all. Any thread may call it while no other call is in progress.
    // Messages that are alive may still be read, set and destroyed; packing them fails like packing without a
    // dictionary (1412), until the next init. The `provider` of an object from before is no longer there: do not ask it
    // for names.
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
    // nothing. Set each field once: every call counts one more field, and a message whose count does not match what
    // was packed is refused by packMessage in the formats 0 and 2. A value that is replaced stays allocated until
    // the message is freed. Reports 1001 (field id 0), 1412 (no dictionary), or the system's error number with
    // "Malloc failed" (out of memory: the field keeps what it had).
    ZEL_API void setFieldValue(short fieldId, const void* value, short occurrence) noexcept;

    // Sets one field to a copy of `length` bytes, whatever its type; a length of 0 or below counts as 1. What is said
    // above of missing fields, null, counting and reports holds here too.
    ZEL_API void setFieldValueBinary(short fieldId, const void* data, short length, short occurrence) noexcept;

    // The field's value, or null if the message has no such field. A field that is not set has a value of zero bytes if
    // its type has one size, else null: getField and isSet tell. Texts of type 5 end with a zero byte when they were
    // received and without one when they were set: use getFieldLen.
    ZEL_API void* getFieldValue(short fieldId, short occurrence) noexcept;

    // 1 with the field's value in *value, or 0 with *value untouched if the message has no such field.
    ZEL_API int getFieldValue(void** value, short fieldId, short occurrence) noexcept;

    // The slot itself, or null. Its id must not be changed.
    ZEL_API _field_data* getField(short fieldId, short occurrence) noexcept;

    // The length of the field's value in bytes, or 0 if the message has no such field. A length above 32767 comes as
    // the negative number that has the same 16 bits.
    ZEL_API short getFieldLen(short fieldId, short occurrence) noexcept;

    // The field's type from the dictionary, or -1 if it has no such field. Reports 1001 (id 0), 1412 (no dictionary).
    ZEL_API short getFieldType(short fieldId) noexcept;

    // Packs the message into `buffer`, after a frame. 0 with *length the number of bytes in all, or -1.
    // The buffer must hold kZELMaxFrame bytes and the variable user data; after a failure anything may stand in it.
    // Nothing is allocated. Reports 1435 last, before it the cause: 1001 (no message, null argument), 1486, 1485, 1476,
    // 1417, 1027, 1426 (a field), 1418 (header); no cause when the count of the fields set differs from the fields
    // packed. With shortFrame, a message of more than 32,767 bytes, which takes variable user data, gets a frame that
    // says another length, and the result is 0 all the same: peers read that length as a negative one.
    ZEL_API long packMessage(char* buffer, long* length) noexcept;

    // Replaces the message by the one received at `buffer`, frame first; the frame's length bounds every read after
    // the frame. 0, or -1 with `message` as it was when the validation failed, and null when anything later failed.
    // Reports 1432 (validation), 1434 (creation) or 1437 (a field) last, before it the cause. A received field that
    // the message type does not have is reported (1425) and passed over.
    ZEL_API long unpackMessage(const char* buffer) noexcept;

    // The same for `length` bytes without a frame; compressMode keeps its value.
    ZEL_API long unpackMessageNoFrame(const char* buffer, long length) noexcept;

    // Reads the frame at `buffer` (4 bytes; 6 when the second byte's high nibble is not 1): 0 with *length the number
    // of bytes after the frame and *frameType that nibble as it stands, 1 (frame of 4 bytes) or 3 (frame of 6 bytes) in
    // frames that peers send; or -1 with report 1005 and both untouched when the first byte is not 0x01.
    ZEL_API int getHeaderInfo(const char* buffer, long* length, short* frameType) noexcept;

    // The id of the field with this name, or what the provider returns for an unknown name (the reference provider:
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

// ---- Responses ------------------------------------------------------------------------------------------------------

// Validates the framed message at `buffer` and tells its type and sub-type: 0, or -1 with both untouched and report
// 1432 after its cause. The arguments ignored1 and ignored2 are not read. Any thread, between init and terminate.
ZEL_API int ProcessRsp(const char* buffer, long ignored1, short* msgType, short* subType, long ignored2) noexcept;

// The same for `length` bytes without a frame.
ZEL_API int ProcessRspNoFrame(const char* buffer, long length, short* msgType, short* subType) noexcept;

// A received repeat count asks for slots whether fields follow or not: 32,767 of them, the most there can be, take 1.3
// MB (1 MB in 32-bit programs) until the message is freed, and some 0.1 ms, even for a message of 40 bytes. A program
// that reads from peers it does not trust says here how many repetitions it can use. A message with more is refused by
// unpackMessage and unpackMessageNoFrame like one that memory fails (1001 "CreateZELDataBuf() failed", 1434; `message`
// is null). A negative number counts as 0. Messages without a repeating group and messages that the program creates are
// not concerned. Returns the number before; it starts as 32767, which refuses nothing.
ZEL_API short ZELSetMostRepetitions(short most) noexcept;

// ---- Error reports --------------------------------------------------------------------------------------------------

// Where reports go. `text` is valid during the call only. The sink runs in the thread whose call failed and must not
// throw.
typedef void (*ZELErrorSink)(int code, const char* text, void* context);

// Installs a sink, or none with null; returns the one before. Reports are dropped while there is none.
ZEL_API ZELErrorSink ZELSetErrorSink(ZELErrorSink sink, void* context) noexcept;

// Hands a report to the sink. `errorWord` is not used.
ZEL_API void SetError(int code, ZELLong* errorWord, const char* text) noexcept;

// ---- Money ----------------------------------------------------------------------------------------------------------
//
// Any thread may call the value functions at any time. They depend on no locale and touch nothing but their arguments
// and the error sink. Amounts are 32-bit numbers; what overflows wraps round. Texts end with a zero byte.
//
// Display codes: 1 is whole units; 2, 4, 8, 16, 32, 64, 128 and 256 are fractions with that denominator; 10, 20, 30, 40
// and 50 are 1 to 5 decimals. A code from 512 on is the large form of two decimals, for more than 20,000,000 whole
// units: the amount counts whole units, the code is 512 + hundredths. Every other code is invalid.

// Takes a record apart: 12.50 into 12, 50 and 100. A negative amount gives parts that are negative or 0; large forms
// have their hundredths from the code, never below 0. 0, or -1 with whole and numerator untouched. Reports 1001 (a null
// argument) and 1462 (invalid code; *denominator is then 0). Codes below 0 are taken as large forms, code + 65536.
ZEL_API int ZELUnformatMoney(const _money* money, long* whole, long* numerator, long* denominator) noexcept;

// 1 for whole units, 3 for decimals, 5 for fractions, 0 for an invalid display code; codes below 0 are invalid here.
ZEL_API short GetDenominatorType(short displayCode) noexcept;

// Writes a record as text. `text` has room for 24 bytes and is filled with zero bytes before. -123456 with code 20:
//   0  -1234.56      1  $1,234.56-      2  -$1,234.56      3  -$1,234.56      any other number  -1234.56-
// Decimals show as many digits as the code says; format 3 always shows two, rounded without a carry into the whole
// part: 5.999 is $5.00. Whole units are 5, or $5.00 in format 3.
// Fractions are 1 7/8 and 7/8, without the "$" when there is no whole part; format 1 then writes -1/2 as $1/2-.
// Format 2 drops a whole part of 7 or more digits when something follows: 1234567.67 is .67, 1234567 stays.
// The text ends without a zero byte of its own where nothing follows the whole part: formats 1 and 2 for whole units
// (when the number has at most 6 digits or the format is 1), 1 to 3 for fractions without a numerator. The sign that
// format 1 puts at the end ends it all the same.
// The most negative amount of whole units has its "-" twice: --2147483648.
// 0, or -1 with `text` empty. Reports 1001 (`money` is null) and 1462 (invalid code); a code below 0 is not reported.
ZEL_API int ZELMoneyToStr(const _money* money, char* text, short format) noexcept;

// Reads a text of at most 31 characters without the spaces around it:
//   "", "1234", "-1234", "1234-", "$1,234"    whole units: code 1
//   "12.5", "$1,234.56", ".25"                decimals: code 10 to 50 by their number; those after the fifth are cut
//   "25000000.50"                             more than 20,000,000 with two decimals: the large form
//   "3/4", "3 4", "1 1/2", "-1 1/2"           fractions: code 2 to 256; a denominator of 10 to 100000 gives decimals
//   "101'16", "101\"16", "101!16", "101!!16"  32nds, 64ths, 128ths, 256ths
// Characters that are neither digits nor one of  space / . ' " !  are passed over; a "-" anywhere makes it negative.
// Runs of digits above 2147483647 count as that number, the sign coming later.
// 0, or -1 with *money untouched: for null; for a "." together with a space; for another denominator ("1/3", "7."); for
// a numerator above the denominator; with report 1467 for three or more separators ("1/2/3/4") and for longer texts;
// with report 1001 when `money` is null.
ZEL_API int ZELStrToMoney(const char* text, _money* money) noexcept;

// ---- Dates and times ------------------------------------------------------------------------------------------------

// Writes the date of a record, 30 November 1999 as:
//   1  99/11/30    2  30/11/99     7  991130         9  113099     10  1199              11  19991130
//  12  11301999   13  111999      14  11/30/1999    15  11/1999    16  1999/11/2.2hd     any other  11/30/99
// Format 16 does not show the day. Years from 2000 on are the stored year less 100 where two digits are shown (2005 is
// 05, 2100 is 100). A record without a date (kind 0 or 2) is 00/00/1900 in every format. 18 bytes hold every text.
// 0, or -1 with report 1001 for a null argument.
ZEL_API int ZELDateToStr(const _datetime* value, char* text, short format) noexcept;

// Writes the time of a record, 9:05:07 as:
//   4  09:05       5  090507       6  0905           any other  09:05:07
// A record without a time (kind 0 or 1) is 00:00:00 in every format. 18 bytes hold every text.
// 0, or -1 with report 1001 for a null argument.
ZEL_API int ZELTimeToStr(const _datetime* value, char* text, short format) noexcept;

// Writes date (as in format 1) and time, 99/11/30 09:05:07; or what the record has of the two; or 00:00:00 when it has
// neither. The text is cut at 17 characters, so that 18 bytes hold it. Date and time of a year from 2100 on make 18:
// the last digit of the seconds is lost (2100 is 100/11/30 09:05:0). Other numbers of three digits or below 0 cost
// more. 0, or -1 with report 1001 for a null argument and `text`, if there is one, empty.
ZEL_API int ZELDateTimeToStr(const _datetime* value, char* text) noexcept;

// Reads a date, the spaces around the text left out, and clears the record's time:
//   0  113099, 11/30/99     1  991130, 99/11/30     2  301199, 30/11/99     8, 10  1199, 11/99 (day 0)
//  11  19991130            12  11301999            14  11/30/1999          15  11/1999 (day 0)
// For the "/" of the formats 0 to 10 any character that is no digit does. Characters after the date are passed over.
// Two digits are a year of the 1900s: 05 is 1905. An empty text is the null date (0, 0, 0) in the formats 12, 14, 15;
// so is every text in a format that is not listed.
// 0; also, with report 1463, for a text whose parts are no numbers, which gives the null date. -1 with *value untouched
// for null, a text too short for its format, a "/" in format 11 or a missing one in 14 and 15, a year before 1900; with
// report 1001 for a day above 31, a month above 12, a year above 2154, or when `value` is null.
ZEL_API int ZELStrToDate(const char* text, _datetime* value, short format) noexcept;

// Reads a time of at least 4 characters, and clears the record's date: 0905, 09:05, 090507, 09:05:07, with any
// character that is no digit for a ":". Missing digits are 0: four spaces are 00:00:00. 0, or -1 with *value untouched:
// for null and shorter texts; with report 1464 for a text whose parts are no numbers; with report 1001 for more than
// 24 hours, 59 minutes or 59 seconds, or when `value` is null.
ZEL_API int ZELStrToTime(const char* text, _datetime* value) noexcept;

// The same, but the record keeps its date and becomes one of date and time.
ZEL_API int ZELAddStrToTime(const char* text, _datetime* value) noexcept;

// ---- Fractions ------------------------------------------------------------------------------------------------------

// The greatest common factor of two positive numbers. `a` when b is below 1; b when a is 0 or below and b is above 0.
ZEL_API long FindGCF(long a, long b) noexcept;

// Rewrites decimals as a fraction: "0.375" is 3/8, "2.50" is 2 1/2, "1.0" is 1, "0.0" is 0/1, "0.3" is 3/10. The
// fraction of a negative text is lost: "-5.5" is -5. Returns a text of 32 bytes that the caller releases with ZELFree;
// or null when the reduced denominator is none of those that have a display code ("0.2"), when the text has no decimals
// ("3", "1 1/2", "abc"), or when memory ran out. Reports what ZELStrToMoney reports, and 1462 for hundredths on fewer
// than -20,000,000 whole units, which have no display code.
ZEL_API char* ConvertDecimalToFraction(const char* text) noexcept;

// ---- Memory ---------------------------------------------------------------------------------------------------------

// Releases a block that an operation of this library returned to the caller to own, or the value that a program took
// away from its slot (see _field_data). Null is allowed. In any thread.
ZEL_API void ZELFree(void* block) noexcept;

}  // extern "C"

#endif  // ZEL_ZELMESSAGE_H
