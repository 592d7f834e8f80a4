// Counts and sizes of messages by their type.
#ifndef ZEL_TOOLS_CAPTURE_CAPTURE_SUMMARY_H
#define ZEL_TOOLS_CAPTURE_CAPTURE_SUMMARY_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "tools/dictionary/catalog.h"

namespace zel::tools {

class CaptureSummary {
public:
    // Null: the message was refused.
    void Add(const CatalogMessage* kind, const std::string& file, std::uint64_t offset, std::size_t size);

    void AppendTable(std::string& out, const Catalog& catalog) const;
    // One object a line. With the names of files when there are several.
    void AppendJson(std::string& out, const Catalog& catalog, bool hasFiles) const;

private:
    struct Place {
        std::string file;
        std::uint64_t offset;
    };
    struct Count {
        std::uint64_t messages;
        std::uint64_t bytes;
        std::size_t smallest;
        std::size_t largest;
        Place first;
        Place last;
    };
    static void Add(Count& count, const std::string& file, std::uint64_t offset, std::size_t size);
    static void AppendJson(std::string& out, const Count& count, bool hasFiles);

    std::map<std::pair<std::int16_t, std::int16_t>, Count> counts_;
    Count bad_{};
    Count all_{};
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_CAPTURE_SUMMARY_H
