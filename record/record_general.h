// The way of the message object: its slots, its procedures and its reports, for whatever the quick ways leave to it.
#ifndef ZEL_RECORD_RECORD_GENERAL_H
#define ZEL_RECORD_RECORD_GENERAL_H

#include "core/message_build.h"
#include "record/failure.h"

namespace zel {

// The header of what the envelope asks for, without the number of fields.
ZelMsgStruct HeaderOf(const MessagePlan& plan, const ZELEnvelope& envelope) noexcept;

// Packs the record into the room: 0 with the message's length, or the result, reported where that is below 2000.
int PackBySlots(const ZELBinding& binding, const char* record, const ZELEnvelope& envelope, const BuildRoom& room,
                long* length, FailedAt& at) noexcept;

// The part of the scratch memory that no view points into yet.
struct Scratch {
    char* next;
    std::size_t left;
};

// What unpacking reads and fills.
struct Unpacking {
    const char* message;
    long length;
    char* record;
    ZELReading& reading;  // but for the scratch memory
    Scratch& scratch;
};

// Unpacks the message into the record: 0, or the result, likewise. After a failure anything may stand in the record.
int UnpackBySlots(const ZELBinding& binding, const Unpacking& unpacking, FailedAt& at) noexcept;

// Writes what travelled beside the fields.
void TakeEnvelope(const ZelMsgStruct& header, ZELReading& reading) noexcept;

// Makes the member that of a field which did not arrive.
void NoteAbsent(const FieldStep& step, char* base, int repetition, ZELReading& reading) noexcept;

// Moves a payload that was expanded or transformed back into the scratch memory, if views are to point into it. False:
// there is too little of it.
bool KeepForViews(const ZELBinding& binding, Scratch& scratch, Reader& payload) noexcept;

}  // namespace zel

#endif  // ZEL_RECORD_RECORD_GENERAL_H
