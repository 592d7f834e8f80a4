// Dictionary images as the provider opens them: made from generated dictionaries, damaged with a new checksum, cut
// short, or random bytes. An image that opens is read completely, its messages are packed and unpacked, and its source
// builds to an image with the same contents.
#include <cstring>
#include <memory>
#include <set>

#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "fuzz/check.h"
#include "fuzz/damage.h"
#include "fuzz/generated_source.h"
#include "include/zelmessage.h"
#include "tools/dictionary/image_builder.h"
#include "tools/dictionary/image_reader.h"
#include "tools/dictionary/source_text.h"
#include "tools/text/json_file.h"
#include "zeldata/checksum.h"
#include "zeldata/image_check.h"
#include "zeldata/message_table.h"
#include "zeldata/name_table.h"

namespace zel::fuzz {

namespace {

// More messages take time and find nothing new.
constexpr int kMostMessages = 6;
constexpr int kMostFields = 300;

std::string Bytes(const tools::DictionarySource& source) {
    const std::vector<char> bytes = tools::BuildDictionaryImage(source);
    return {bytes.begin(), bytes.end()};
}

// The smallest image: no fields, no messages, one free slot for names.
std::string EmptyImage() {
    return Bytes({});
}

// Replaces a number of the header or of a message by one near another of them.
void DamageNumber(Input& input, std::string& image) {
    image::ImageHeader header{};
    if (image.size() < sizeof header) {
        return;
    }
    std::memcpy(&header, image.data(), sizeof header);
    const std::uint32_t parts[] = {0,
                                   header.dictionaryOffset,
                                   header.typesOffset,
                                   header.subTypesOffset,
                                   header.fieldListsOffset,
                                   header.namesOffset};
    const std::size_t part = parts[input.Below(6)];
    const std::size_t at = (part + std::size_t{2} * input.Byte()) % (image.size() - 3);
    std::uint32_t number = 0;
    const std::size_t size = input.Below(2) == 0 ? 2 : 4;
    std::memcpy(&number, image.data() + at, size);
    number = input.Below(4) == 0 ? input.Long() : number + static_cast<std::uint32_t>(input.Below(16)) - 8;
    std::memcpy(image.data() + at, &number, size);
}

// Corrects size and checksum, so that the check continues after them.
void MakeRight(std::string& image) {
    image::ImageHeader header{};
    if (image.size() < sizeof header) {
        return;
    }
    std::memcpy(&header, image.data(), sizeof header);
    std::memcpy(header.magic, image::kMagic, sizeof header.magic);
    header.version = image::kVersion;
    header.fileSize = static_cast<std::uint32_t>(image.size());
    header.checksum = image::Checksum(image.data() + sizeof header, image.size() - sizeof header);
    std::memcpy(image.data(), &header, sizeof header);
}

std::string Image(Input& input) {
    const int kind = input.Below(8);
    if (kind < 2) {
        std::string image = kind == 0 ? input.Bytes(6000) : EmptyImage();
        if (kind != 0) {
            Damage(input, image, 0);
        }
        MakeRight(image);
        return image;
    }
    tools::Findings findings;
    const tools::DictionarySource source = CheckedSource(GenerateSource(input, false), findings);
    if (CountErrors(findings) != 0) {
        return EmptyImage();
    }
    std::string image = Bytes(source);
    if (kind == 2) {
        return image;
    }
    if (kind == 3) {
        image.resize(input.Long() % (image.size() + 1));
        return image;
    }
    if (kind < 6) {
        Damage(input, image, 0);
    } else {
        for (int count = input.Below(6); count >= 0; --count) {
            DamageNumber(input, image);
        }
    }
    if (!input.OneIn(32)) {
        MakeRight(image);
    }
    return image;
}

// Creates a message, fills it, packs it and unpacks what was packed.
void Travel(Input& input, short msgType, const ZELSubTypeNode& node) {
    const auto version = static_cast<short>(input.Below(3));
    CZELMessage sent(version, input.Below(2));
    sent.msgType = msgType;
    sent.subType = node.subType;
    sent.repeatCount = static_cast<short>(input.Below(4));
    sent.createStruct();
    if (sent.message == nullptr) {
        return;
    }
    // As many bytes as any type reads, but a text of at most four.
    std::string value(kZELMaxPayload, '\0');
    value.replace(0, 4, input.Bytes(4));
    for (int i = 0; i < node.fieldCount; ++i) {
        for (short occurrence = 1; occurrence < 4; ++occurrence) {
            sent.setFieldValue(static_cast<short>(node.fieldList[i].fieldId), value.data(), occurrence);
        }
    }
    const auto frame = std::make_unique<char[]>(std::size_t{kZELMaxFrame} + 65536);
    long length = 0;
    if (sent.packMessage(frame.get(), &length) != 0) {
        return;
    }
    const auto exact = std::make_unique<char[]>(static_cast<std::size_t>(length));
    std::memcpy(exact.get(), frame.get(), static_cast<std::size_t>(length));
    CZELMessage received(0, 0);
    (void)received.unpackMessage(exact.get());
}

void Walk(Input& input, const image::ImageView& view) {
    const auto memory = std::make_unique<char[]>(image::MessageTableSize(view));
    const ZELTypeNode* types = image::LinkMessageTable(view, memory.get());
    UseTables(view.dictionary, types);
    for (int id = 1; id <= view.dictionary->count; ++id) {
        const ZELDictionaryField* field = FindFldRecord(static_cast<short>(id));
        Check(field != nullptr, "each record can be found");
        const std::string name = field->name;
        const int found = image::FindName(view.dictionary, view.names, view.header->nameSlotCount, name.c_str());
        Check(field->type == 0 || (found == id && GetFldByName(name.c_str()) == id), "each name is that of its field");
        (void)GetFldText(static_cast<short>(id));
    }
    (void)image::FindName(view.dictionary, view.names, view.header->nameSlotCount, input.Bytes(2).c_str());
    int messages = 0;
    std::uint32_t count = 0;
    for (const ZELTypeNode* type = types; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            ++count;
            for (int i = 0; i < node->fieldCount; ++i) {
                Check(FindFldRecord(static_cast<short>(node->fieldList[i].fieldId)) != nullptr,
                      "each list has its fields");
            }
            if (node->fieldCount <= kMostFields && ++messages <= kMostMessages) {
                Travel(input, type->type, *node);
            }
        }
    }
    Check(count == view.header->subTypeCount, "each message can be found");
    StopUsingTables();
    ReleasePlans();
}

// Sources cannot have a type twice.
bool HasTypeTwice(const image::ImageView& view) {
    std::set<std::int16_t> types;
    for (std::uint32_t i = 0; i < view.header->typeCount; ++i) {
        types.insert(view.types[i].type);
    }
    return types.size() != view.header->typeCount;
}

void CheckSource(const image::ImageView& view) {
    const std::string text = tools::SourceText(tools::SourceOfImage(view));
    tools::Findings findings;
    const tools::DictionarySource source = CheckedSource(tools::ParseJson(text, findings), findings);
    if (CountErrors(findings) != 0) {
        return;
    }
    const std::vector<char> rebuilt = tools::BuildDictionaryImage(source);
    image::ImageView again;
    image::ImageFault fault{};
    Check(image::CheckImage(rebuilt.data(), rebuilt.size(), again, fault), fault.text);
    Check(HasTypeTwice(view) || tools::SourceText(tools::SourceOfImage(again)) == text,
          "the source of an image builds to an image that shows the same");
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    Input input(data, size);
    const std::string image = Image(input);
    // Aligned like a mapping, and of exactly its size.
    const auto block = std::make_unique<char[]>(image.size());
    std::memcpy(block.get(), image.data(), image.size());
    zel::image::ImageView view;
    zel::image::ImageFault fault{};
    if (!zel::image::CheckImage(block.get(), image.size(), view, fault)) {
        Check(fault.text[0] != '\0', "a refused image has a reason");
        return 0;
    }
    Walk(input, view);
    CheckSource(view);
    return 0;
}
