// Random messages of a dictionary, in the JSON form: of use to tests. One seed gives the same messages on every
// platform.
#ifndef ZEL_TOOLS_MESSAGE_MESSAGE_SAMPLER_H
#define ZEL_TOOLS_MESSAGE_MESSAGE_SAMPLER_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "tools/dictionary/catalog.h"

namespace zel::tools {

class MessageSampler {
public:
    explicit MessageSampler(std::uint32_t seed) : random_(seed) {}

    // One object, without a line's end: all mandatory fields, some of the others, and up to three repetitions.
    void Append(std::string& out, const CatalogMessage& message);

private:
    [[nodiscard]] std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
    void AppendFields(std::string& out, const CatalogMessage& message, bool inGroup, std::size_t room);
    void AppendValue(std::string& out, const CatalogField& field);
    [[nodiscard]] std::string ValueOf(const CatalogField& field);
    [[nodiscard]] std::string NumberOf(std::uint16_t type);
    [[nodiscard]] std::string Money();
    [[nodiscard]] std::string DateTime();
    [[nodiscard]] std::string Words();

    std::mt19937 random_;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_MESSAGE_SAMPLER_H
