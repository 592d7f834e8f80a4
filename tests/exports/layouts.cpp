// Writes how the records of the public headers lie in memory, as this compiler lays them out: a line each, with every
// member's offset and size. A record whose members are not all named here does not compile.
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "include/zelrecord.h"
#include "include/zelstream.h"

namespace {

std::string Numbers(std::size_t first, const char* between, std::size_t second) {
    return std::to_string(first) + between + std::to_string(second);
}

// The names stand as in the source, a comma and a blank between them.
template <typename Record, typename... Members>
void Show(const char* name, const Record& record, const std::string& names, const std::tuple<Members&...>& members) {
    std::string line = name + (": " + Numbers(sizeof(Record), " aligned to ", alignof(Record)));
    const auto offset = [&record](const auto& member) {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(&member) -
                                        reinterpret_cast<const char*>(&record));
    };
    std::size_t at = 0;
    const auto add = [&](const auto& member) {
        const std::size_t end = names.find(',', at);
        line += "; " + names.substr(at, end - at) + ' ' + Numbers(offset(member), "+", sizeof member);
        at = end + 2;
    };
    std::apply([&](const auto&... member) { (add(member), ...); }, members);
    std::puts(line.c_str());
}

// Memory of the size and alignment; nothing is constructed or read.
template <typename Record>
Record& Room() {
    alignas(Record) static std::byte bytes[sizeof(Record)];
    return reinterpret_cast<Record&>(bytes);
}

#define SHOW(Record, ...)                                           \
    do {                                                            \
        auto& record = Room<Record>();                              \
        auto& [__VA_ARGS__] = record;                               \
        Show(#Record, record, #__VA_ARGS__, std::tie(__VA_ARGS__)); \
    } while (false)

// What only streams themselves see is compiled into programs by what is inline.
struct OpenStream : ZELStream {
    static void ShowMembers() {
        auto& at = Room<OpenStream>();
        Show("ZELStream", at, "buffer, start, writePos, end, readPos, blockSize, blockCount",
             std::tie(at.buffer, at.start, at.writePos, at.end, at.readPos, at.blockSize, at.blockCount));
    }
};

// A pointer to a virtual function begins with its place in the table, in bytes, and one.
template <typename Function>
void ShowSlot(const char* name, Function function) {
    std::size_t place = 0;
    std::memcpy(&place, &function, sizeof place);
    std::printf("VormaZelData::%s: slot %u\n", name, static_cast<unsigned>((place - 1) / sizeof(void*)));
}

}  // namespace

int main() {
    SHOW(_money, amount, displayCode);
    SHOW(_datetime, day, month, year, hour, minute, second, extra, kind);
    SHOW(ZELListener, hear, context, outer);

    SHOW(_field_data, id, presence, isSet, value, length, inlineValue, ownsValue, repetition, entry);
    SHOW(ZELDataBuf, count, fields);
    SHOW(ZelMsgStruct, msgType, subType, serviceIdHigh, serviceIdLow, encryptFlag, packFlags, format, version, msgIdSeq,
         msgIdPart2, msgIdPart3, userData, varUserData, varUserDataLen, varUserDataOwned, numFields, repeatCount,
         dataBuf);
    SHOW(CZELMessage, msgType, subType, serviceIdHigh, serviceIdLow, repeatCount, compressMode, shortFrame, message,
         provider, version, sequence, useFormat2);
    SHOW(ZELGroupSlots, first, size, repetitions, countId, markerId, hasRepeatedIds);

    SHOW(ZELFailure, result, fieldId, repetition, offset, text);
    SHOW(ZELView, data, length);
    SHOW(ZELMember, field, fieldId, kind, offset, size, lengthOffset, presenceOffset);
    SHOW(ZELGroup, offset, stride, capacity, countOffset, members, memberCount);
    SHOW(ZELLayout, msgType, subType, size, members, memberCount, group);
    SHOW(ZELEnvelope, serviceIdHigh, serviceIdLow, version, format, compressMode, encryptFlag, frameKind, sequence,
         msgIdSeq, msgIdPart2, msgIdPart3, packFlags, userData, varUserData);
    SHOW(ZELAbsent, fieldId, repetition);
    SHOW(ZELReading, scratch, scratchSize, absent, absentCapacity, absentCount, envelope, used);
    SHOW(ZELRun, scratch, scratchSize, offsets, stopAtBad, firstBadResult, firstBad, used, read, skipped, bad);

    OpenStream::ShowMembers();
    SHOW(LogicOperator, code, text);
    SHOW(FilterValue, type, value);
    const auto& item = Room<ZELFilterItem>();
    Show("ZELFilterItem", item, "type, value, logicOperator, fieldId",
         std::tie(item.type, item.value, item.logicOperator, item.fieldId));
    Show("ZELFilter", Room<ZELFilter>(), "", std::tie());
    SHOW(SortItem, fieldId, sortOrder);
    Show("ZELSortData", Room<ZELSortData>(), "", std::tie());

    SHOW(ZELDictionaryHeader, reserved, count, reserved2);
    SHOW(ZELDictionaryField, version, type, length, name, text);
    SHOW(ZELFieldListEntry, fieldId, presence);
    SHOW(ZELSubTypeNode, subType, repeatFieldId, groupSize, fieldCount, fieldList, next);
    SHOW(ZELTypeNode, type, subTypes, next);
    ShowSlot("destroy", &VormaZelData::destroy);
    ShowSlot("messageTable", &VormaZelData::messageTable);
    ShowSlot("dataDictionary", &VormaZelData::dataDictionary);
    ShowSlot("idFromName", &VormaZelData::idFromName);
    return 0;
}
