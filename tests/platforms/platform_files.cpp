// Each platform must read what the other writes. `write FOLDER` writes messages, streams and conversions to
// files; `read FOLDER` compares the files that another build wrote with its own.
#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "include/zelstream.h"
#include "tests/support/record_agreement.h"

namespace zel::test {
namespace {

using Files = std::map<std::string, std::string>;

int differences = 0;

void Tell(const std::string& where, const std::string& what) {
    ++differences;
    (void)std::printf("%s: %s\n", where.c_str(), what.c_str());
}

Tables ProviderTables() {
    VormaZelData* provider = CZELMessage::getVormaZelData();
    return {provider->dataDictionary(), provider->messageTable()};
}

// Visits every record: visit(file, agreement). The n-th layout of a message is the same in every build, but for the
// padding; the values are not.
template <typename Visit>
void ForEachRecord(Visit visit) {
    for (const ZELTypeNode* type = ProviderTables().messages; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            for (int n = 0; n < 25; ++n) {
                Random random(static_cast<unsigned>(type->type * 1000 + node->subType * 30 + n));
                RecordAgreement agreement(random, ProviderTables(), type->type, *node);
                visit("record-" + std::to_string(type->type) + '-' + std::to_string(node->subType) + '-' +
                          std::to_string(n),
                      agreement);
            }
        }
    }
}

// What a record and a message object packed: how long it is, the message, and the values in it.
Files PackRecords() {
    Files files;
    ForEachRecord([&](const std::string& file, RecordAgreement& agreement) {
        const std::string message = agreement.Pack();
        files[file] = std::to_string(message.size()) + '\n' + message + agreement.Unpack(message);
    });
    return files;
}

void ReadRecords(Files& files) {
    int packed = 0;
    ForEachRecord([&](const std::string& file, RecordAgreement& agreement) {
        const std::string& bytes = files[file];
        const std::size_t at = bytes.find('\n') + 1;
        const std::size_t size = std::strtoul(bytes.c_str(), nullptr, 10);
        packed += size != 0 ? 1 : 0;
        if (agreement.Unpack(bytes.substr(at, size)) != bytes.substr(at + size)) {
            Tell(file, "has other values than it was written with");
        }
    });
    if (packed < 200) {
        Tell("records", "few were packed");
    }
}

short FieldId(const char* name) {
    return static_cast<short>(CZELMessage::getVormaZelData()->idFromName(name));
}

Files BuildStreams() {
    Files files;
    for (int n = 0; n < 40; ++n) {
        Random random(static_cast<unsigned>(n));
        ZELFilter filter;
        ZELSortData sort;
        for (int term = 0; term < n; ++term) {
            const int number = static_cast<int>(random());
            const char* op = std::array{"=", "!=", ">", "<", ">=", "<="}[random() % 6];
            const std::string text(random() % 50, 'x');
            filter.AddFilter(FieldId("SIDE"), op, static_cast<short>(number));
            filter.AddFilter(FieldId("QUANTITY"), op, static_cast<long>(number));
            filter.AddFilter(FieldId("CONTRACT_SIZE"), op, number);
            filter.AddFilter(FieldId("COMMISSION_RATE"), op, static_cast<float>(number) / 7);
            filter.AddFilter(FieldId("AVERAGE_PRICE"), op, number / 7.0);
            filter.AddFilter(FieldId("LIMIT_PRICE"), op, _money{number, 20});
            filter.AddFilter(FieldId("ENTERED_AT"), op, std::bit_cast<_datetime>(number * 0x100000001LL));
            filter.AddFilter(FieldId("SYMBOL"), op, text.c_str(), static_cast<int>(text.size()));
            sort.AddSortData(static_cast<short>(number), static_cast<short>(number >> 16));
        }
        const std::string name = std::to_string(n);
        files["filter-" + name].assign(filter.GetStream(), static_cast<std::size_t>(filter.GetLength()));
        files["sort-" + name].assign(sort.GetStream(), static_cast<std::size_t>(sort.GetLength()));
    }
    return files;
}

std::string MoneyLines(Random& random) {
    std::string lines;
    for (int i = 0; i < 20000; ++i) {
        // Numbers of every size, not only of nine and ten digits.
        const int amount = static_cast<int>(random()) >> random() % 32;
        constexpr short kCodes[] = {1, 2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50, 512, 561, 611, 0, -1};
        const _money money{amount, kCodes[random() % std::size(kCodes)]};
        char text[24] = "";
        const int result = ZELMoneyToStr(&money, text, static_cast<short>(i % 5));
        _money back{};
        const int parsed = ZELStrToMoney(text, &back);
        lines += std::to_string(result) + ' ' + text + ' ' + std::to_string(parsed) + ' ' +
                 std::to_string(back.amount) + ' ' + std::to_string(back.displayCode) + '\n';
    }
    return lines;
}

std::string DateLines(Random& random) {
    std::string lines;
    for (int i = 0; i < 20000; ++i) {
        const auto day = static_cast<unsigned>(random());
        const auto time = static_cast<unsigned>(random());
        const _datetime value{static_cast<signed char>(day % 32),
                              static_cast<signed char>(day / 32 % 13),
                              static_cast<unsigned char>(day >> 16),
                              static_cast<signed char>(time % 25),
                              static_cast<signed char>(time / 25 % 60),
                              static_cast<signed char>(time >> 26),
                              0,
                              static_cast<unsigned char>(time / 1500 % 4)};
        char date[18] = "";
        char clock[18] = "";
        char both[18] = "";
        lines += std::to_string(ZELDateToStr(&value, date, static_cast<short>(i % 18))) +
                 std::to_string(ZELTimeToStr(&value, clock, static_cast<short>(i % 7))) +
                 std::to_string(ZELDateTimeToStr(&value, both));
        _datetime back{};
        lines += std::to_string(ZELStrToDate(date, &back, static_cast<short>(i % 16))) +
                 std::to_string(ZELAddStrToTime(clock, &back));
        lines += std::string(" ").append(date).append(" ").append(clock).append(" ").append(both);
        for (const unsigned byte : std::bit_cast<std::array<unsigned char, sizeof back>>(back)) {
            lines.append(" ").append(std::to_string(byte));
        }
        lines += '\n';
    }
    return lines;
}

std::string FractionLines() {
    std::string lines;
    for (int i = 0; i < 4000; ++i) {
        const std::string decimals = std::to_string(i / 128.0);
        char* fraction = ConvertDecimalToFraction(decimals.c_str());
        lines +=
            decimals + ' ' + (fraction == nullptr ? "none" : fraction) + ' ' + std::to_string(FindGCF(i, 360)) + '\n';
        ZELFree(fraction);
    }
    return lines;
}

Files Convert() {
    Random random(7);
    const std::string money = MoneyLines(random);
    return {{"money", money}, {"dates", DateLines(random)}, {"fractions", FractionLines()}};
}

Files AllFiles() {
    Files all = PackRecords();
    all.merge(BuildStreams());
    all.merge(Convert());
    return all;
}

void Write(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    for (const auto& [name, bytes] : AllFiles()) {
        std::ofstream file(folder / name, std::ios::binary);
        if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
            Tell(name, "cannot be written");
        }
    }
}

void Read(const std::filesystem::path& folder) {
    Files theirs;
    for (const auto& [name, own] : AllFiles()) {
        std::ifstream file(folder / name, std::ios::binary);
        theirs[name] = {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        if (!name.starts_with("record") && theirs[name] != own) {
            Tell(name, "differs");
        }
    }
    ReadRecords(theirs);
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
    verb == "write" ? zel::test::Write(argv[2]) : zel::test::Read(argv[2]);
    CZELMessage::terminate();
    return zel::test::differences == 0 ? 0 : 1;
}
