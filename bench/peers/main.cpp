// Compares this library with others on the order: prints a table, and writes JSON to the file that the first argument
// names. Each figure is the best of several rounds in which the libraries take turns.
#include <cstdio>
#include <cstring>
#include <memory>

#include "bench/peers/contender.h"
#include "bench/peers/values.h"
#include "bench/timing.h"

namespace zel::bench {
namespace {

struct Result {
    std::string name;
    std::size_t bytes = 0;
    double encode = kNotTimed;
    double decode = kNotTimed;
};

struct Zel {
    CZELMessage sent{0, 0};
    CZELMessage received{0, 0};
    OrderIds ids = FindOrderIds();
    char frame[kZELMaxFrame];
    long length = 0;
};

void AddZel(std::vector<Contender>& contenders, Zel& zel) {
    contenders.push_back(
        {"ZEL",
         [&zel] {
             CreateOrder(zel.sent);
             SetOrder(zel.sent, zel.ids, SampleOrder());
             return zel.sent.packMessage(zel.frame, &zel.length) == 0 ? static_cast<std::size_t>(zel.length) : 0;
         },
         [&zel] {
             return zel.received.unpackMessage(zel.frame) == 0 ? ReadOrder(zel.received, zel.ids) : std::uint64_t{0};
         }});
    contenders.push_back(
        {"ZEL, fresh objects",
         [&zel] {
             CZELMessage sent(0, 0);
             CreateOrder(sent);
             SetOrder(sent, zel.ids, SampleOrder());
             return sent.packMessage(zel.frame, &zel.length) == 0 ? static_cast<std::size_t>(zel.length) : 0;
         },
         [&zel] {
             CZELMessage received(0, 0);
             return received.unpackMessage(zel.frame) == 0 ? ReadOrder(received, zel.ids) : std::uint64_t{0};
         }});
}

// The floor: the bytes of this library's message, copied.
void AddCopy(std::vector<Contender>& contenders, Zel& zel, std::vector<char>& copy) {
    const auto work = [&zel, &copy] {
        std::memcpy(copy.data(), zel.frame, static_cast<std::size_t>(zel.length));
        return static_cast<std::size_t>(copy[copy.size() / 2]) + 1;
    };
    contenders.push_back({"memcpy of the ZEL bytes", work, work});
}

void AddPeers(std::vector<Contender>& contenders) {
#if defined(ZEL_BENCH_FLATBUFFERS)
    AddFlatbuffers(contenders);
#endif
#if defined(ZEL_BENCH_CAPNPROTO)
    AddCapnProto(contenders);
#endif
#if defined(ZEL_BENCH_PROTOBUF)
    AddProtobuf(contenders);
#endif
#if defined(ZEL_BENCH_MSGPACK)
    AddMsgpack(contenders);
#endif
#if defined(ZEL_BENCH_QUICKFIX)
    AddQuickfix(contenders);
#endif
}

void PrintTable(const std::vector<Result>& results) {
    const Result& zel = results.front();
    std::printf("%-26s %7s %12s %8s %12s %8s\n", "order of 35 fields", "bytes", "encode ns", "x ZEL", "decode ns",
                "x ZEL");
    for (const Result& result : results) {
        std::printf("%-26s %7zu %12.0f %8.2f %12.0f %8.2f\n", result.name.c_str(), result.bytes, result.encode,
                    result.encode / zel.encode, result.decode, result.decode / zel.decode);
    }
    std::printf("%s", ZEL_BENCH_MISSING);
}

void PrintConversions(const std::vector<Conversion>& conversions) {
    std::printf("\n%-26s %7s %12s %8s\n", "values", "ZEL ns", "C library ns", "x ZEL");
    for (const Conversion& each : conversions) {
        std::printf("%-26s %7.1f ", each.name.c_str(), each.zelTime);
        if (each.printed) {
            std::printf("%12.1f %8.2f", each.printedTime, each.printedTime / each.zelTime);
        }
        std::puts("");
    }
}

void WriteConversions(std::FILE* file, const std::vector<Conversion>& conversions) {
    for (const Conversion& each : conversions) {
        std::fprintf(file, "    {\"name\": \"%s\", \"ns\": %.1f", each.name.c_str(), each.zelTime);
        if (each.printed) {
            std::fprintf(file, ", \"c_library_ns\": %.1f", each.printedTime);
        }
        std::fprintf(file, "}%s\n", &each == &conversions.back() ? "" : ",");
    }
}

bool WriteJson(const std::vector<Result>& results, const std::vector<Conversion>& conversions, const char* path) {
    std::FILE* file = std::fopen(path, "w");
    if (file == nullptr) {
        return false;
    }
    std::fprintf(file, "{\n  \"order\": [\n");
    for (const Result& result : results) {
        std::fprintf(file, "    {\"name\": \"%s\", \"bytes\": %zu, \"encode_ns\": %.1f, \"decode_ns\": %.1f}%s\n",
                     result.name.c_str(), result.bytes, result.encode, result.decode,
                     &result == &results.back() ? "" : ",");
    }
    std::fprintf(file, "  ],\n  \"values\": [\n");
    WriteConversions(file, conversions);
    std::fprintf(file, "  ]\n}\n");
    return std::fclose(file) == 0;
}

int Run(const char* json) {
    const auto zel = std::make_unique<Zel>();
    std::vector<char> copy(kZELMaxFrame);
    std::vector<Contender> contenders;
    AddZel(contenders, *zel);
    AddCopy(contenders, *zel, copy);
    AddAnyMessage(contenders);
    AddRecord(contenders);
    AddPeers(contenders);
    std::vector<Result> results;
    for (const Contender& contender : contenders) {
        const std::size_t bytes = contender.encode();
        if (bytes == 0 || contender.decode() == 0) {
            std::fprintf(stderr, "%s does not read what it wrote\n", contender.name.c_str());
            return 1;
        }
        results.push_back({contender.name, bytes});
    }
    results[2].bytes = results[0].bytes;
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t at = 0; at < contenders.size(); ++at) {
            Improve(results[at].encode, contenders[at].encode);
            Improve(results[at].decode, contenders[at].decode);
        }
    }
    const std::vector<Conversion> conversions = TimeConversions();
    PrintTable(results);
    PrintConversions(conversions);
    return json == nullptr || WriteJson(results, conversions, json) ? 0 : 1;
}

}  // namespace
}  // namespace zel::bench

int main(int argc, char** argv) {
    CZELMessage::init();
    const int status = CZELMessage::getVormaZelData() != nullptr ? zel::bench::Run(argc > 1 ? argv[1] : nullptr) : 1;
    CZELMessage::terminate();
    return status;
}
