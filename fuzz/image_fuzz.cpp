// Dictionary images as the provider opens them: of generated dictionaries with numbers and bytes changed, or any bytes,
// the checksum made right again. What opens is read whole without fault, its messages travel, and it has a source.
#include <algorithm>
#include <cstring>
#include <memory>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "fuzz/check.h"
#include "fuzz/random_source.h"
#include "include/zelmessage.h"
#include "tests/support/made_message.h"
#include "tools/dictionary/image_reader.h"
#include "zeldata/checksum.h"
#include "zeldata/image_check.h"
#include "zeldata/message_table.h"
#include "zeldata/name_table.h"

namespace zel::fuzz {

namespace {

using test::Random;

// More cost more than they tell.
constexpr std::uint32_t kMostMessages = 4;
constexpr int kMostFields = 100;

// That of the dictionary with this number.
const std::string& ImageOf(std::uint8_t number) {
    static std::string images[256];
    std::string& image = images[number];
    if (image.empty()) {
        Random random(number);
        tools::Findings findings;
        const auto bytes = Compile(RandomSource(random, false), findings);
        image = bytes ? std::string(bytes->begin(), bytes->end()) : ImageOf(static_cast<std::uint8_t>(number + 1));
    }
    return image;
}

// Puts numbers near those that were there into the header, the types, the messages and the field lists.
void ChangeNumbers(Random& input, std::string& bytes) {
    image::ImageHeader header{};
    std::memcpy(&header, bytes.data(), sizeof header);
    const std::uint32_t parts[] = {8,
                                   header.dictionaryOffset,
                                   header.typesOffset,
                                   header.subTypesOffset,
                                   header.fieldListsOffset,
                                   header.namesOffset};
    while (!input.IsEmpty()) {
        const std::size_t at = (input.Pick(parts) + input.Short() % 1024U) % (bytes.size() - 3);
        const std::size_t size = input.Below(2) == 0 ? 2 : 4;
        std::uint32_t number = 0;
        std::memcpy(&number, bytes.data() + at, size);
        number = input.Below(4) == 0 ? input.Long() : number + static_cast<std::uint32_t>(input.Below(16)) - 8;
        std::memcpy(bytes.data() + at, &number, size);
    }
}

std::string MakeImage(Random& input) {
    const int kind = input.Below(8);
    std::string bytes = kind == 0 ? input.Rest() : ImageOf(input.Byte());
    if (kind == 1) {
        bytes.resize(input.Short() % bytes.size());
    } else if (kind < 6 && kind != 0) {
        ChangeNumbers(input, bytes);
    }
    image::ImageHeader header{};
    if (kind != 7 && bytes.size() >= sizeof header) {
        // So that the check reads on.
        std::memcpy(&header, bytes.data(), sizeof header);
        std::memcpy(header.magic, image::kMagic, sizeof header.magic);
        header.version = image::kVersion;
        header.fileSize = static_cast<std::uint32_t>(bytes.size());
        header.checksum = image::Checksum(bytes.data() + sizeof header, bytes.size() - sizeof header);
        std::memcpy(bytes.data(), &header, sizeof header);
    }
    return bytes;
}

// Creates a message, fills it, packs it and unpacks what was packed.
void Travel(short msgType, const ZELSubTypeNode& node) {
    static CZELMessage sent(0, 0);
    static CZELMessage received(0, 0);
    static const char value[kZELMaxPayload] = "any";
    sent.msgType = msgType;
    sent.subType = node.subType;
    sent.repeatCount = 2;
    sent.createStruct();
    for (int i = 0; i < node.fieldCount; ++i) {
        sent.setFieldValue(static_cast<short>(node.fieldList[i].fieldId), value, -1);
    }
    const std::string frame = sent.message != nullptr ? test::Pack(sent) : "";
    if (!frame.empty()) {
        (void)test::Unpack(received, frame);
    }
    sent.destroyStruct();
    received.destroyStruct();
}

void Walk(const image::ImageView& view) {
    const auto memory = std::make_unique<char[]>(image::MessageTableSize(view));
    const ZELTypeNode* types = image::LinkMessageTable(view, memory.get());
    UseTables(view.dictionary, types);
    for (int id = 1; id <= view.dictionary->count; ++id) {
        const ZELDictionaryField* field = FindFldRecord(static_cast<short>(id));
        Check(field != nullptr, "each record can be found");
        const int found = image::FindName(view.dictionary, view.names, view.header->nameSlotCount, field->name);
        Check(field->type == 0 || (found == id && GetFldByName(field->name) == id), "each name is that of its field");
        Check(std::strlen(field->text) < sizeof field->text, "each text ends");
    }
    (void)image::FindName(view.dictionary, view.names, view.header->nameSlotCount, "no field's name");
    std::uint32_t messages = 0;
    for (const ZELTypeNode* type = types; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            for (int i = 0; i < node->fieldCount; ++i) {
                Check(FindFldRecord(static_cast<short>(node->fieldList[i].fieldId)) != nullptr, "lists have records");
            }
            const auto* end = node->fieldList + node->fieldCount;
            const auto* count = std::find_if(node->fieldList, end, [&](const ZELFieldListEntry& entry) {
                return entry.fieldId == node->repeatFieldId;
            });
            Check(node->repeatFieldId == 0 || end - count > node->groupSize, "a group lies in its list");
            if (++messages <= kMostMessages && node->fieldCount <= kMostFields) {
                Travel(type->type, *node);
            }
        }
    }
    Check(messages == view.header->subTypeCount, "each message can be found");
    StopUsingTables();
    ReleasePlans();
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    zel::test::Random input(data, size);
    // Aligned as a mapping is, and not a byte longer.
    const zel::test::ExactCopy bytes(MakeImage(input));
    zel::image::ImageView view;
    zel::image::ImageFault fault{};
    if (!zel::image::CheckImage(bytes.data.get(), bytes.size, view, fault)) {
        Check(fault.text[0] != '\0', "a refused image has a reason");
        return 0;
    }
    Walk(view);
    Check(zel::tools::SourceOfImage(view).messages.size() == view.header->subTypeCount, "a source has each message");
    return 0;
}
