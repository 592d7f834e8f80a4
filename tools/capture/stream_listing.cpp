#include "tools/capture/stream_listing.h"

#include <new>

#include "include/zelstream.h"
#include "runtime/byte_order.h"
#include "tools/text/findings.h"
#include "tools/text/json_text.h"
#include "tools/text/value_listing.h"

namespace zel::tools {

namespace {

// The header is the length of the stream and the number of its terms or keys, 2 bytes each. A key has 4 bytes.
constexpr std::size_t kLengthSize = 2;
constexpr std::size_t kHeaderSize = 4;
constexpr std::size_t kKeySize = 4;

// The stream takes any bytes that have a header.
template <typename Stream>
void Load(Stream& stream, const char* bytes, std::size_t length) {
    if (stream.SetStream(bytes, static_cast<int>(length)) != 0) {
        throw std::bad_alloc();
    }
    stream.Rewind();
}

void AppendLine(std::string& out, std::string_view indent, std::string_view text) {
    out += indent;
    out += text;
    out += '\n';
}

void AppendValue(std::string& out, const FilterValue& value) {
    switch (value.type) {
        case kZELShort:
            return AppendNumber(out, *value.AsShort());
        case kZELLong:
            return AppendNumber(out, *value.AsLong());
        case kZELInt:
            return AppendNumber(out, *value.AsInt());
        case kZELFloat:
            return AppendRealListing(out, *value.AsFloat());
        case kZELDouble:
            return AppendRealListing(out, *value.AsDouble());
        case kZELDateTime:
            return AppendDateTimeListing(out, *value.AsDateTime());
        case kZELMoney:
            return AppendMoneyListing(out, *value.AsMoney());
        default:
            return AppendQuoted(out, value.value.text);
    }
}

void AppendTerms(std::string& out, const Catalog& catalog, ZELFilter& filter, std::string_view indent) {
    AppendLine(out, indent, "filter of " + Counted(static_cast<std::size_t>(filter.GetCount()), "term"));
    const std::string inner = std::string(indent) + "  ";
    int read = 0;
    for (ZELFilterItem item; filter.GetFilterItem(item) == 0; ++read) {
        std::string line = catalog.Field(static_cast<std::uint16_t>(item.fieldId)).name;
        line += ' ';
        line += item.logicOperator.code > 0 ? item.logicOperator.text : "?";
        line += ' ';
        AppendValue(line, item);
        AppendLine(out, inner, line);
    }
    if (read < filter.GetCount()) {
        AppendLine(out, inner, "the next term cannot be read");
    } else if (read > filter.GetCount()) {
        AppendLine(out, inner, "more terms than the filter announces");
    }
}

void AppendKeys(std::string& out, const Catalog& catalog, ZELSortData& sort, std::string_view indent) {
    AppendLine(out, indent, "sort data of " + Counted(static_cast<std::size_t>(sort.GetCount()), "key"));
    for (SortItem item; sort.GetSortItem(item) == 0;) {
        const CatalogField& field = catalog.Field(static_cast<std::uint16_t>(item.fieldId));
        AppendLine(out, std::string(indent) + "  ",
                   (field.type != 0 ? field.name : "field " + std::to_string(item.fieldId)) + " order " +
                       std::to_string(item.sortOrder));
    }
}

}  // namespace

void AppendStream(std::string& out, const Catalog& catalog, std::string_view bytes, std::string_view indent) {
    const std::size_t length = bytes.size() < kHeaderSize ? 0 : LoadU16Be(bytes.data());
    if (length < kHeaderSize || length > bytes.size()) {
        return AppendLine(out, indent, "neither a filter nor sort data");
    }
    const std::size_t count = LoadU16Be(bytes.data() + kLengthSize);
    if (length - kHeaderSize == count * kKeySize) {
        ZELSortData sort;
        Load(sort, bytes.data(), length);
        return AppendKeys(out, catalog, sort, indent);
    }
    ZELFilter filter;
    Load(filter, bytes.data(), length);
    AppendTerms(out, catalog, filter, indent);
}

}  // namespace zel::tools
