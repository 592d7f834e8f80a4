// A program that is built like with Microsoft's compiler: with the public headers and zel.lib. It is built a second
// time with the headers from before input pointers became const.
#include "tests/windows/msvc_program.h"
#include "zelprovider.h"
#include "zelstream.h"

#if defined(_WIN64)
#define MEMBER "QEAA"
#else
#define MEMBER "QAE"
#endif

extern "C" {
// A constructor by its name, for its result: the object. Compilers count on it.
void* __thiscall Construct(void* self, short version, int packFormat2) asm("??0CZELMessage@@" MEMBER "@FH@Z");
}

namespace {

int reports = 0;

bool Same(const void* left, const char* right) {
    const char* text = static_cast<const char*>(left);
    int i = 0;
    while (right[i] != '\0' && text[i] == right[i]) {
        ++i;
    }
    return right[i] == '\0';
}

// The older headers take texts that are not const.
char orderRef[] = "CLIENT_ORDER_REF";
char symbol[] = "SYMBOL";
char quantity[] = "QUANTITY";
char price[] = "LIMIT_PRICE";
char side[] = "SIDE";
char reference[] = "A1";
char rye[] = "RYE";
char atLeast[] = ">=";
char equal[] = "=";
char moneyText[] = "$1,234.56";

short Id(char* name) {
    return static_cast<short>(CZELMessage::getVormaZelData()->idFromName(name));
}

void CountReport(int code, const char* text, void* context) {
    CHECK(code == 1005 && Same(text, "SOH not in header"));
    ++*static_cast<int*>(context);
}

void Messages() {
    CZELMessage order(3, 0);
    CHECK(order.version == 3 && order.useFormat2 == 0 && order.repeatCount == -1);
    CHECK(order.provider == CZELMessage::getVormaZelData());
    order.msgType = 10;
    order.subType = 2;
    order.serviceIdLow = 20;
    order.createStruct();
    CHECK(order.message != nullptr);
    order.setFieldValue(Id(orderRef), reference, -1);
    order.setFieldValueBinary(Id(symbol), rye, 3, -1);
    ZELLong many = 5000;
    for (int i = 0; i < order.message->dataBuf->count; ++i) {
        _field_data& slot = order.message->dataBuf->fields[i];
        if (slot.presence == kZELMandatory && slot.isSet == 0) {
            order.setFieldValue(static_cast<short>(slot.id), &many, -1);
        }
    }
    static char buffer[kZELMaxFrame];
    long length = 0;
    CHECK(order.packMessage(buffer, &length) == 0);

    CZELMessage received(0, 1);
    long behindFrame = 0;
    short frameType = 0;
    CHECK(received.getHeaderInfo(buffer, &behindFrame, &frameType) == 0);
    CHECK(frameType == 3 && behindFrame == length - 6);
    CHECK(received.unpackMessage(buffer) == 0 && received.msgType == 10 && received.serviceIdLow == 20);
    CHECK(received.unpackMessageNoFrame(buffer + 6, behindFrame) == 0);
    CHECK(Same(received.getFieldValue(Id(orderRef), -1), "A1") && received.getFieldLen(Id(orderRef), -1) == 2);
    void* value = nullptr;
    CHECK(received.getFieldValue(&value, Id(symbol), -1) == 1 && Same(value, "RYE"));
    CHECK(received.getField(Id(symbol), -1)->value == value);
    CHECK(received.getFieldType(Id(orderRef)) == kZELText);
    CHECK(received.getZelIdFromName(side) == Id(side));
    received.destroyStruct();
    CHECK(received.message == nullptr);
    // Called so that this compiler does not know the result beforehand.
    void*(__thiscall* volatile construct)(void*, short, int) = &Construct;
    CHECK(construct(&received, 0, 0) == &received);

    short msgType = 0;
    short subType = 0;
    CHECK(ProcessRsp(buffer, 0, &msgType, &subType, 0) == 0 && msgType == 10 && subType == 2);
    buffer[0] = 2;
    ZELSetErrorSink(&CountReport, &reports);
    CHECK(received.getHeaderInfo(buffer, &behindFrame, &frameType) == -1 && reports == 1);
    ZELSetErrorSink(nullptr, nullptr);
}

void Values() {
    _money money = {0, 0};
    CHECK(ZELStrToMoney(moneyText, &money) == 0 && money.amount == 123456 && money.displayCode == 20);
    char text[24];
    CHECK(ZELMoneyToStr(&money, text, 1) == 0 && Same(text, "$1,234.56"));
    long whole = 0;
    long numerator = 0;
    long denominator = 0;
    CHECK(ZELUnformatMoney(&money, &whole, &numerator, &denominator) == 0 && numerator == 56 && denominator == 100);
    CHECK(FindGCF(12, 18) == 6);
}

void Streams() {
    _money limit = {10150, 20};
    _datetime since = {17, 5, 124, 9, 30, 0, 0, 3};
    ZELFilter filter;
    CHECK(filter.GetLength() == 4);
    CHECK(filter.AddFilter(Id(side), equal, static_cast<short>(2)) == 0);
    CHECK(filter.AddFilter(Id(quantity), atLeast, 100L) == 0);
    CHECK(filter.AddFilter(Id(price), atLeast, limit) == 0);
    CHECK(filter.AddFilter(Id(symbol), equal, rye, 3) == 0);
    CHECK(filter.AddFilter(1, equal, 1) == 0 && filter.AddFilter(1, equal, 1.5F) == 0);
    CHECK(filter.AddFilter(1, equal, 1.5) == 0 && filter.AddFilter(1, equal, since) == 0);
    const ZELFilter copy(filter);
    ZELFilter loaded;
    CHECK(loaded.SetStream(filter.GetStream(), filter.GetLength()) == 0 && loaded.GetCount() == 8);
    loaded = copy;
    loaded.Rewind();
    ZELFilterItem item;
    CHECK(item.fieldId == -1 && item.type == 5);
    CHECK(loaded.GetFilterItem(item) == 0 && *item.AsShort() == 2 && item.logicOperator.code == 1);
    CHECK(loaded.GetFilterItem(item) == 0 && *item.AsLong() == 100 && Same(item.logicOperator.text, ">="));
    CHECK(loaded.GetFilterItem(item) == 0 && item.AsMoney()->amount == 10150);
    CHECK(loaded.GetFilterItem(item) == 0 && Same(item.AsText(), "RYE"));
    ZELFilterItem same(item);
    CHECK(same.fieldId == Id(symbol) && same.SetString(moneyText) == 10);
    same = item;
    same.Reset();
    CHECK(same.fieldId == Id(symbol));
    FilterValue value(item);
    value = FilterValue();
    LogicOperator op;
    CHECK(op.code == -1 && op.SetText(atLeast) == 0 && op.SetCode(7) == -1 && op.code == 5);
    LogicOperator another(op);
    another.Reset();
    op = another;
    CHECK(op.code == -1);

    ZELSortData sort;
    CHECK(sort.AddSortData(25, 1) == 0 && sort.AddSortData(26, 2) == 0 && sort.GetLength() == 12);
    ZELSortData received(sort);
    received = sort;
    CHECK(received.SetStream(sort.GetStream(), 12) == 0);
    SortItem key;
    CHECK(received.GetSortItem(key) == 0 && key.fieldId == 25 && key.sortOrder == 1);
}

}  // namespace

static void Body() {
    Messages();
    Values();
    Streams();
}
