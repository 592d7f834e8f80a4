// Records: a program's own structs to frames and back, held against the dictionary once.
//
// A layout describes a struct: which member holds which field. Binding checks the layout against the dictionary in use
// and gives a binding, which then packs and unpacks such structs in one pass. Whatever a record does could be done with
// CZELMessage (zelmessage.h): same bytes, same results, same reports.
//
// What holds for every operation here:
//  - Plain C, from C99 and from C++11 on. Nothing is thrown.
//  - A result is 0 or one of ZELResult (zelreport.h). Where a ZELFailure is asked for, it says more; null is allowed.
//  - Reports go to the error sink (ZELSetErrorSink) as the message object would send them. The results from 2000 on
//  have
//    no report.
//  - A binding never changes. Any number of threads may use one at the same time. ZELStart and ZELStop run while no
//    other call is in progress.
//  - Packing and unpacking allocate nothing, as long as the frame's fields come in the dictionary's order, each at most
//    once, and none is unknown. Anything else takes the way of the message object, which allocates.
//  - Structs and buffers may lie at any address. No byte outside them is read or written, whatever they hold.
#ifndef ZEL_ZELRECORD_H
#define ZEL_ZELRECORD_H

#include <stddef.h>
#include <stdint.h>

#include "zelreport.h"
#include "zelvalues.h"

#if defined(__cplusplus)
extern "C" {
#endif

// ---- Results --------------------------------------------------------------------------------------------------------

// What went wrong in a call that packs or unpacks. Written only when the result is not 0.
typedef struct ZELFailure {
    int32_t result;      // the call's result
    int32_t fieldId;     // of the field concerned, or 0
    int32_t repetition;  // of the group, from 0; -1 outside it, or where it is not known
    uint32_t offset;     // unpacking: from the start of the frame to the first field that is not as expected; 0 where
                         // that is not known
    char text[192];      // in English, with the field's name; ends with a zero byte
} ZELFailure;

// ---- The library ----------------------------------------------------------------------------------------------------

// What CZELMessage::init and terminate do. 0, or ZEL_NOT_STARTED.
ZEL_API int ZELStart(void) ZEL_NOEXCEPT;
ZEL_API void ZELStop(void) ZEL_NOEXCEPT;

// The type and sub-type of the message that the dictionary in use gives this name. 0; ZEL_BAD_ARGUMENT for null; or
// ZEL_NO_SUCH_MESSAGE, with nothing written, also when the provider knows no names of messages.
ZEL_API int ZELFindMessage(const char* name, int16_t* msgType, int16_t* subType) ZEL_NOEXCEPT;

// ---- Layouts --------------------------------------------------------------------------------------------------------

// Bytes that lie elsewhere.
typedef struct ZELView {
    const void* data;
    size_t length;
} ZELView;

// What a member is, and the dictionary's types that it may hold.
enum ZELKind {
    ZEL_INT16 = 1,     // int16_t: short
    ZEL_INT32 = 2,     // int32_t: short, long, int
    ZEL_INT64 = 3,     // int64_t: short, long, int
    ZEL_FLOAT = 4,     // float: float
    ZEL_DOUBLE = 5,    // double: double
    ZEL_MONEY = 6,     // _money: money
    ZEL_DATETIME = 7,  // _datetime: date-time
    ZEL_CHARS = 8,     // char[size]: chars (size at least the dictionary's length), text. Packing reads up to the first
                       // zero byte or the end; of chars of length 1 the byte as it is. Unpacking fills up with zeros
    ZEL_BYTES = 9,     // unsigned char[size], of which a uint32_t at lengthOffset counts the used ones: text, bytes.
                       // Unpacking leaves those after them as they were
    ZEL_VIEW = 10,     // a pointer at offset and a size_t at lengthOffset: chars, text, bytes. The length counts, zero
                       // bytes included, but chars longer than 1 end at the first one. Unpacking points it into the
                       // received bytes, which the caller keeps, or into the scratch memory
    ZEL_SECONDS = 11   // int64_t: date-time, as seconds since the first of January 1970, midnight, in no time zone.
                       // Packing sends a date with a time, of the years 1900 to 2155. Unpacking takes a date for its
                       // midnight, a time for one of that first day; INT64_MIN stands for what is neither, and for a
                       // field that did not arrive
};

// In place of an offset: there is no such place.
#define ZEL_NOWHERE UINT32_MAX

// One member of a struct. Offsets count from the start of the record; in a group, from the start of the repetition.
typedef struct ZELMember {
    const char* field;  // the field's name; or null, and fieldId says which
    int32_t fieldId;
    int32_t kind;  // ZELKind
    uint32_t offset;
    uint32_t size;            // sizeof the member; of a view not read
    uint32_t lengthOffset;    // kinds BYTES and VIEW; else not read
    uint32_t presenceOffset;  // of a byte of this member alone: not 0 the field is there, 0 it is not. ZEL_NOWHERE:
                              // packing always sends it
} ZELMember;

// The repeating group of a message: an array of structs.
typedef struct ZELGroup {
    uint32_t offset;       // of the first repetition
    uint32_t stride;       // from one repetition to the next
    uint32_t capacity;     // repetitions that the array has room for
    uint32_t countOffset;  // of a uint32_t: repetitions in use. The repeat-count field is sent from it, and the group's
                           // markers are counted from 1: they are no members. With none in use the message has no
                           // place for the fields after the group, and they are not sent
    const ZELMember* members;
    uint32_t memberCount;
} ZELGroup;

typedef struct ZELLayout {
    int16_t msgType;
    int16_t subType;
    uint32_t size;  // of the struct: no member may reach past it
    const ZELMember* members;
    uint32_t memberCount;
    const ZELGroup* group;  // or null: packing sends no repetition, unpacking steps over them
} ZELLayout;

// ---- Bindings -------------------------------------------------------------------------------------------------------

typedef struct ZELBinding ZELBinding;

// Holds the layout against the dictionary in use; the layout is not needed afterwards. 0 with *binding; or
// ZEL_BAD_LAYOUT, the code of a report (no tables, no such message), or the system's error number, with *binding null.
// `text` receives every disagreement, a line each, cut at textSize and ended with a zero byte: the field by name and
// id, what the dictionary has and what the struct has. It may be null with a textSize of 0.
ZEL_API int ZELBind(const ZELLayout* layout, const ZELBinding** binding, char* text, size_t textSize) ZEL_NOEXCEPT;

// Null is allowed. No call may be using the binding.
ZEL_API void ZELFreeBinding(const ZELBinding* binding) ZEL_NOEXCEPT;

// 1: a binding of the same layout made now would be the same; 0: the tables in use say otherwise, or there are none.
// A binding keeps what it was made from either way.
ZEL_API int ZELIsCurrent(const ZELBinding* binding) ZEL_NOEXCEPT;

// ---- Packing --------------------------------------------------------------------------------------------------------

enum ZELFrameKind {
    ZEL_FRAME_LONG = 0,   // 6 bytes
    ZEL_FRAME_SHORT = 1,  // 4 bytes
    ZEL_FRAME_NONE = 2    // the message alone
};

// The largest frame without variable user data: a buffer of this size and that data is always enough.
#define ZEL_MAX_FRAME 12326

// What travels beside the fields. All zero bytes is a good start. Numbers that cannot be are ZEL_BAD_ARGUMENT.
typedef struct ZELEnvelope {
    int16_t serviceIdHigh;
    int16_t serviceIdLow;
    int16_t version;  // 0 to 15. Fields newer than it are left out, and their members not looked at; 0: all are sent
    int16_t format;   // 0: id and value, 1: value, 2: id, length and value
    int16_t compressMode;  // 0 plain, 1 compressed, 2 marked as handled and plain
    uint16_t encryptFlag;  // 0 to 15. Not 0: the payload passes the data transform
    int16_t frameKind;     // ZELFrameKind
    uint16_t sequence;     // gives a message without an id its id. Raised by one by every pack, but not where the
                           // result is 2000 or above
    uint16_t msgIdSeq;     // 0: the message gets `sequence`, 1, 1 as its id; the envelope keeps the 0
    uint16_t msgIdPart2;   // 0 to 255
    uint16_t msgIdPart3;   // 0 to 255
    uint16_t packFlags;    // unpacking: as received; packing does not read it
    int32_t userData;      // sent when varUserData.data is null
    ZELView varUserData;   // at most 65535 bytes; unpacking points it into the received bytes
} ZELEnvelope;

// Packs a record into `buffer`: 0 with *length the bytes written, frame included. After a failure anything may stand in
// the buffer. `envelope` may be null: all zero.
ZEL_API int ZELPackRecord(const ZELBinding* binding, const void* record, ZELEnvelope* envelope, void* buffer,
                          size_t capacity, size_t* length, ZELFailure* failure) ZEL_NOEXCEPT;

// ---- Unpacking ------------------------------------------------------------------------------------------------------

// A member whose field did not arrive.
typedef struct ZELAbsent {
    int32_t fieldId;
    int32_t repetition;  // of the group, from 0; -1 outside it
} ZELAbsent;

// Scratch memory that is enough for the views of any one message.
#define ZEL_SCRATCH_SIZE 12288

// What a caller may ask for beside the record. All zero bytes asks for nothing.
typedef struct ZELReading {
    void* scratch;  // for views of compressed or encrypted payloads, which then point into it: as many bytes as the
                    // payload has; or null
    size_t scratchSize;
    ZELAbsent* absent;  // room for members without a presence flag whose field did not arrive, in the order of the
                        // dictionary's list; or null
    uint32_t absentCapacity;
    uint32_t absentCount;   // out: how many there are, also beyond the capacity; 0 after a failure
    ZELEnvelope* envelope;  // out, or null: written when the result is 0, but for `sequence`
    size_t used;            // out: bytes of the frame, also when its message is bad or of another type; else 0
} ZELReading;

// Unpacks the frame at the head of `bytes` into the record. Members whose field did not arrive become zero bytes
// (ZEL_SECONDS: INT64_MIN), and their presence flags 0; repetitions from the count on may hold anything. After a
// failure that is so of every member outside the group, and the count is zero (for ZEL_BAD_ARGUMENT, ZEL_INCOMPLETE,
// ZEL_NO_FRAME and ZEL_OTHER_MESSAGE the record is as it was). `reading` may be null.
ZEL_API int ZELUnpackRecord(const ZELBinding* binding, const void* bytes, size_t length, void* record,
                            ZELReading* reading, ZELFailure* failure) ZEL_NOEXCEPT;

// The same for a message of `length` bytes without a frame.
ZEL_API int ZELUnpackRecordNoFrame(const ZELBinding* binding, const void* bytes, size_t length, void* record,
                                   ZELReading* reading, ZELFailure* failure) ZEL_NOEXCEPT;

// ---- Streams of frames ----------------------------------------------------------------------------------------------

// The frame at the head of `length` received bytes. 0 with *size its bytes, header of the frame included, of which all
// are there; ZEL_INCOMPLETE with *size the bytes that are needed to go on: to tell the length, or the whole frame;
// ZEL_NO_FRAME with *size 0: no frame starts like this, or none that long can be.
ZEL_API int ZELFindFrame(const void* bytes, size_t length, size_t* size) ZEL_NOEXCEPT;

// Reading many. All zero bytes is a good start.
typedef struct ZELRun {
    void* scratch;  // as in ZELReading, but used up record by record: views of a payload that finds too little of it
                    // end the run with ZEL_NO_SCRATCH at that frame
    size_t scratchSize;
    uint64_t* offsets;  // out: of each record's frame, one a record; or null
    int32_t stopAtBad;  // 1: the run ends at the first bad message
    // out
    int32_t firstBadResult;  // what ZELUnpackRecord says of the first bad message, or 0
    size_t firstBad;         // its offset
    size_t used;             // bytes of the frames that are done with
    size_t read;             // records filled
    size_t skipped;          // messages of other types
    size_t bad;              // messages of this type that could not be read, and messages of no known type
} ZELRun;

// Unpacks frames that lie one after the other into `capacity` records, `stride` bytes from one to the next. 0: all
// bytes are used, or all records are; ZEL_INCOMPLETE: a frame ends beyond the bytes; ZEL_NO_FRAME: no frame at `used`;
// with stopAtBad the result of the bad message, which `used` does not count. A record that a bad message was read into
// takes the next message.
ZEL_API int ZELUnpackRun(const ZELBinding* binding, const void* bytes, size_t length, void* records, size_t stride,
                         size_t capacity, ZELRun* run) ZEL_NOEXCEPT;

#if defined(__cplusplus)
}  // extern "C"

static_assert(sizeof(ZELFailure) == 208 && offsetof(ZELFailure, text) == 16, "layout of ZELFailure");
static_assert(sizeof(ZELView) == 2 * sizeof(void*) && sizeof(size_t) == sizeof(void*), "layout of ZELView");
static_assert(sizeof(ZELMember) == sizeof(void*) + 24, "layout of ZELMember");
static_assert(offsetof(ZELGroup, members) == 16 && sizeof(ZELGroup) == 16 + 2 * sizeof(void*), "layout of ZELGroup");
static_assert(offsetof(ZELLayout, members) == 8 && sizeof(ZELLayout) == 8 + 3 * sizeof(void*), "layout of ZELLayout");
static_assert(offsetof(ZELEnvelope, userData) == 24, "layout of ZELEnvelope");
static_assert(offsetof(ZELEnvelope, varUserData) == (sizeof(void*) == 8 ? 32 : 28), "layout of ZELEnvelope");
static_assert(sizeof(ZELEnvelope) == (sizeof(void*) == 8 ? 48 : 36), "layout of ZELEnvelope");
static_assert(sizeof(ZELAbsent) == 8, "layout of ZELAbsent");
static_assert(offsetof(ZELReading, absentCapacity) == 3 * sizeof(void*), "layout of ZELReading");
static_assert(sizeof(ZELReading) == 5 * sizeof(void*) + 8, "layout of ZELReading");
static_assert(offsetof(ZELRun, stopAtBad) == 3 * sizeof(void*), "layout of ZELRun");
static_assert(sizeof(ZELRun) == 8 * sizeof(void*) + 8, "layout of ZELRun");
#endif

#endif  // ZEL_ZELRECORD_H
