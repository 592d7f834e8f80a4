// Dictionary images: what the compiler writes is served as the source says, and no image can harm its reader.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "include/zelprovider.h"
#include "tests/support/environment.h"
#include "tests/support/failing_heap.h"
#include "tools/dictionary_check.h"
#include "tools/dictionary_image.h"
#include "tools/file_output.h"
#include "tools/json_file.h"
#include "zeldata/checksum.h"
#include "zeldata/field_rules.h"
#include "zeldata/image_check.h"
#include "zeldata/message_table.h"
#include "zeldata/name_table.h"

extern "C" VormaZelData* VORMA_DLL_ENTRY();

namespace zel::image {
namespace {

using tools::DictionarySource;

// Two types with their sub-types out of order, a gap between the ids, a group of two fields.
constexpr char kSource[] = R"({"fields": [
    {"id": 1, "name": "FLAGS", "type": "short"}, {"id": 2, "name": "TYPE", "type": "long"},
    {"id": 3, "name": "SERVICE", "type": 2}, {"id": 4, "name": "MSGID", "type": "int"},
    {"id": 5, "name": "COUNT", "type": "short"}, {"id": 6, "name": "DATA", "type": "long"},
    {"id": 7, "name": "VARDATA", "type": "bytes11"},
    {"id": 10, "name": "CODE", "type": "chars", "length": 12, "version": 3, "text": "Code of it"},
    {"id": 11, "name": "LEGS", "type": "short"}, {"id": 12, "name": "PRICE", "type": "money"}],
  "messages": [
    {"type": 9, "subType": 2, "name": "FIRST", "fields": ["CODE", {"group": {
        "count": {"field": "LEGS", "presence": "mandatory"}, "fields": ["PRICE", "CODE"]}}]},
    {"type": -4, "subType": 1, "name": "OTHER", "fields": []},
    {"type": 9, "subType": 1, "name": "SECOND", "fields": [{"field": "PRICE", "presence": "mandatory"}]}]})";

DictionarySource ParseSource(const nlohmann::json& json) {
    tools::Findings findings;
    DictionarySource dictionary = tools::ParseDictionary(json, findings);
    tools::CheckDictionary(dictionary, findings);
    EXPECT_EQ(tools::CountErrors(findings), 0U);
    return dictionary;
}

std::vector<char> BuildSmallImage() {
    tools::Findings findings;
    return tools::BuildDictionaryImage(ParseSource(tools::ParseJson(kSource, findings)));
}

// Reads all that the message library could read of an image that was accepted.
void WalkImage(const ImageView& view) {
    std::size_t sum = 0;
    for (unsigned id = 1; id <= static_cast<unsigned>(view.dictionary->count); ++id) {
        const ZELDictionaryField& field = FieldRecord(view.dictionary, id);
        sum += std::strlen(field.name) + std::strlen(field.text);
    }
    const auto memory = std::make_unique<char[]>(MessageTableSize(view));
    for (const ZELTypeNode* type = LinkMessageTable(view, memory.get()); type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            for (int i = 0; i < node->fieldCount; ++i) {
                sum += FieldRecord(view.dictionary, node->fieldList[i].fieldId).type;
            }
        }
    }
    EXPECT_GT(sum, 0U);
}

// Checks a block of exactly the image's size, so that the sanitizer sees a read behind it.
bool CheckExact(const std::vector<char>& bytes, std::string* fault = nullptr) {
    const auto block = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    ImageView view;
    ImageFault found{};
    if (CheckImage(block.get(), bytes.size(), view, found)) {
        WalkImage(view);
        return true;
    }
    EXPECT_GT(std::strlen(found.text), 0U);
    if (fault != nullptr) {
        *fault = found.text;
    }
    return false;
}

template <typename Value>
void Put(std::vector<char>& bytes, std::size_t offset, Value value) {
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

// Makes size and checksum agree with the bytes again.
void Seal(std::vector<char>& bytes) {
    Put(bytes, offsetof(ImageHeader, fileSize), static_cast<std::uint32_t>(bytes.size()));
    Put(bytes, offsetof(ImageHeader, checksum),
        Checksum(bytes.data() + sizeof(ImageHeader), bytes.size() - sizeof(ImageHeader)));
}

class ProviderFile : public testing::Test {
protected:
    void SetUp() override { Write(BuildSmallImage()); }
    void TearDown() override {
        test::FailAllocationsFrom(0);
        test::SetEnvironment("ZELDATA_IMAGE", "");
        std::filesystem::remove(path_);
    }

    void Write(const std::vector<char>& bytes) { tools::WriteFileAtomically(path_, bytes); }

    // The provider for the file, and what the attempt wrote to standard error.
    VormaZelData* Open(std::string& said) {
        test::SetEnvironment("ZELDATA_IMAGE", path_);
        testing::internal::CaptureStderr();
        VormaZelData* provider = VORMA_DLL_ENTRY();
        said = testing::internal::GetCapturedStderr();
        return provider;
    }

    void ExpectRefusal(const std::string& reason) {
        std::string said;
        EXPECT_EQ(Open(said), nullptr);
        EXPECT_EQ(said.rfind("zeldata: no dictionary: " + path_ + ' ' + reason, 0), 0U) << said;
        EXPECT_EQ(said.find('\n'), said.size() - 1) << said;
    }

    std::string path_ =
        (std::filesystem::temp_directory_path() / ("zel-image-test-" + std::to_string(std::random_device()())))
            .string();
};

TEST(Checksum, IsTheCommonCrc32) {
    EXPECT_EQ(Checksum("123456789", 9), 0xCBF43926U);
}

TEST_F(ProviderFile, ServesBothTablesInSourceOrder) {
    std::string said;
    VormaZelData* provider = Open(said);
    ASSERT_NE(provider, nullptr) << said;
    EXPECT_EQ(said, "");
    const ZELDictionaryHeader* dictionary = provider->dataDictionary();
    EXPECT_EQ(dictionary->count, 12);
    const ZELDictionaryField& code = FieldRecord(dictionary, 10);
    EXPECT_EQ(code.version, 3);
    EXPECT_EQ(code.type, kZELChars);
    EXPECT_EQ(code.length, 12);
    EXPECT_STREQ(code.name, "CODE");
    EXPECT_STREQ(code.text, "Code of it");
    EXPECT_EQ(FieldRecord(dictionary, 9).type, 0);
    EXPECT_EQ(FieldRecord(dictionary, 12).length, 6);

    const ZELTypeNode* nine = provider->messageTable();
    ASSERT_EQ(nine->type, 9);
    const ZELSubTypeNode* first = nine->subTypes;
    EXPECT_EQ(first->subType, 2);
    EXPECT_EQ(first->repeatFieldId, 11);
    EXPECT_EQ(first->groupSize, 2);
    ASSERT_EQ(first->fieldCount, 4);
    const std::pair<int, int> list[] = {{10, 1}, {11, 2}, {12, 1}, {10, 1}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(first->fieldList[i].fieldId, list[i].first) << i;
        EXPECT_EQ(first->fieldList[i].presence, list[i].second) << i;
    }
    ASSERT_NE(first->next, nullptr);
    EXPECT_EQ(first->next->subType, 1);
    EXPECT_EQ(first->next->repeatFieldId, 0);
    EXPECT_EQ(first->next->next, nullptr);
    ASSERT_NE(nine->next, nullptr);
    EXPECT_EQ(nine->next->type, -4);
    EXPECT_EQ(nine->next->subTypes->fieldCount, 0);
    EXPECT_EQ(nine->next->subTypes->next, nullptr);
    EXPECT_EQ(nine->next->next, nullptr);
    provider->destroy(1);
}

TEST_F(ProviderFile, FindsNamesOnSixtyFourCharacters) {
    nlohmann::json source = nlohmann::json::parse(kSource);
    const std::string longest(64, 'N');
    source["fields"].push_back({{"id", 20}, {"name", longest}, {"type", "text"}});
    Write(tools::BuildDictionaryImage(ParseSource(source)));
    std::string said;
    VormaZelData* provider = Open(said);
    ASSERT_NE(provider, nullptr) << said;
    for (const auto& field : source["fields"]) {
        EXPECT_EQ(provider->idFromName(field["name"].get<std::string>().c_str()), field["id"].get<long>());
    }
    EXPECT_EQ(provider->idFromName((longest + "behind").c_str()), 20);
    EXPECT_EQ(provider->idFromName(longest.substr(1).c_str()), -1);
    EXPECT_EQ(provider->idFromName("CODE "), -1);
    EXPECT_EQ(provider->idFromName(""), -1);
    EXPECT_EQ(provider->idFromName(nullptr), -1);
    provider->destroy(1);
}

// The sample dictionary: no warnings either, every type in use, every name found, groups with and without a marker.
TEST_F(ProviderFile, ServesTheSampleDictionary) {
    tools::Findings findings;
    const nlohmann::json json = tools::ReadJsonFile(ZEL_SOURCE_DIR "/zeldata/sample.json", findings);
    const DictionarySource source = tools::ParseDictionary(json, findings);
    tools::CheckDictionary(source, findings);
    ASSERT_TRUE(findings.empty()) << findings[0].place << ": " << findings[0].text;
    Write(tools::BuildDictionaryImage(source));
    std::string said;
    VormaZelData* provider = Open(said);
    ASSERT_NE(provider, nullptr) << said;
    std::set<int> types;
    for (const tools::FieldSource& field : source.fields) {
        EXPECT_EQ(provider->idFromName(field.name.c_str()), field.id) << field.name;
        types.insert(field.type);
    }
    EXPECT_EQ(types.size(), std::size(kFieldTypeRules));

    const std::map<std::pair<int, int>, std::array<int, 4>> groups = {
        {{10, 1}, {50, 5, 20 + 5, 51}}, {{10, 5}, {139, 5, 7 + 5 + 2, 140}}, {{41, 1}, {204, 7, 5 + 7, 10}}};
    std::size_t found = 0;
    for (const ZELTypeNode* type = provider->messageTable(); type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            const auto group = groups.find({type->type, node->subType});
            if (group == groups.end()) {
                continue;
            }
            ++found;
            int count = 0;
            while (node->fieldList[count].fieldId != node->repeatFieldId) {
                ++count;
            }
            const std::array<int, 4> shape = {node->repeatFieldId, node->groupSize, node->fieldCount,
                                              node->fieldList[count + 1].fieldId};
            EXPECT_EQ(shape, group->second) << type->type << '/' << node->subType;
        }
    }
    EXPECT_EQ(found, groups.size());
    provider->destroy(1);
}

TEST_F(ProviderFile, KeepsServingWhenTheFileIsReplaced) {
    std::string said;
    VormaZelData* provider = Open(said);
    ASSERT_NE(provider, nullptr) << said;
    Write(std::vector<char>(1));
    EXPECT_EQ(provider->idFromName("PRICE"), 12);
    provider->destroy(1);
}

TEST_F(ProviderFile, RefusesWithOneLineThatSaysWhy) {
    std::vector<char> bytes = BuildSmallImage();
    bytes.back() = static_cast<char>(bytes.back() + 1);
    Write(bytes);
    ExpectRefusal("is damaged: its checksum is ");
    bytes.pop_back();
    Write(bytes);
    ExpectRefusal("has " + std::to_string(bytes.size()) + " bytes; its header says ");
    Write({});
    ExpectRefusal("is empty");
    std::filesystem::remove(path_);
    ExpectRefusal("cannot be opened: ");
}

TEST_F(ProviderFile, ReportsThatMemoryRanOut) {
    const int before = test::LiveBlocks();
    test::FailAllocationsFrom(1);
    ExpectRefusal("cannot be served: out of memory");
    test::FailAllocationsFrom(0);
    std::string said;
    VormaZelData* provider = Open(said);
    ASSERT_NE(provider, nullptr) << said;
    EXPECT_EQ(test::LiveBlocks(), before + 1);
    provider->destroy(1);
    EXPECT_EQ(test::LiveBlocks(), before);
}

TEST(NameTable, HoldsTheLargestDictionary) {
    constexpr std::uint32_t kFields = 32767;
    std::vector<std::uint16_t> slots(std::size_t{1} << 17U);
    std::vector<ZELDictionaryField> records(kFields + 1);
    for (std::uint32_t id = 1; id <= kFields; ++id) {
        const std::string name = "FIELD_" + std::to_string(id);
        std::memcpy(records[id].name, name.c_str(), name.size());
        const auto size = static_cast<std::uint32_t>(slots.size());
        ASSERT_TRUE(InsertName(slots.data(), size, records[id].name, static_cast<std::uint16_t>(id)));
    }
    const void* dictionary = records.data();
    for (std::uint32_t id = 1; id <= kFields; ++id) {
        ASSERT_EQ(
            FindName(static_cast<const ZELDictionaryHeader*>(dictionary), slots.data(), 1U << 17U, records[id].name),
            id);
    }
}

TEST(ImageCheck, RefusesEveryTruncation) {
    const std::vector<char> whole = BuildSmallImage();
    ASSERT_TRUE(CheckExact(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        std::vector<char> part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(CheckExact(part)) << size;
        if (size >= sizeof(ImageHeader)) {
            Seal(part);
            EXPECT_FALSE(CheckExact(part)) << "sealed, " << size;
        }
    }
}

struct Damage {
    const char* name;
    std::function<void(std::vector<char>&, const ImageHeader&)> inflict;
    const char* fault;
};

class ImageDamage : public testing::TestWithParam<Damage> {};

TEST_P(ImageDamage, IsNamed) {
    std::vector<char> bytes = BuildSmallImage();
    ImageHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    GetParam().inflict(bytes, header);
    Seal(bytes);
    std::string fault;
    EXPECT_FALSE(CheckExact(bytes, &fault));
    EXPECT_NE(fault.find(GetParam().fault), std::string::npos) << fault;
}

using Bytes = std::vector<char>;

std::size_t Record(const ImageHeader& header, std::size_t id) {
    return header.dictionaryOffset + id * 160;
}

template <std::size_t Offset, typename Value>
auto Header(Value value) {
    return [value](Bytes& bytes, const ImageHeader&) { Put(bytes, Offset, value); };
}

template <typename Value>
auto Field(std::size_t id, std::size_t offset, Value value) {
    return [=](Bytes& bytes, const ImageHeader& header) { Put(bytes, Record(header, id) + offset, value); };
}

// The first message, FIRST: a list of four with the count at index 1 and a group of two.
template <typename Value>
auto Message(std::size_t offset, Value value) {
    return [=](Bytes& bytes, const ImageHeader& header) { Put(bytes, header.subTypesOffset + offset, value); };
}

const Damage kDamages[] = {
    {"Magic", Header<0>('z'), "is not a dictionary image"},
    {"Version", Header<offsetof(ImageHeader, version)>(2U), "has image version 2"},
    {"DictionaryBehindEnd", Header<offsetof(ImageHeader, dictionaryOffset)>(0xFFFFFFFCU),
     "has its dictionary outside the file"},
    {"DictionaryInHeader", Header<offsetof(ImageHeader, dictionaryOffset)>(0U), "has its dictionary outside the file"},
    {"DictionaryUnaligned", Header<offsetof(ImageHeader, dictionaryOffset)>(65U),
     "has its dictionary at the unaligned offset 65"},
    {"CountTooLarge", Field(0, 4, std::int16_t{32767}), "has its dictionary outside the file"},
    {"CountNegative", Field(0, 4, std::int16_t{-1}), "has a dictionary of -1 fields"},
    {"TypesTooMany", Header<offsetof(ImageHeader, typeCount)>(0xFFFFFFFFU), "has its types outside the file"},
    {"SubTypesTooMany", Header<offsetof(ImageHeader, subTypeCount)>(0x80000000U), "has its sub-types outside the file"},
    {"SubTypesSpare", Header<offsetof(ImageHeader, subTypeCount)>(2U),
     "has the sub-types of message type -4 in the wrong place"},
    {"EntriesTooMany", Header<offsetof(ImageHeader, fieldListCount)>(0x40000001U),
     "has its field lists outside the file"},
    {"EntriesSpare", Header<offsetof(ImageHeader, fieldListCount)>(6U),
     "has field-list entries that belong to no message"},
    {"EntriesShort", Header<offsetof(ImageHeader, fieldListCount)>(4U),
     "has the field list of message 1 in the wrong place"},
    {"NoNames", Header<offsetof(ImageHeader, nameSlotCount)>(0U), "not a power of two"},
    {"OddNames", Header<offsetof(ImageHeader, nameSlotCount)>(24U), "not a power of two"},
    {"FewNames", Header<offsetof(ImageHeader, nameSlotCount)>(16U), "by its name"},
    {"UnknownType", Field(10, 2, std::uint16_t{12}), "has field 10 with the unknown type 12"},
    {"TypeTaken", Field(10, 2, std::uint16_t{0}), "has a field 10 without a type"},
    {"WrongLength", Field(12, 4, std::int16_t{8}), "has field 12 of type money with the length 8"},
    {"NegativeLength", Field(10, 4, std::int16_t{-1}), "has field 10 of type chars with the length -1"},
    {"WrongVersion", Field(12, 0, std::int16_t{16}), "has field 12 with the version 16"},
    {"NoName", Field(12, 6, '\0'), "has field 12 with an empty name"},
    {"OtherName", Field(12, 6, 'Q'), "does not find field 12 by its name"},
    {"EndlessName",
     [](Bytes& bytes, const ImageHeader& header) { std::memset(bytes.data() + Record(header, 12) + 6, 'x', 65); },
     "has field 12 with an empty name, or a name or text without an end"},
    {"EndlessText",
     [](Bytes& bytes, const ImageHeader& header) { std::memset(bytes.data() + Record(header, 12) + 71, 'x', 89); },
     "has field 12 with an empty name, or a name or text without an end"},
    {"SameName",
     [](Bytes& bytes, const ImageHeader& header) {
         std::memcpy(bytes.data() + Record(header, 12) + 6, bytes.data() + Record(header, 11) + 6, 65);
     },
     "does not find field 12 by its name"},
    {"EndlessMessageName",
     [](Bytes& bytes, const ImageHeader& header) { std::memset(bytes.data() + header.subTypesOffset + 12, 'x', 65); },
     "has a name without an end in message 0"},
    {"ListNegative", Message(6, std::int16_t{-1}), "has the field list of message 0 in the wrong place"},
    {"ListMoved", Message(8, 1U), "has the field list of message 0 in the wrong place"},
    {"GroupTooLong", Message(4, std::int16_t{3}), "has a group of 3 entries that does not fit message 0"},
    {"GroupEmpty", Message(4, std::int16_t{0}), "has a group of 0 entries that does not fit message 0"},
    {"CountNotListed", Message(2, std::uint16_t{5}), "has a group of 2 entries that does not fit message 0"},
    {"CountNoInteger", Message(2, std::uint16_t{10}), "with a type that is no integer"},
    {"NoCount", Message(2, std::uint16_t{0}), "has a group without a repeat-count field in message 0"},
    {"EntryUnused",
     [](Bytes& bytes, const ImageHeader& header) { Put(bytes, header.fieldListsOffset, std::uint16_t{9}); },
     "has the unknown field 9 in message 0"},
    {"EntryBehindEnd",
     [](Bytes& bytes, const ImageHeader& header) { Put(bytes, header.fieldListsOffset, std::uint16_t{13}); },
     "has the unknown field 13 in message 0"},
    {"TypeEmpty", [](Bytes& bytes, const ImageHeader& header) { Put(bytes, header.typesOffset + 2, std::uint16_t{0}); },
     "has the sub-types of message type 9 in the wrong place"},
};

INSTANTIATE_TEST_SUITE_P(Table, ImageDamage, testing::ValuesIn(kDamages),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ImageCheck, RandomDamageIsRefusedOrHarmless) {
    const Bytes whole = BuildSmallImage();
    std::seed_seq seed{20240611};
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    int accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes = whole;
        for (std::size_t flips = 1 + below(3); flips != 0; --flips) {
            char& hit = bytes[below(bytes.size())];
            hit = static_cast<char>(static_cast<unsigned char>(hit) ^ 1U << below(8));
        }
        Seal(bytes);
        accepted += CheckExact(bytes) ? 1 : 0;
    }
    // Texts, presences and the bytes that nobody reads may change.
    EXPECT_GT(accepted, 0);
    EXPECT_LT(accepted, 20000);
}

}  // namespace
}  // namespace zel::image
