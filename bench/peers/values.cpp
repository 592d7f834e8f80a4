#include "bench/peers/values.h"

#include <cstdio>
#include <cstdlib>

#include "bench/order.h"
#include "bench/printed_values.h"
#include "bench/timing.h"
#include "include/zelstream.h"

namespace zel::bench {

namespace {

constexpr _money kPrice{-123456, 20};
constexpr _money kFraction{3235, 8};
constexpr _datetime kMoment{30, 11, 99, 9, 5, 7, 0, 3};

// Depends on the text, so that the compiler keeps the work.
template <typename Work>
std::uint64_t Text(Work work) {
    char text[32];
    work(text);
    return static_cast<unsigned char>(text[0]) + static_cast<std::uint64_t>(static_cast<unsigned char>(text[5]));
}

void PrintFraction(char* text) {
    int whole = 0;
    char decimals[6] = "";
    // NOLINTNEXTLINE(cert-err34-c): sscanf is what is measured.
    (void)std::sscanf("12.125", "%d.%5[0-9]", &whole, decimals);
    const long numerator = std::strtol(decimals, nullptr, 10);
    const long factor = FindGCF(numerator, 1000);
    (void)std::snprintf(text, 32, "%d %ld/%ld", whole, numerator / factor, 1000 / factor);
}

std::uint64_t BuildFilter(const OrderIds& ids) {
    ZELFilter filter;
    filter.AddFilter(ids.side, "=", short{1});
    filter.AddFilter(ids.quantity, ">=", 5000L);
    filter.AddFilter(ids.limitPrice, "<", kPrice);
    filter.AddFilter(ids.texts[1], "=", "BARLEY24", 8);
    return static_cast<std::uint64_t>(filter.GetLength());
}

std::vector<Conversion> Conversions() {
    std::vector<Conversion> all;
    const auto add = [&all](const char* name, auto zel, auto printed) {
        all.push_back({name, [zel] { return Text(zel); }, [printed] { return Text(printed); }});
    };
    add(
        "money to text", [](char* text) { ZELMoneyToStr(&kPrice, text, 0); },
        [](char* text) { PrintMoney(kPrice, text, 0); });
    add(
        "money to fraction text", [](char* text) { ZELMoneyToStr(&kFraction, text, 0); },
        [](char* text) { PrintMoney(kFraction, text, 0); });
    add(
        "date to text", [](char* text) { ZELDateToStr(&kMoment, text, 14); },
        [](char* text) { PrintDate(kMoment, text, 14); });
    add(
        "time to text", [](char* text) { ZELTimeToStr(&kMoment, text, 3); },
        [](char* text) { PrintTime(kMoment, text, 3); });
    all.push_back({"decimals to fraction",
                   [] {
                       char* text = ConvertDecimalToFraction("12.125");
                       const auto first = static_cast<unsigned char>(text[0]);
                       ZELFree(text);
                       return std::uint64_t{first};
                   },
                   [] {
                       auto* text = static_cast<char*>(std::calloc(1, 32));
                       PrintFraction(text);
                       const auto first = static_cast<unsigned char>(text[0]);
                       std::free(text);
                       return std::uint64_t{first};
                   }});
    const OrderIds ids = FindOrderIds();
    all.push_back({"filter of 4 terms, built", [ids] { return BuildFilter(ids); }, nullptr});
    return all;
}

}  // namespace

std::vector<Conversion> TimeConversions() {
    std::vector<Conversion> all = Conversions();
    for (Conversion& conversion : all) {
        conversion.zelTime = kNotTimed;
        conversion.printedTime = kNotTimed;
    }
    for (int round = 0; round < kRounds; ++round) {
        for (Conversion& conversion : all) {
            Improve(conversion.zelTime, conversion.zel);
            if (conversion.printed) {
                Improve(conversion.printedTime, conversion.printed);
            }
        }
    }
    return all;
}

}  // namespace zel::bench
