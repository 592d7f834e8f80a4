#include "fuzz/generated_message.h"

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/generated_source.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"

namespace zel::fuzz {

namespace {

class Generator {
public:
    Generator(Input& input, const tools::CatalogMessage& kind) : input_(input), kind_(kind) {}

    std::string Line() {
        if (input_.Below(4) != 0) {
            Member("type", Number(kind_.type));
            Member("subType", Number(kind_.subType));
        } else {
            Member("name", Quoted(kind_.name));
        }
        Header();
        Member("fields", Object(0, kind_.groupStart, kind_.groupStart + kind_.groupSize));
        if (kind_.groupSize != 0 && !input_.OneIn(4)) {
            std::string group;
            for (int count = input_.Below(4); count > 0; --count) {
                group += (group.empty() ? "" : ",") +
                         Object(kind_.groupStart, kind_.groupStart + kind_.groupSize, kind_.entries.size());
            }
            Member("group", '[' + group + ']');
        }
        return '{' + line_ + '}';
    }

private:
    static std::string Number(std::int64_t number) { return std::to_string(number); }

    std::string Hex(int most) {
        const std::string bytes = input_.Bytes(static_cast<std::size_t>(input_.Below(most)));
        std::string digits;
        tools::AppendHex(digits, bytes.data(), bytes.size());
        return digits;
    }

    static std::string Quoted(const std::string& text) {
        std::string quoted;
        tools::AppendText(quoted, text);
        return quoted;
    }

    void Member(const char* key, const std::string& value) {
        line_ += (line_.empty() ? "" : ",") + Quoted(key) + ':' + Odd(value);
    }

    // The value, or sometimes another one.
    std::string Odd(const std::string& value) {
        return input_.OneIn(128) ? OddValue(input_).dump(-1, ' ', true, nlohmann::json::error_handler_t::ignore)
                                 : value;
    }

    void Header() {
        if (input_.OneIn(2)) {
            constexpr const char* kFrames[] = {"long", "short", "none"};
            Member("frame", Quoted(kFrames[input_.Below(3)]));
            Member("format", Number(input_.OneIn(32) ? input_.Below(17) : input_.Below(3)));
            Member("version", Number(input_.Below(4)));
        }
        if (input_.OneIn(4)) {
            Member("packFlags", Number(input_.Below(16)));
            Member("encryptFlag", Number(input_.OneIn(4) ? input_.Below(17) : 0));
        }
        if (input_.OneIn(4)) {
            const std::string high = Number(input_.Short());
            Member("serviceId", '[' + high + ',' + Number(input_.Short()) + ']');
            Member("messageId", '[' + high + ',' + Number(input_.Byte()) + ",1]");
        }
        if (input_.OneIn(4)) {
            Member("userData", Number(static_cast<std::int32_t>(input_.Long())));
        } else if (input_.OneIn(4)) {
            Member("varUserData", Quoted(Hex(20)));
        }
        if (input_.OneIn(16)) {
            Member("repeatCount", Number(input_.OneIn(8) ? input_.Short() : input_.Below(6)));
        }
        if (input_.OneIn(16)) {
            Member("order", Order());
        }
    }

    // The ids of the entries in a random order, as JSON.
    std::string Order() {
        std::vector<std::string> ids;
        for (const tools::CatalogEntry& entry : kind_.entries) {
            ids.insert(input_.Below(2) == 0 ? ids.begin() : ids.end(), Number(entry.field->id));
        }
        std::string order;
        for (const std::string& id : ids) {
            order += order.empty() ? "" : ",";
            order += id;
        }
        return '[' + order + ']';
    }

    // The entries [first, last) and those from `after` on.
    std::string Object(std::size_t first, std::size_t last, std::size_t after) {
        std::string members;
        const int density = input_.Below(4);
        for (std::size_t i = first; i < kind_.entries.size(); ++i) {
            if ((i >= last && i < after) || input_.Below(4) < density) {
                continue;
            }
            const tools::CatalogEntry& entry = kind_.entries[i];
            const std::string key = input_.OneIn(16) ? Number(entry.field->id) : entry.key;
            members += (members.empty() ? "" : ",") + Quoted(key) + ':' + Odd(Value(*entry.field));
        }
        return '{' + members + '}';
    }

    std::string Text(std::size_t most) {
        constexpr const char* kTexts[] = {
            "", "A", "\"\\\n", "\x7f\xc2\x85\xc2\xa0", "\xe2\x82\xac", "\xf0\x9f\x9a\xa2"};
        const int choice = input_.Below(8);
        const std::string text = choice < 6 ? kTexts[choice] : input_.Bytes(static_cast<std::size_t>(input_.Below(24)));
        return Quoted(text.substr(0, std::min(most, text.size())));
    }

    std::string Real() {
        std::string text;
        switch (input_.Below(6)) {
            case 0:
                tools::AppendFloat(text, input_.Long());
                return text;
            case 1:
                tools::AppendDouble(text, input_.Wide());
                return text;
            case 2:
                return Quoted(input_.Below(2) == 0 ? "NaN" : "-Infinity");
            case 3:
                return "{\"hex\":\"" + Hex(10) + "\"}";
            case 4:
                return Number(static_cast<std::int32_t>(input_.Long()));
            default:
                return "-0.0";
        }
    }

    std::string DateTime() {
        if (input_.Below(2) == 0) {
            std::string record = "{\"day\":" + Number(input_.Below(40));
            record += ",\"year\":" + Number(input_.Byte());
            record += ",\"hour\":" + Number(static_cast<std::int8_t>(input_.Byte()));
            record += ",\"extra\":" + Number(input_.Below(2));
            return record + ",\"kind\":" + Number(input_.Below(5)) + '}';
        }
        constexpr const char* kTexts[] = {"", "1999-11-30", "09:05:07", "2155-12-31T24:59:59", "1900-00-00 00:00:00"};
        return Quoted(kTexts[input_.Below(5)]);
    }

    std::string Money() {
        std::string text;
        switch (input_.Below(3)) {
            case 0:
                text = "{\"amount\":" + Number(static_cast<std::int32_t>(input_.Long()));
                text += ",\"displayCode\":";
                return text + Number(input_.OneIn(4) ? static_cast<std::int16_t>(input_.Short()) : input_.Below(70)) +
                       '}';
            case 1:
                for (int count = input_.Below(16); count > 0; --count) {
                    text += "0123456789-.'/ $+,"[input_.Below(18)];
                }
                return Quoted(text);
            default:
                return "\"101'16\"";
        }
    }

    std::string Value(const tools::CatalogField& field) {
        switch (field.type) {
            case kZELShort:
                return Number(input_.OneIn(4) ? static_cast<std::int16_t>(input_.Short()) : input_.Below(5));
            case kZELLong:
            case kZELInt:
                return Number(input_.OneIn(2) ? static_cast<std::int32_t>(input_.Long()) : input_.Below(5));
            case kZELChars:
                return input_.OneIn(4) ? "{\"hex\":\"" + Hex(16) + "\"}" : Text(static_cast<std::size_t>(field.length));
            case kZELText:
                return input_.OneIn(4) ? "{\"hex\":\"" + Hex(16) + "\"}" : Text(24);
            case kZELFloat:
            case kZELDouble:
                return Real();
            case kZELDateTime:
                return DateTime();
            case kZELMoney:
                return Money();
            default:
                return Quoted(Hex(16));
        }
    }

    Input& input_;
    const tools::CatalogMessage& kind_;
    std::string line_;
};

}  // namespace

std::string GenerateMessage(Input& input, const tools::CatalogMessage& kind) {
    return Generator(input, kind).Line();
}

}  // namespace zel::fuzz
