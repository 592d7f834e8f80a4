// Reports: what the library says when something fails, and what it means. For C from C99 on, and C++ from C++11 on.
//
// A report is a code and a text. It goes to the error sink (ZELSetErrorSink in zelmessage.h), which hears all threads,
// and to the listeners of the thread that it arises in. One failure often makes several: the innermost cause comes
// first. docs/reports.md and `zel explain` tell cause and cure of each.
#ifndef ZEL_ZELREPORT_H
#define ZEL_ZELREPORT_H

#include "zelvalues.h"

#if defined(__cplusplus)
extern "C" {
#endif

// ---- Codes ----------------------------------------------------------------------------------------------------------

// Below 2000: codes of reports, and results of calls whose first report has that code. From 2000 on: results of
// zelrecord.h and zel.hpp that no report goes with. Codes below 1000 are the system's error numbers: memory is out.
enum ZELResult {
    ZEL_OK = 0,

    ZEL_BAD_CALL = 1001,           // an argument that cannot be, or a step within the library failed
    ZEL_NO_SOH = 1005,             // a frame does not begin with 0x01
    ZEL_UNKNOWN_TYPE = 1027,       // a field of no type that the library knows, or without a dictionary record
    ZEL_NO_DICTIONARY = 1412,      // no dictionary in use
    ZEL_ID_UNREADABLE = 1413,      // the next field's id cannot be read, or a header field is not in its place
    ZEL_CANNOT_STEP = 1414,        // the dictionary does not tell how long a field is
    ZEL_NO_MESSAGE_TABLE = 1415,   // no message table, or received: it lacks the message's type and sub-type
    ZEL_NO_SUCH_MESSAGE = 1416,    // the message table lacks the type and sub-type
    ZEL_FIELD_UNPACKABLE = 1417,   // a field cannot be packed: mostly for want of room in the payload
    ZEL_HEADER_UNPACKABLE = 1418,  // the header cannot be packed
    ZEL_TRANSFORM_FAILED = 1419,   // the data transform failed on the way out
    ZEL_INVERSE_FAILED = 1420,     // and on the way in
    ZEL_NOT_EXPANDED = 1422,       // a compressed payload cannot be expanded
    ZEL_HEADER_UNREADABLE = 1423,  // the header cannot be read
    ZEL_FIELD_NOT_IN_LIST = 1425,  // a received field is not one of the message's; this alone fails no call
    ZEL_BAD_FORMAT = 1426,         // a field format other than 0, 1 and 2
    ZEL_FIELD_UNREADABLE = 1427,   // a field runs past the end, or is too short for its type
    ZEL_NOT_VALIDATED = 1432,      // a received message was refused; its cause is reported before
    ZEL_NOT_CREATED = 1434,        // no room for a received message's fields; likewise
    ZEL_NOT_BUILT = 1435,          // a message was not packed; likewise, but for counts that differ
    ZEL_NOT_UNPACKED = 1437,       // a received message's fields were refused; likewise
    ZEL_BAD_DISPLAY_CODE = 1462,   // of the value functions: a money's display code
    ZEL_BAD_DATE = 1463,           // a text that is no date
    ZEL_BAD_TIME = 1464,           // a text that is no time
    ZEL_BAD_MONEY = 1467,          // a text that is no money
    ZEL_MANDATORY_MISSING = 1476,  // packing: a mandatory field is absent
    ZEL_MANDATORY_TOO_NEW = 1485,  // packing: a mandatory field is absent, and newer than the message's version
    ZEL_VERSION_UNKNOWN = 1486,    // packing: a field without a dictionary record

    ZEL_BAD_ARGUMENT = 2000,      // a null pointer, or a number that cannot be
    ZEL_BAD_LAYOUT = 2001,        // layout and dictionary disagree: ZELBind's text says where
    ZEL_OUT_OF_RANGE = 2002,      // a number does not fit the field, or what it is read into
    ZEL_TEXT_TOO_LONG = 2003,     // text or bytes do not fit: packing the field, unpacking the member
    ZEL_TOO_MANY = 2004,          // repetitions: more than the group's capacity, or more than 32767
    ZEL_BUFFER_TOO_SMALL = 2005,  // packing: the frame does not fit the caller's buffer
    ZEL_INCOMPLETE = 2006,        // unpacking: the buffer ends within the frame
    ZEL_NO_FRAME = 2007,          // unpacking: no frame starts here
    ZEL_OTHER_MESSAGE = 2008,     // unpacking: the frame holds a message of another type or sub-type
    ZEL_NO_SCRATCH = 2009,        // unpacking: views of a compressed or encrypted payload need scratch memory
    ZEL_NOT_STARTED = 2010,       // ZELStart: no dictionary provider, or one without tables
    ZEL_NO_SUCH_FIELD = 2011,     // the dictionary has no field of this name or id
    ZEL_NOT_IN_MESSAGE = 2012,    // the message's type has no such field, or has it elsewhere
    ZEL_WRONG_TYPE = 2013,        // the value is of another type than the field
    ZEL_SET_TWICE = 2014,         // the field was set before
    ZEL_NO_MESSAGE = 2015         // the object holds no message
};

// What the code means, "cause: cure" in English; empty for a code that there is not. Any thread.
ZEL_API const char* ZELExplain(int code) ZEL_NOEXCEPT;

// ---- Listening ------------------------------------------------------------------------------------------------------

// Hears the reports of one thread. It is the caller's, and stays where it is while it listens.
typedef struct ZELListener {
    // `fieldId` is the field that the report names, or 0. `text` is valid during the call only. What a sink may do
    // (ZELSetErrorSink), it may do; it may also end its own listening, the one that began last. It must not throw.
    void (*hear)(int code, int fieldId, const char* text, void* context);
    void* context;
    struct ZELListener* outer;  // [library]
} ZELListener;

// From now on, until ZELEndListening in the same thread, the listener hears what the calling thread reports; those that
// listened before do so, too, and so does the error sink. The one that began last ends first. What ZELStart has to say
// about a failure goes to listeners alone.
ZEL_API void ZELBeginListening(ZELListener* listener) ZEL_NOEXCEPT;
ZEL_API void ZELEndListening(const ZELListener* listener) ZEL_NOEXCEPT;

#if defined(__cplusplus)
}  // extern "C"
#endif

#endif  // ZEL_ZELREPORT_H
