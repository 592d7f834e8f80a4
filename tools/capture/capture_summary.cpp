#include "tools/capture/capture_summary.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

void AppendRow(std::string& out, std::uint64_t messages, std::uint64_t bytes, const std::string& what) {
    std::array<char, 64> numbers;
    (void)std::snprintf(numbers.data(), numbers.size(), "%12llu %16llu  ", static_cast<unsigned long long>(messages),
                        static_cast<unsigned long long>(bytes));
    out += numbers.data();
    out += what;
    out += '\n';
}

void AppendMember(std::string& out, const char* key, std::uint64_t number) {
    out += ",\"";
    out += key;
    out += "\":";
    AppendNumber(out, number);
}

}  // namespace

void CaptureSummary::Add(const CatalogMessage* kind, const std::string& file, std::uint64_t offset, std::size_t size) {
    Add(kind != nullptr ? counts_[{kind->type, kind->subType}] : bad_, file, offset, size);
    Add(all_, file, offset, size);
}

void CaptureSummary::Add(Count& count, const std::string& file, std::uint64_t offset, std::size_t size) {
    if (count.messages++ == 0) {
        count.first = {file, offset};
        count.smallest = size;
    }
    count.bytes += size;
    count.smallest = std::min(count.smallest, size);
    count.largest = std::max(count.largest, size);
    count.last.offset = offset;
    count.last.file = file;
}

void CaptureSummary::AppendTable(std::string& out, const Catalog& catalog) const {
    out += "    messages            bytes  type\n";
    for (const auto& [type, count] : counts_) {
        AppendRow(out, count.messages, count.bytes,
                  std::to_string(type.first) + ' ' + std::to_string(type.second) + "  " +
                      catalog.FindMessage(type.first, type.second)->name);
    }
    if (bad_.messages != 0) {
        AppendRow(out, bad_.messages, bad_.bytes, "bad");
    }
    AppendRow(out, all_.messages, all_.bytes, "in all");
}

void CaptureSummary::AppendJson(std::string& out, const Catalog& catalog, bool hasFiles) const {
    for (const auto& [type, count] : counts_) {
        out += "{\"of\":\"type\",";
        out += catalog.FindMessage(type.first, type.second)->jsonText;
        AppendJson(out, count, hasFiles);
    }
    if (bad_.messages != 0) {
        out += "{\"of\":\"bad\"";
        AppendJson(out, bad_, hasFiles);
    }
    out += "{\"of\":\"all\"";
    AppendJson(out, all_, hasFiles);
}

void CaptureSummary::AppendJson(std::string& out, const Count& count, bool hasFiles) {
    AppendMember(out, "messages", count.messages);
    AppendMember(out, "bytes", count.bytes);
    if (count.messages != 0) {
        AppendMember(out, "smallest", count.smallest);
        AppendMember(out, "largest", count.largest);
        AppendMember(out, "firstOffset", count.first.offset);
        AppendMember(out, "lastOffset", count.last.offset);
    }
    if (count.messages != 0 && hasFiles) {
        out += ",\"firstFile\":";
        AppendText(out, count.first.file);
        out += ",\"lastFile\":";
        AppendText(out, count.last.file);
    }
    out += "}\n";
}

}  // namespace zel::tools
