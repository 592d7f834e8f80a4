// The dictionary provider's interface, for authors of providers: the object that the entry point returns, and the
// layouts of the data dictionary and the message table that it points to.
//
// A provider is a library named zeldata.dll (Windows) or libzeldata.so (Linux) that exports VORMA_DLL_ENTRY. The
// message library loads it in CZELMessage::init and unloads it in CZELMessage::terminate. Both tables must not change
// in between: many threads read them without a lock.
#ifndef ZEL_ZELPROVIDER_H
#define ZEL_ZELPROVIDER_H

#include <stddef.h>
#include <stdint.h>

// ---- Data dictionary ------------------------------------------------------------------------------------------------

// Types of fields, and what a value is on the wire (formats 0 and 1) and in memory.
enum ZELFieldType : uint16_t {
    kZELShort = 1,     // 2 bytes; short
    kZELLong = 2,      // 4 bytes; ZELLong
    kZELInt = 3,       // 4 bytes; int
    kZELChars = 4,     // as many characters as the record's length says
    kZELText = 5,      // 2 bytes of length, then the characters
    kZELFloat = 6,     // 4 bytes; float
    kZELDouble = 7,    // 8 bytes; double
    kZELDateTime = 8,  // 8 bytes; _datetime as it lies in memory
    kZELMoney = 9,     // 6 bytes; _money
    kZELBytes10 = 10,  // 2 bytes of length, then the bytes
    kZELBytes11 = 11   // like 10, but an empty value is a length of 0, where one of type 10 takes no bytes
};

// The data dictionary: a header, then `count` fields. The field with id n is record n; the header is record 0.
struct ZELDictionaryHeader {
    unsigned char reserved[4];
    int16_t count;  // the highest field id
    unsigned char reserved2[154];
};

// Names are compared on this many characters.
constexpr int kZELNameLength = 64;

struct ZELDictionaryField {
    int16_t version;  // the lowest message version that carries the field
    uint16_t type;    // ZELFieldType
    int16_t length;   // of a value on the wire in bytes (money: 6); 0 when the value carries its own length
    char name[65];    // ends with a zero byte
    char text[89];    // ends with a zero byte
};

static_assert(sizeof(ZELDictionaryHeader) == 160 && offsetof(ZELDictionaryHeader, count) == 4, "dictionary header");
static_assert(sizeof(ZELDictionaryField) == 160, "dictionary field");
static_assert(offsetof(ZELDictionaryField, type) == 2 && offsetof(ZELDictionaryField, length) == 4, "dictionary field");
static_assert(offsetof(ZELDictionaryField, name) == 6 && offsetof(ZELDictionaryField, text) == 71, "dictionary field");

// The header fields of a message occupy the ids 1 to 7: 1 and 5 of type 1; 2, 3, 4 and 6 of type 2 or 3; 7 of type 5,
// 10 or 11.

// ---- Message table --------------------------------------------------------------------------------------------------

// Presence of a field that a message must have; any other value makes it optional.
constexpr uint16_t kZELMandatory = 2;

// The field that marks the start of each repetition, in groups that have it.
constexpr uint16_t kZELGroupMarker = 140;

struct ZELFieldListEntry {
    uint16_t fieldId;
    uint16_t presence;
};

struct ZELSubTypeNode {
    int16_t subType;
    uint16_t repeatFieldId;  // the field that counts the repetitions of the group right after it; 0: no group
    int16_t groupSize;       // entries of the field list that form the group
    int16_t fieldCount;      // entries of the field list, the group counted once
    const ZELFieldListEntry* fieldList;
    const ZELSubTypeNode* next;  // or null
};

// The message table is the first of these nodes. A lookup takes the first node of the type, and the first below it of
// the sub-type.
struct ZELTypeNode {
    int16_t type;
    const ZELSubTypeNode* subTypes;
    const ZELTypeNode* next;  // or null
};

static_assert(sizeof(ZELFieldListEntry) == 4, "field list entry");
static_assert(offsetof(ZELSubTypeNode, fieldList) == 8, "sub-type node");
static_assert(sizeof(ZELSubTypeNode) == 8 + 2 * sizeof(void*), "sub-type node");
static_assert(offsetof(ZELTypeNode, subTypes) == sizeof(void*), "type node");
static_assert(sizeof(ZELTypeNode) == 3 * sizeof(void*), "type node");

// ---- The provider object --------------------------------------------------------------------------------------------

// Its virtual functions in this order are the interface: slot 0 is the first. The message library calls the slots 0, 1,
// 2 and 16. The object belongs to the provider: only its own destroy frees it.
class VormaZelData {
public:
    // Slot 0. Called once, with the flag 1: destroy the object and free its memory.
    virtual void destroy(int flag) = 0;
    // Slot 1. The message table, or null.
    virtual const ZELTypeNode* messageTable() = 0;
    // Slot 2. The data dictionary, or null.
    virtual const ZELDictionaryHeader* dataDictionary() = 0;

    // Slots 3 to 15: never called.
    virtual void* reserved3() = 0;
    virtual void* reserved4() = 0;
    virtual void* reserved5() = 0;
    virtual void* reserved6() = 0;
    virtual void* reserved7() = 0;
    virtual void* reserved8() = 0;
    virtual void* reserved9() = 0;
    virtual void* reserved10() = 0;
    virtual void* reserved11() = 0;
    virtual void* reserved12() = 0;
    virtual void* reserved13() = 0;
    virtual void* reserved14() = 0;
    virtual void* reserved15() = 0;

    // Slot 16. The id of the field with this name; a negative result means that there is none.
    virtual long idFromName(const char* name) = 0;

protected:
    ~VormaZelData() = default;
};

extern "C" {
// The provider's entry point: a provider with both tables ready, or null when it cannot serve.
typedef VormaZelData* (*VormaDllEntry)();

// A second function that a provider's library may export, as VORMA_MESSAGE_FROM_NAME: the type and sub-type of the
// message that the dictionary gives this name, for ZELFindMessage. 0; or -1, with nothing written, for an unknown name.
typedef int (*VormaMessageFromName)(VormaZelData* provider, const char* name, int16_t* msgType, int16_t* subType);
}

#endif  // ZEL_ZELPROVIDER_H
