#include "runtime/meanings.h"

namespace zel {

#define ZEL_CODE(name) name, #name
const Meaning kMeanings[] = {
    {ZEL_CODE(ZEL_BAD_CALL), "an argument cannot be, or a step failed: see the report before it, or its text below"},
    {ZEL_CODE(ZEL_NO_SOH), "the frame does not begin with 0x01: find frames with ZELFindFrame before unpacking them"},
    {ZEL_CODE(ZEL_UNKNOWN_TYPE),
     "the dictionary has no type for this field: compare the peer's dictionary with this one"},
    {ZEL_CODE(ZEL_NO_DICTIONARY),
     "no dictionary is in use: call CZELMessage::init or ZELStart first, and terminate or ZELStop last"},
    {ZEL_CODE(ZEL_ID_UNREADABLE), "the bytes are no ZEL message: check where the message begins and how long it is"},
    {ZEL_CODE(ZEL_CANNOT_STEP),
     "the dictionary has no record of the field: compare the peer's dictionary with this one"},
    {ZEL_CODE(ZEL_NO_MESSAGE_TABLE),
     "the message table has no such message, or there is none: start the library first, or update the dictionary"},
    {ZEL_CODE(ZEL_NO_SUCH_MESSAGE),
     "the message table has no such message: `zel dict show` lists what it has"},
    {ZEL_CODE(ZEL_FIELD_UNPACKABLE), "cannot be packed: mostly the payload is full (12288 bytes); send less"},
    {ZEL_CODE(ZEL_HEADER_UNPACKABLE), "the header cannot be packed: check the fields 1 to 7 of the dictionary"},
    {ZEL_CODE(ZEL_TRANSFORM_FAILED), "the payload cannot be encrypted: it is longer than 12288 bytes; send less"},
    {ZEL_CODE(ZEL_INVERSE_FAILED), "the payload cannot be decrypted: it is longer than 12288 bytes"},
    {ZEL_CODE(ZEL_NOT_EXPANDED), "the payload cannot be expanded: the bytes are damaged, or memory is out"},
    {ZEL_CODE(ZEL_HEADER_UNREADABLE), "the header cannot be read: the bytes are damaged"},
    {ZEL_CODE(ZEL_FIELD_NOT_IN_LIST),
     "the message type lacks this field: compare the peer's dictionary with this one; alone it fails no call"},
    {ZEL_CODE(ZEL_BAD_FORMAT),
     "the header's field format is none: the bytes are damaged, or `format` is not 0, 1 or 2"},
    {ZEL_CODE(ZEL_FIELD_UNREADABLE), "the field runs past the end of the message or is too short: the bytes are damaged or cut"},
    {ZEL_CODE(ZEL_NOT_VALIDATED), "the received message was refused: the report before says why"},
    {ZEL_CODE(ZEL_NOT_CREATED),
     "no slots for the received message: the report before says why; the numbers in this text are always 304"},
    {ZEL_CODE(ZEL_NOT_BUILT),
     "the message was not packed: see the report before; without one, fields set and packed differ: set each once"},
    {ZEL_CODE(ZEL_NOT_UNPACKED), "the fields of the received message were refused: the report before says why"},
    {ZEL_CODE(ZEL_BAD_DISPLAY_CODE), "a money's display code is none: use one of those in docs/values.md"},
    {ZEL_CODE(ZEL_BAD_DATE), "the text is no date in this format: see the formats in docs/values.md"},
    {ZEL_CODE(ZEL_BAD_TIME), "the text is no time: write it as hh:mm:ss, hhmmss, hh:mm or hhmm"},
    {ZEL_CODE(ZEL_BAD_MONEY), "the text is no amount: see the forms in docs/values.md; 31 characters are the most"},
    {ZEL_CODE(ZEL_MANDATORY_MISSING), "mandatory and absent: set it; in a record also its presence flag"},
    {ZEL_CODE(ZEL_MANDATORY_TOO_NEW),
     "mandatory, absent and newer than the message's version: raise the version, or set it"},
    {ZEL_CODE(ZEL_VERSION_UNKNOWN), "the dictionary has no record of the field: the message cannot be packed"},

    {ZEL_CODE(ZEL_BAD_ARGUMENT),
     "an argument cannot be: a null pointer, a view without bytes, or a number out of bounds"},
    {ZEL_CODE(ZEL_BAD_LAYOUT), "layout and dictionary disagree: the text of the binding says where"},
    {ZEL_CODE(ZEL_OUT_OF_RANGE), "the member's number does not fit the field: send a smaller one"},
    {ZEL_CODE(ZEL_TEXT_TOO_LONG),
     "text or bytes too long for the field or the member: shorten the text, or widen the member"},
    {ZEL_CODE(ZEL_TOO_MANY),
     "more repetitions than the struct has room for, or than 32767: send fewer, or raise the capacity"},
    {ZEL_CODE(ZEL_BUFFER_TOO_SMALL),
     "the frame does not fit the buffer: ZEL_MAX_FRAME and the user data are always enough"},
    {ZEL_CODE(ZEL_INCOMPLETE), "the frame is longer than the bytes: read on, ZELFindFrame tells how many"},
    {ZEL_CODE(ZEL_NO_FRAME), "no frame starts here: find the next one, or close the connection"},
    {ZEL_CODE(ZEL_OTHER_MESSAGE), "a message of another type or sub-type: use its binding"},
    {ZEL_CODE(ZEL_NO_SCRATCH),
     "views of a compressed or encrypted payload: give ZEL_SCRATCH_SIZE bytes of scratch memory"},
    {ZEL_CODE(ZEL_NOT_STARTED),
     "no dictionary provider, or one without tables: put it and its image where docs/using.md says"},
    {ZEL_CODE(ZEL_NO_SUCH_FIELD), "the dictionary has no such field: `zel dict show` lists what it has"},
    {ZEL_CODE(ZEL_NOT_IN_MESSAGE),
     "the message's type has no place for this field: `zel dict show TYPE/SUBTYPE` lists what it has"},
    {ZEL_CODE(ZEL_WRONG_TYPE),
     "the value is of another type than the field: use the C++ type that docs/using.md names"},
    {ZEL_CODE(ZEL_SET_TWICE), "the field was set before: set each field once, or replace its value"},
    {ZEL_CODE(ZEL_NO_MESSAGE), "the object holds no message: create one or unpack one first, and look at its failure"},
    {0, nullptr, ""},
};
#undef ZEL_CODE

}  // namespace zel

extern "C" const char* ZELExplain(int code) noexcept {
    if (code > 0 && code < 1000) {
        return "memory is out: the code is the system's error number";
    }
    const zel::Meaning* meaning = zel::kMeanings;
    while (meaning->name != nullptr && meaning->code != code) {
        ++meaning;
    }
    return meaning->text;
}
