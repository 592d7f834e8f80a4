// Each platform must read what the other writes. `write FOLDER` packs records of every message into files; `read
// FOLDER` unpacks the files that another build wrote.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "tests/support/record_agreement.h"

namespace zel::test {
namespace {

// Visits every record: visit(file, agreement). The n-th layout of a message is the same in every build, but for the
// padding; the values are not.
template <typename Visit>
void ForEachRecord(Visit visit) {
    VormaZelData* provider = CZELMessage::getVormaZelData();
    const Tables tables = {provider->dataDictionary(), provider->messageTable()};
    for (const ZELTypeNode* type = tables.messages; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            for (int n = 0; n < 25; ++n) {
                Random random(static_cast<unsigned>(type->type * 1000 + node->subType * 30 + n));
                RecordAgreement agreement(random, tables, type->type, *node);
                visit(std::to_string(type->type) + '-' + std::to_string(node->subType) + '-' + std::to_string(n),
                      agreement);
            }
        }
    }
}

// What a record and a message object packed: how long it is, the message, and the values in it.
void Write(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    ForEachRecord([&](const std::string& name, RecordAgreement& agreement) {
        const std::string message = agreement.Pack();
        std::ofstream file(folder / name, std::ios::binary);
        file << message.size() << '\n' << message << agreement.Unpack(message);
    });
}

// Whether all values are those that were written.
bool Read(const std::filesystem::path& folder) {
    int packed = 0;
    bool isSame = true;
    ForEachRecord([&](const std::string& name, RecordAgreement& agreement) {
        std::ifstream file(folder / name, std::ios::binary);
        const std::string bytes(std::istreambuf_iterator<char>(file), {});
        const std::size_t at = bytes.find('\n') + 1;
        const std::size_t size = std::strtoul(bytes.c_str(), nullptr, 10);
        packed += size != 0 ? 1 : 0;
        if (agreement.Unpack(bytes.substr(at, size)) != bytes.substr(at + size)) {
            isSame = false;
            (void)std::printf("%s: has other values than it was written with\n", name.c_str());
        }
    });
    if (packed < 200) {
        (void)std::printf("only %d records were packed\n", packed);
    }
    return isSame && packed >= 200;
}

}  // namespace
}  // namespace zel::test

int main(int argc, char** argv) {
    const std::string verb = argc == 3 ? argv[1] : "";
    CZELMessage::init();
    if ((verb != "write" && verb != "read") || CZELMessage::getVormaZelData() == nullptr) {
        (void)std::printf("usage: zel_platform_files write|read FOLDER, with a provider\n");
        return 2;
    }
    bool isSame = true;
    if (verb == "write") {
        zel::test::Write(argv[2]);
    } else {
        isSame = zel::test::Read(argv[2]);
    }
    CZELMessage::terminate();
    return isSame ? 0 : 1;
}
