// Builds a multi-leg order, packs it, shows the bytes, unpacks them in another object and shows every field.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zelmessage.h"
#include "zelprovider.h"

namespace {

void PrintReport(int code, const char* text, void* /*context*/) {
    std::fprintf(stderr, "ZEL report %d: %s\n", code, text);
}

// Field ids by name, as the dictionary in use gives them.
short IdOf(CZELMessage& order, const char* name) {
    const long id = order.getZelIdFromName(name);
    if (id <= 0) {
        std::fprintf(stderr, "the dictionary has no field %s\n", name);
    }
    return static_cast<short>(id);
}

void SetLeg(CZELMessage& order, short leg, const char* symbol, short side, ZELLong ratio, const _money& price) {
    order.setFieldValue(IdOf(order, "LEG_MARK"), &leg, leg);
    order.setFieldValue(IdOf(order, "LEG_SYMBOL"), symbol, leg);
    order.setFieldValue(IdOf(order, "LEG_SIDE"), &side, leg);
    order.setFieldValue(IdOf(order, "LEG_RATIO"), &ratio, leg);
    order.setFieldValue(IdOf(order, "LEG_PRICE"), &price, leg);
}

// A MULTI_LEG_ORDER with three legs. An occurrence of -1 is the first field with the id.
bool FillOrder(CZELMessage& order) {
    order.msgType = 10;
    order.subType = 5;
    order.serviceIdHigh = 1;
    order.serviceIdLow = 20;
    order.repeatCount = 3;
    order.createStruct();
    if (order.message == nullptr) {
        return false;
    }
    order.message->userData = 4711;
    order.setFieldValue(IdOf(order, "CLIENT_ORDER_REF"), "ORD-2024-000117", -1);
    order.setFieldValue(IdOf(order, "ACCOUNT"), "SALT-0042", -1);
    order.setFieldValue(IdOf(order, "TRADER"), "mkessler", -1);
    const _money netPrice = {101 * 32 + 16, 32};  // 101 and 16/32
    order.setFieldValue(IdOf(order, "NET_PRICE"), &netPrice, -1);
    const _datetime enteredAt = {17, 5, 124, 9, 30, 15, 0, 3};  // 17 May 2024, 09:30:15
    order.setFieldValue(IdOf(order, "ENTERED_AT"), &enteredAt, -1);
    order.setFieldValueBinary(IdOf(order, "ROUTE_TOKEN"), "\x01\x23\x45\x67\x89\xAB\xCD\xEF", 8, -1);
    const short legs = 3;
    order.setFieldValue(IdOf(order, "LEG_COUNT"), &legs, -1);
    SetLeg(order, 1, "BARLEY-DEC24", 1, 1, _money{3250, 32});
    SetLeg(order, 2, "BARLEY-MAR25", 2, 2, _money{3261, 32});
    SetLeg(order, 3, "BARLEY-MAY25", 1, 1, _money{3270, 32});
    order.setFieldValue(IdOf(order, "NOTE"), "calendar butterfly, work as one", -1);
    return true;
}

constexpr std::size_t kBytesPerLine = 16;

std::size_t PrintBytes(const char* what, const std::string& bytes, std::size_t offset, std::size_t size) {
    for (std::size_t line = 0; line < size; line += kBytesPerLine) {
        std::string hex;
        for (std::size_t i = line; i < size && i < line + kBytesPerLine; ++i) {
            char text[4];
            std::snprintf(text, sizeof text, " %02X", static_cast<unsigned char>(bytes[offset + i]));
            hex += text;
        }
        if (line == 0) {
            hex.resize(3 * kBytesPerLine, ' ');
            hex += std::string("   ") + what;
        }
        std::printf("%04zx %s\n", offset + line, hex.c_str());
    }
    return offset + size;
}

// The frame, each header field, the payload. This header ends with user data of fixed size.
void PrintFrame(const std::string& frame) {
    static const struct {
        const char* name;
        std::size_t size;
    } kHeader[] = {{"ZEL_HDR_FLAGS: encryption, packing, format, version", 4},
                   {"ZEL_HDR_MSG_TYPE: type, sub-type", 6},
                   {"ZEL_HDR_SERVICEID", 6},
                   {"ZEL_HDR_MSGID", 6},
                   {"ZEL_HDR_NUMFIELDS", 4},
                   {"ZEL_HDR_USER_DATA", 6}};
    std::size_t offset = PrintBytes("frame: SOH, format 3, length in little-endian", frame, 0, 6);
    for (const auto& field : kHeader) {
        offset = PrintBytes(field.name, frame, offset, field.size);
    }
    PrintBytes("payload: plain length, compressed length, compressed fields", frame, offset, frame.size() - offset);
}

std::string ValueText(const _field_data& field, int type) {
    char text[64] = "";
    const auto* bytes = static_cast<const unsigned char*>(field.value);
    short number = 0;
    ZELLong wide = 0;
    _money money = {};
    _datetime moment = {};
    switch (type) {
        case kZELShort:
            std::memcpy(&number, bytes, sizeof number);
            std::snprintf(text, sizeof text, "%d", number);
            return text;
        case kZELLong:
        case kZELInt:
            std::memcpy(&wide, bytes, sizeof wide);
            std::snprintf(text, sizeof text, "%ld", static_cast<long>(wide));
            return text;
        case kZELMoney:
            std::memcpy(&money, bytes, sizeof money);
            std::snprintf(text, sizeof text, "amount %ld, display code %d", static_cast<long>(money.amount),
                          money.displayCode);
            return text;
        case kZELDateTime:
            std::memcpy(&moment, bytes, sizeof moment);
            std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", moment.year + 1900, moment.month,
                          moment.day, moment.hour, moment.minute, moment.second);
            return text;
        case kZELText:
        case kZELChars:
            return std::string(reinterpret_cast<const char*>(bytes), field.length);
        default:
            break;
    }
    std::string hex;
    for (int i = 0; i < field.length; ++i) {
        std::snprintf(text, sizeof text, i == 0 ? "%02X" : " %02X", bytes[i]);
        hex += text;
    }
    return hex;
}

void PrintFields(CZELMessage& order) {
    static const char* const kTypes[] = {"",      "short",  "long",     "int",   "chars", "text",
                                         "float", "double", "datetime", "money", "bytes", "bytes"};
    const ZELDictionaryHeader* dictionary = CZELMessage::getVormaZelData()->dataDictionary();
    const auto* fields = reinterpret_cast<const ZELDictionaryField*>(dictionary);
    for (int i = 0; i < order.message->dataBuf->count; ++i) {
        const _field_data& slot = order.message->dataBuf->fields[i];
        if (slot.isSet != 0) {
            const int type = order.getFieldType(static_cast<short>(slot.id));
            std::printf("%4d  %-18s %-9s %s\n", slot.id, fields[slot.id].name, kTypes[type],
                        ValueText(slot, type).c_str());
        }
    }
}

int RoundTrip() {
    CZELMessage order(0, 0);
    if (!FillOrder(order)) {
        std::fprintf(stderr, "the message table has no MULTI_LEG_ORDER (type 10, sub-type 5)\n");
        return 1;
    }
    order.compressMode = 1;
    order.sequence = 1;
    std::vector<char> buffer(kZELMaxFrame);
    long length = 0;
    if (order.packMessage(buffer.data(), &length) != 0) {
        return 1;
    }
    const std::string frame(buffer.data(), static_cast<std::size_t>(length));
    std::printf("Packed: %ld bytes\n\n", length);
    PrintFrame(frame);

    CZELMessage received(0, 0);
    if (received.unpackMessage(frame.data()) != 0) {
        return 1;
    }
    std::printf("\nUnpacked: type %d, sub-type %d, for service %d.%d, user data %ld, %d legs\n\n", received.msgType,
                received.subType, received.serviceIdHigh, received.serviceIdLow,
                static_cast<long>(received.message->userData), received.repeatCount);
    PrintFields(received);
    return 0;
}

}  // namespace

int main() {
    ZELSetErrorSink(PrintReport, nullptr);
    CZELMessage::init();
    const bool ready = CZELMessage::getVormaZelData() != nullptr;
    if (!ready) {
        std::fprintf(stderr, "no dictionary provider: is zeldata in the folder of the library, with its image?\n");
    }
    const int result = ready ? RoundTrip() : 1;
    CZELMessage::terminate();
    return result;
}
