// Each platform must read what the other writes. `write FOLDER` writes packed messages, streams and conversions to
// files; `read FOLDER` compares the files that another build wrote with its own.
#include <array>
#include <bit>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "include/zelstream.h"
#include "tests/support/made_message.h"
#include "tests/support/random_message.h"
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

struct Kind {
    short type;
    const ZELSubTypeNode* node;
};

std::vector<Kind> AllKinds() {
    std::vector<Kind> kinds;
    for (const ZELTypeNode* type = ProviderTables().messages; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            kinds.push_back({type->type, node});
        }
    }
    return kinds;
}

// The n-th message of a kind is the same in every build.
void Fill(CZELMessage& message, const Kind& kind, int format, int compressMode, int n) {
    Random random(static_cast<unsigned>(kind.type * 1000 + kind.node->subType * 100 + format * 10 + n));
    FillRandomly(message, ProviderTables(), kind.type, *kind.node, static_cast<short>(7 * n + 1), format == 1, random);
    message.message->format = static_cast<unsigned short>(format);
    message.message->encryptFlag = static_cast<unsigned short>(n % 2);
    message.compressMode = compressMode;
    message.shortFrame = n % 2;
    message.serviceIdHigh = static_cast<short>(n);
    message.message->userData = -4711;
}

// Visits every message of the files in their order: visit(file, message, its own packed bytes).
template <typename Visit>
void ForEachMessage(Visit visit) {
    for (int format = 0; format <= 2; ++format) {
        for (int compressMode = 0; compressMode <= 2; ++compressMode) {
            const std::string file =
                "messages-format-" + std::to_string(format) + "-mode-" + std::to_string(compressMode);
            for (const Kind& kind : AllKinds()) {
                for (int n = 0; n < 4; ++n) {
                    CZELMessage message(0, format == 2 ? 1 : 0);
                    Fill(message, kind, format, compressMode, n);
                    const std::string packed = Pack(message);
                    if (packed.empty()) {
                        Tell(file, "a message cannot be packed");
                    }
                    visit(file, message, packed);
                }
            }
        }
    }
}

Files PackMessages() {
    Files files;
    ForEachMessage(
        [&](const std::string& file, const CZELMessage&, const std::string& packed) { files[file] += packed; });
    return files;
}

// All bytes must be readable and, except compressed ones, equal: compressors may differ.
void ReadMessages(const Files& files) {
    std::map<std::string, std::size_t> read;
    ForEachMessage([&](const std::string& file, const CZELMessage& own, const std::string& packed) {
        std::size_t& at = read[file];
        const std::string& bytes = files.at(file);
        CZELMessage message(0, 0);
        long length = 0;
        short frameType = 0;
        if (message.getHeaderInfo(bytes.data() + at, &length, &frameType) != 0 ||
            message.unpackMessage(bytes.data() + at) != 0) {
            return Tell(file, "the message at " + std::to_string(at) + " cannot be unpacked");
        }
        const std::string difference = Difference(own, message, ProviderTables(), own.message->format == 1);
        if (!difference.empty() || message.message->userData != -4711 || message.serviceIdHigh != own.serviceIdHigh) {
            Tell(file, "the message at " + std::to_string(at) + ": " + difference);
        }
        const std::size_t size = static_cast<std::size_t>(length) + (frameType == 1 ? 4 : 6);
        if (own.compressMode != 1 && bytes.compare(at, size, packed) != 0) {
            Tell(file, "the bytes at " + std::to_string(at) + " differ");
        }
        at += size;
    });
    for (const auto& [file, at] : read) {
        if (at != files.at(file).size()) {
            Tell(file, "goes on after its messages");
        }
    }
}

// Visits every record: visit(file, agreement). The n-th layout of a kind is the same in every build, but for the
// padding; the values are not.
template <typename Visit>
void ForEachRecord(Visit visit) {
    for (const Kind& kind : AllKinds()) {
        for (int n = 0; n < 8; ++n) {
            Random random(static_cast<unsigned>(kind.type * 1000 + kind.node->subType * 10 + n));
            RecordAgreement agreement(random, ProviderTables(), kind.type, *kind.node);
            visit("record-" + std::to_string(kind.type) + '-' + std::to_string(kind.node->subType) + '-' +
                      std::to_string(n),
                  agreement);
        }
    }
}

// What a record and a message object packed, and the values in it.
Files PackRecords() {
    Files files;
    ForEachRecord([&](const std::string& file, RecordAgreement& agreement) {
        files[file] = agreement.Pack();
        files[file + "-values"] = agreement.Unpack(files[file]);
    });
    return files;
}

void ReadRecords(Files& files) {
    int packed = 0;
    ForEachRecord([&](const std::string& file, RecordAgreement& agreement) {
        packed += files[file].empty() ? 0 : 1;
        if (agreement.Unpack(files[file]) != files[file + "-values"]) {
            Tell(file, "has other values than it was written with");
        }
    });
    if (packed < 60) {
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
    Files all = PackMessages();
    all.merge(PackRecords());
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
        if (!name.starts_with("messages") && !name.starts_with("record") && theirs[name] != own) {
            Tell(name, "differs");
        }
    }
    ReadMessages(theirs);
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
