// Asks for orders: builds a filter and sort data, sends them as fields of an ORDER_QUERY, and reads every term and key
// on the other side.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zelmessage.h"
#include "zelprovider.h"
#include "zelstream.h"

namespace {

void PrintReport(int code, const char* text, void* /*context*/) {
    std::fprintf(stderr, "ZEL report %d: %s\n", code, text);
}

const char* NameOf(int fieldId) {
    const ZELDictionaryHeader* dictionary = CZELMessage::getVormaZelData()->dataDictionary();
    const bool known = fieldId > 0 && fieldId <= dictionary->count;
    return known ? reinterpret_cast<const ZELDictionaryField*>(dictionary)[fieldId].name : "(unknown)";
}

short IdOf(const char* name) {
    return static_cast<short>(CZELMessage::getVormaZelData()->idFromName(name));
}

void PrintBytes(const char* what, const char* bytes, int length) {
    std::printf("%s, %d bytes:", what, length);
    for (int i = 0; i < length; ++i) {
        std::printf("%s%02X", i % 16 == 0 ? "\n    " : " ", static_cast<unsigned char>(bytes[i]));
    }
    std::printf("\n");
}

// The C++ type of each value must match its field in the dictionary: 2 as a short, 100L as a long, and so on.
bool BuildFilter(ZELFilter& filter) {
    const _money price = {10150, 20};                      // 101.50
    const _datetime since = {17, 5, 124, 9, 30, 0, 0, 3};  // 17 May 2024, 09:30:00
    return filter.AddFilter(IdOf("SIDE"), "=", short{2}) == 0 && filter.AddFilter(IdOf("QUANTITY"), ">=", 100L) == 0 &&
           filter.AddFilter(IdOf("CONTRACT_SIZE"), "!=", 5000) == 0 &&
           filter.AddFilter(IdOf("COMMISSION_RATE"), "<", 2.5F) == 0 &&
           filter.AddFilter(IdOf("AVERAGE_PRICE"), ">", 99.75) == 0 &&
           filter.AddFilter(IdOf("SYMBOL"), "=", "BARLEY", 6) == 0 &&
           filter.AddFilter(IdOf("CURRENCY"), "=", "EUR", 3) == 0 &&
           filter.AddFilter(IdOf("LIMIT_PRICE"), "<=", price) == 0 &&
           filter.AddFilter(IdOf("ENTERED_AT"), ">=", since) == 0;
}

// The primary key first. The two programs agree on the order's numbers: here 1 is ascending, 2 descending.
bool BuildSort(ZELSortData& sort) {
    return sort.AddSortData(IdOf("LIMIT_PRICE"), 2) == 0 && sort.AddSortData(IdOf("ENTERED_AT"), 1) == 0;
}

std::string PackQuery(ZELFilter& filter, ZELSortData& sort) {
    CZELMessage query(0, 0);
    query.msgType = 40;
    query.subType = 1;
    query.createStruct();
    query.setFieldValue(IdOf("QUERY_REF"), "Q-17", -1);
    const auto filterLength = static_cast<short>(filter.GetLength());
    query.setFieldValueBinary(IdOf("FILTER_STREAM"), filter.GetStream(), filterLength, -1);
    const auto sortLength = static_cast<short>(sort.GetLength());
    query.setFieldValueBinary(IdOf("SORT_STREAM"), sort.GetStream(), sortLength, -1);
    std::vector<char> buffer(6 + 30 + 12288);
    long length = 0;
    return query.packMessage(buffer.data(), &length) == 0 ? std::string(buffer.data(), static_cast<std::size_t>(length))
                                                          : std::string();
}

std::string ValueText(const FilterValue& value) {
    char text[80] = "";
    if (const short* number = value.AsShort()) {
        std::snprintf(text, sizeof text, "short %d", *number);
    } else if (const ZELLong* wide = value.AsLong()) {
        std::snprintf(text, sizeof text, "long %ld", static_cast<long>(*wide));
    } else if (const int* whole = value.AsInt()) {
        std::snprintf(text, sizeof text, "int %d", *whole);
    } else if (const float* single = value.AsFloat()) {
        std::snprintf(text, sizeof text, "float %g", static_cast<double>(*single));
    } else if (const double* real = value.AsDouble()) {
        std::snprintf(text, sizeof text, "double %g", *real);
    } else if (const _money* money = value.AsMoney()) {
        std::snprintf(text, sizeof text, "money: amount %ld, display code %d", static_cast<long>(money->amount),
                      money->displayCode);
    } else if (const _datetime* moment = value.AsDateTime()) {
        std::snprintf(text, sizeof text, "date-time %04d-%02d-%02d %02d:%02d:%02d", moment->year + 1900, moment->month,
                      moment->day, moment->hour, moment->minute, moment->second);
    } else if (const char* characters = value.AsText()) {
        return std::string("text ") + characters;
    }
    return text;
}

bool ReadQuery(const std::string& frame) {
    CZELMessage query(0, 0);
    if (query.unpackMessage(frame.data()) != 0) {
        return false;
    }
    const _field_data* filterField = query.getField(IdOf("FILTER_STREAM"), -1);
    const _field_data* sortField = query.getField(IdOf("SORT_STREAM"), -1);
    ZELFilter filter;
    ZELSortData sort;
    if (filter.SetStream(static_cast<const char*>(filterField->value), filterField->length) != 0 ||
        sort.SetStream(static_cast<const char*>(sortField->value), sortField->length) != 0) {
        return false;
    }
    std::printf("\nThe other side reads %d terms\n", filter.GetCount());
    ZELFilterItem term;
    int terms = 0;
    for (; filter.GetFilterItem(term) == 0; ++terms) {
        std::printf("    %-16s %-2s  %s\n", NameOf(term.fieldId), term.logicOperator.text, ValueText(term).c_str());
    }
    std::printf("and %d sort keys\n", sort.GetCount());
    SortItem key;
    int keys = 0;
    for (; sort.GetSortItem(key) == 0; ++keys) {
        std::printf("    %-16s order %d\n", NameOf(key.fieldId), key.sortOrder);
    }
    return terms == filter.GetCount() && keys == sort.GetCount();
}

bool Query() {
    ZELFilter filter;
    ZELSortData sort;
    if (!BuildFilter(filter) || !BuildSort(sort)) {
        return false;
    }
    PrintBytes("Filter", filter.GetStream(), filter.GetLength());
    PrintBytes("Sort data", sort.GetStream(), sort.GetLength());
    const std::string frame = PackQuery(filter, sort);
    return !frame.empty() && ReadQuery(frame);
}

}  // namespace

int main() {
    ZELSetErrorSink(PrintReport, nullptr);
    CZELMessage::init();
    const bool ready = CZELMessage::getVormaZelData() != nullptr;
    if (!ready) {
        std::fprintf(stderr, "no dictionary provider: is zeldata in the folder of the library, with its image?\n");
    }
    const bool done = ready && Query();
    CZELMessage::terminate();
    return done ? 0 : 1;
}
