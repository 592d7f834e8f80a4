// Dictionary images: the provider serves what the source says, and no image can harm it.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "include/zelprovider.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/environment.h"
#include "tests/support/failing_heap.h"
#include "tests/support/work_folder.h"
#include "tools/dictionary/dictionary_file.h"
#include "tools/dictionary/image_builder.h"
#include "tools/io/file_output.h"
#include "zeldata/checksum.h"
#include "zeldata/image_check.h"
#include "zeldata/message_table.h"
#include "zeldata/name_table.h"

extern "C" VormaZelData* VORMA_DLL_ENTRY();

namespace zel::image {
namespace {

std::string Build(const std::string& path) {
    tools::Findings findings;
    const tools::DictionarySource source = tools::ReadSourceFile(ZEL_SOURCE_DIR "/" + path, findings);
    EXPECT_TRUE(findings.empty()) << findings[0].place << ": " << findings[0].text;
    const std::vector<char> bytes = tools::BuildDictionaryImage(source);
    return {bytes.begin(), bytes.end()};
}

std::string SmallImage() {
    return Build("tests/zeldata/cases/small.json");
}

// Everything that the message library can read, as lines.
std::string Contents(const ZELDictionaryHeader* dictionary, const ZELTypeNode* type) {
    std::ostringstream out;
    for (unsigned id = 1; id <= static_cast<unsigned>(dictionary->count); ++id) {
        const ZELDictionaryField& field = FieldRecord(dictionary, id);
        if (field.type != 0) {
            out << id << ": " << field.type << ' ' << field.length << ' ' << field.version << ' ' << field.name
                << (field.text[0] == '\0' ? "" : " ") << field.text << '\n';
        }
    }
    for (; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            out << type->type << '/' << node->subType << ": " << node->repeatFieldId << ' ' << node->groupSize;
            for (int i = 0; i < node->fieldCount; ++i) {
                out << ' ' << node->fieldList[i].fieldId << ':' << node->fieldList[i].presence;
            }
            out << '\n';
        }
    }
    return out.str();
}

// What is wrong with the image, or "". The block has exactly its size, so that the sanitizer sees a read after it.
std::string Fault(const std::string& bytes) {
    const test::ExactCopy block(bytes);
    ImageView view;
    ImageFault fault{};
    if (!CheckImage(block.data.get(), block.size, view, fault)) {
        EXPECT_NE(fault.text[0], '\0');
        return fault.text;
    }
    std::vector<char> memory(MessageTableSize(view));
    EXPECT_NE(Contents(view.dictionary, LinkMessageTable(view, memory.data())), "");
    return "";
}

// The image with its size and checksum corrected.
std::string Sealed(std::string bytes) {
    ImageHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    header.fileSize = static_cast<std::uint32_t>(bytes.size());
    header.checksum = Checksum(bytes.data() + sizeof header, bytes.size() - sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

class ProviderFile : public testing::Test {
protected:
    void SetUp() override { test::SetEnvironment("ZELDATA_IMAGE", path_); }
    void TearDown() override { test::SetEnvironment("ZELDATA_IMAGE", ""); }

    void Write(const std::string& bytes) const { tools::WriteFileAtomically(path_, {bytes.begin(), bytes.end()}); }

    // The contents that are served while the file is replaced by a bad one, or, on Windows, protected against that.
    // Checks that each name is found by its first 64 characters.
    std::string Serve(const std::string& bytes) const {
        const int before = test::LiveBlocks();
        Write(bytes);
        VormaZelData* provider = VORMA_DLL_ENTRY();
        if (provider == nullptr) {
            return "no provider";
        }
#if defined(_WIN32)
        EXPECT_THROW(Write("x"), std::runtime_error);
#else
        Write("x");
#endif
        // The provider's calls allocate nothing.
        test::FailAllocationsFrom(1);
        const ZELDictionaryHeader* dictionary = provider->dataDictionary();
        for (int id = 1; id <= dictionary->count; ++id) {
            const ZELDictionaryField& field = FieldRecord(dictionary, static_cast<unsigned>(id));
            const std::string name = field.name;
            EXPECT_EQ(provider->idFromName(name.c_str()), field.type == 0 ? -1 : id);
            EXPECT_EQ(provider->idFromName((name + '-').c_str()), name.size() == 64 ? id : -1);
        }
        EXPECT_EQ(provider->idFromName(nullptr), -1);
        void* (VormaZelData::*const reserved[])() = {
            &VormaZelData::reserved3,  &VormaZelData::reserved4,  &VormaZelData::reserved5,  &VormaZelData::reserved6,
            &VormaZelData::reserved7,  &VormaZelData::reserved8,  &VormaZelData::reserved9,  &VormaZelData::reserved10,
            &VormaZelData::reserved11, &VormaZelData::reserved12, &VormaZelData::reserved13, &VormaZelData::reserved14,
            &VormaZelData::reserved15};
        for (const auto slot : reserved) {
            EXPECT_EQ((provider->*slot)(), nullptr);
        }
        std::string contents = Contents(dictionary, provider->messageTable());
        EXPECT_EQ(test::AllocationCount(), 0);
        test::FailAllocationsFrom(0);
        EXPECT_EQ(test::LiveBlocks(), before + 1);
        provider->destroy(1);
        EXPECT_EQ(test::LiveBlocks(), before);
        return contents;
    }

    void ExpectRefusal(const std::string& reason) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(VORMA_DLL_ENTRY(), nullptr);
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(said.starts_with("zeldata: no dictionary: " + path_ + ' ' + reason)) << said;
        EXPECT_EQ(said.find('\n'), said.size() - 1) << said;
    }

    test::WorkFolder folder_;
    std::string path_ = "served.img";
};

TEST_F(ProviderFile, ServesWhatTheSourceSays) {
    std::string expected;
    for (const test::Cells& line : test::ReadCases("tests/zeldata/cases/small.txt", 1)) {
        expected += line[0] + '\n';
    }
    EXPECT_EQ(Serve(SmallImage()), expected);
    const std::string sample = Serve(Build("zeldata/sample.json"));
    for (const test::Cells& line : test::ReadCases("tests/zeldata/cases/sample.txt", 1)) {
        EXPECT_NE(sample.find('\n' + line[0] + '\n'), std::string::npos) << line[0];
    }
}

TEST_F(ProviderFile, RefusesWithOneLineThatSaysWhy) {
    std::string bytes = SmallImage();
    std::string shown = "???\xc2?ä.img";
    Write(bytes);
    test::FailAllocationsFrom(1);
    ExpectRefusal("cannot be served: out of memory");
    test::FailAllocationsFrom(0);
    ++bytes.back();
    Write(bytes);
    ExpectRefusal("is damaged: its checksum is ");
    bytes.pop_back();
    Write(bytes);
    ExpectRefusal("has " + std::to_string(bytes.size()) + " bytes; its header says ");
    Write("");
    ExpectRefusal("is empty");
    std::filesystem::remove(path_);
    ExpectRefusal("cannot be opened: ");
    test::SetEnvironment("ZELDATA_IMAGE", "\n\x1b\x7f\u009bä.img");
    std::swap(path_, shown);
    ExpectRefusal("cannot be opened: ");
    std::swap(path_, shown);
    test::SetEnvironment("ZELDATA_IMAGE", path_);
    std::filesystem::create_directory(path_);
    ExpectRefusal("");
}

TEST(NameTable, HoldsTheLargestDictionary) {
    constexpr std::uint16_t kFields = 32767;
    constexpr std::uint32_t kSlots = 1U << 17U;
    std::vector<std::uint16_t> slots(kSlots);
    std::vector<ZELDictionaryField> records(kFields + 1U);
    for (std::uint16_t id = 1; id <= kFields; ++id) {
        ("FIELD_" + std::to_string(id)).copy(records[id].name, 64);
        ASSERT_TRUE(InsertName(slots.data(), kSlots, records[id].name, id));
    }
    const auto* dictionary = static_cast<const ZELDictionaryHeader*>(static_cast<const void*>(records.data()));
    for (std::uint16_t id = 1; id <= kFields; ++id) {
        ASSERT_EQ(FindName(dictionary, slots.data(), kSlots, records[id].name), id);
    }
    std::vector<std::uint16_t> full(kSlots, 1);
    EXPECT_EQ(FindName(dictionary, full.data(), kSlots, "ABSENT"), 0);
    EXPECT_FALSE(InsertName(full.data(), kSlots, "ABSENT", 2));
}

TEST(ImageCheck, RefusesEveryTruncation) {
    const std::string whole = SmallImage();
    EXPECT_EQ(Fault(whole), "");
    ImageView view;
    ImageFault fault{};
    EXPECT_FALSE(CheckImage(whole.data(), kMaxFileSize + 1U, view, fault));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_NE(Fault(whole.substr(0, size)), "") << size;
        EXPECT_TRUE(size < sizeof(ImageHeader) || !Fault(Sealed(whole.substr(0, size))).empty()) << size;
    }
}

TEST(ImageCheck, NamesTheDamage) {
    EXPECT_EQ(Checksum("123456789", 9), 0xCBF43926U) << "the common CRC-32";
    std::string whole = SmallImage();
    ImageHeader header;
    std::memcpy(&header, whole.data(), sizeof header);
    whole[header.dictionaryOffset + 2] = 1;  // lets id 0 look like a field in use
    const std::map<std::string, std::pair<std::size_t, std::size_t>> parts = {
        {"header", {0, 0}},
        {"field", {header.dictionaryOffset, sizeof(ZELDictionaryField)}},
        {"type", {header.typesOffset, sizeof(ImageType)}},
        {"message", {header.subTypesOffset, sizeof(ImageSubType)}},
        {"entry", {header.fieldListsOffset, sizeof(ZELFieldListEntry)}},
        {"name", {header.namesOffset, sizeof(std::uint16_t)}}};
    for (const test::Cells& row : test::ReadCases("tests/zeldata/cases/damage.txt", 6)) {
        const auto [offset, stride] = parts.at(row[1]);
        const std::string damage = test::FromHex(row[4]);
        std::string bytes = whole;
        bytes.replace(offset + std::stoul(row[2]) * stride + std::stoul(row[3]), damage.size(), damage);
        EXPECT_NE(Fault(Sealed(bytes)).find(row[5]), std::string::npos) << row[0] << ": " << Fault(Sealed(bytes));
    }
}

}  // namespace
}  // namespace zel::image
