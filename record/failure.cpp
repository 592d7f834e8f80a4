#include "record/failure.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace zel {

namespace {

struct Advice {
    int result;
    const char* text;
};

constexpr Advice kAdvice[] = {
    {ZEL_BAD_CALL, "the message cannot be made or read: see the report that the error sink got"},
    {ZEL_UNKNOWN_TYPE, "the dictionary has no type for this field: compare the peer's dictionary with this one"},
    {ZEL_NO_DICTIONARY, "no dictionary is in use: call ZELStart first, and ZELStop last"},
    {ZEL_ID_UNREADABLE, "the bytes are no ZEL message: check where the message begins and how long it is"},
    {ZEL_CANNOT_STEP, "the dictionary has no record of the field: compare the peer's dictionary with this one"},
    {ZEL_NO_MESSAGE_TABLE, "the message table has no such message: call ZELStart first, or update the dictionary"},
    {ZEL_FIELD_UNPACKABLE, "cannot be packed: mostly the payload is full (12288 bytes); send less"},
    {ZEL_HEADER_UNPACKABLE, "the header cannot be packed: check the fields 1 to 7 of the dictionary"},
    {ZEL_INVERSE_FAILED, "the payload cannot be decrypted: it is longer than 12288 bytes"},
    {ZEL_NOT_EXPANDED, "the payload cannot be expanded: the bytes are damaged"},
    {ZEL_HEADER_UNREADABLE, "the header cannot be read: the bytes are damaged"},
    {ZEL_FIELD_NOT_IN_LIST, "the message type lacks this field, and what follows cannot be read either"},
    {ZEL_BAD_FORMAT, "the header's field format is none: the bytes are damaged"},
    {ZEL_FIELD_UNREADABLE, "runs past the end of the message or is too short: the bytes are damaged or cut"},
    {ZEL_NOT_BUILT, "the message was not packed: see the report that the error sink got"},
    {ZEL_MANDATORY_MISSING, "mandatory and absent: fill the member and set its presence byte"},
    {ZEL_MANDATORY_TOO_NEW, "mandatory, absent and newer than the message's version: raise the version"},
    {ZEL_VERSION_UNKNOWN, "the dictionary has no record of the field: the message cannot be packed"},
    {ZEL_BAD_ARGUMENT, "an argument cannot be: a null pointer, a view without bytes, or a number out of bounds"},
    {ZEL_OUT_OF_RANGE, "the member's number does not fit the field: send a smaller one"},
    {ZEL_TEXT_TOO_LONG, "text or bytes too long for the field or the member: shorten the text, or widen the member"},
    {ZEL_TOO_MANY, "more repetitions than the struct has room for, or than 32767: send fewer, or raise the capacity"},
    {ZEL_BUFFER_TOO_SMALL, "the frame does not fit the buffer: ZEL_MAX_FRAME and the user data are always enough"},
    {ZEL_INCOMPLETE, "the frame is longer than the bytes: read on, ZELFindFrame tells how many"},
    {ZEL_NO_FRAME, "no frame starts here: find the next one, or close the connection"},
    {ZEL_OTHER_MESSAGE, "a message of another type or sub-type: use its binding"},
    {ZEL_NO_SCRATCH, "views of a compressed or encrypted payload: give ZEL_SCRATCH_SIZE bytes of scratch memory"},
};

const char* AdviceFor(int result) noexcept {
    const auto* found = std::find_if(std::begin(kAdvice), std::end(kAdvice),
                                     [&](const Advice& advice) { return advice.result == result; });
    if (found != std::end(kAdvice)) {
        return found->text;
    }
    return result < ZEL_BAD_CALL ? "memory is out" : "see the report that the error sink got";
}

const FieldName* NameOf(const ZELBinding* binding, int fieldId) noexcept {
    const int count = binding != nullptr ? binding->plan->entryCount : 0;
    for (int at = 0; at < count; ++at) {
        if (binding->steps[at].rule.id == fieldId) {
            return &binding->names[at];
        }
    }
    return nullptr;
}

}  // namespace

int Explain(ZELFailure* failure, const ZELBinding* binding, int result, const FailedAt& at) noexcept {
    if (failure == nullptr) {
        return result;
    }
    failure->result = result;
    failure->fieldId = at.fieldId;
    failure->repetition = at.repetition;
    failure->offset = static_cast<std::uint32_t>(at.offset);
    char where[100] = "";
    if (at.fieldId != 0) {
        const FieldName* name = NameOf(binding, at.fieldId);
        const int length =
            std::snprintf(where, sizeof where, "%s (%d)", name != nullptr ? name->text : "field", at.fieldId);
        if (at.repetition >= 0) {
            const auto used = static_cast<std::size_t>(length);
            (void)std::snprintf(where + used, sizeof where - used, " of repetition %d", at.repetition);
        }
    }
    (void)std::snprintf(failure->text, sizeof failure->text, "%s%s%s", where, *where != '\0' ? ": " : "",
                        AdviceFor(result));
    return result;
}

}  // namespace zel
