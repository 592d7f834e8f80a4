// Each conversion, and the same work done with snprintf and sscanf ("Printed", "Scanned").
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/printed_values.h"
#include "convert/money_double.h"
#include "include/zelmessage.h"

namespace {

using zel::bench::PrintDate;
using zel::bench::PrintMoney;
using zel::bench::PrintTime;

constexpr int kValues = 16;

// Amounts and texts of a trading day: small and large, both signs, one code at a time.
void FillAmounts(_money (&values)[kValues], short code) {
    int amount = 7;
    for (_money& value : values) {
        value = {amount, code};
        amount = -(amount % 100000000) * 3 - 1;
    }
}

template <auto render>
void RenderMoney(benchmark::State& state) {
    _money values[kValues];
    FillAmounts(values, static_cast<short>(state.range(0)));
    char text[32] = {};
    std::size_t i = 0;
    while (state.KeepRunning()) {
        render(values[i++ % kValues], text, static_cast<short>(state.range(1)));
        benchmark::DoNotOptimize(text);
    }
}

void ZelMoney(const _money& money, char* text, short format) {
    ZELMoneyToStr(&money, text, format);
}

void PrintedMoney(const _money& money, char* text, short format) {
    PrintMoney(money, text, format);
}

// As a program would write it by hand: the characters of the text tell whole units, decimals and fractions apart.
int ScanMoney(const char* text, _money* money) {
    int whole = 0;
    int numerator = 0;
    int denominator = 1;
    char decimals[6] = "";
    const bool negative = std::strchr(text, '-') != nullptr;
    text += std::strspn(text, " -$");
    if (std::strchr(text, '.') != nullptr) {
        // NOLINTNEXTLINE(cert-err34-c): sscanf is what is measured.
        if (std::sscanf(text, "%d.%5[0-9]", &whole, decimals) != 2) {
            return -1;
        }
        numerator = static_cast<int>(std::strtol(decimals, nullptr, 10));
        for (const char* digit = decimals; *digit != '\0'; ++digit) {
            denominator *= 10;
        }
        // NOLINTNEXTLINE(cert-err34-c): sscanf is what is measured.
    } else if (std::sscanf(text, "%d %d/%d", &whole, &numerator, &denominator) == 1) {
        numerator = 0;
    }
    short code = 0;
    switch (denominator) {
        case 10:
            code = 10;
            break;
        case 100:
            code = 20;
            break;
        case 1000:
            code = 30;
            break;
        default:
            code = static_cast<short>(denominator);
            break;
    }
    const int amount = whole * denominator + numerator;
    *money = {negative ? -amount : amount, code};
    return 0;
}

template <auto parse>
void ParseMoney(benchmark::State& state, const char* text) {
    _money money{};
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text);
        parse(text, &money);
        benchmark::DoNotOptimize(money);
    }
}

constexpr _datetime kMoment{30, 11, 99, 9, 5, 7, 0, 3};

template <auto render>
void RenderMoment(benchmark::State& state) {
    _datetime moment = kMoment;
    char text[18];
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(moment);
        render(moment, text);
        benchmark::DoNotOptimize(text);
    }
}

void ZelDate(const _datetime& value, char* text) {
    ZELDateToStr(&value, text, 14);
}

void PrintedDate(const _datetime& value, char* text) {
    PrintDate(value, text, 14);
}

void ZelTime(const _datetime& value, char* text) {
    ZELTimeToStr(&value, text, 3);
}

void PrintedTime(const _datetime& value, char* text) {
    PrintTime(value, text, 3);
}

void ZelDateTime(const _datetime& value, char* text) {
    ZELDateTimeToStr(&value, text);
}

void PrintedDateTime(const _datetime& value, char* text) {
    PrintDate(value, text, 1);
    char* at = text + std::strlen(text);
    *at = ' ';
    PrintTime(value, at + 1, 3);
}

template <auto parse>
void ParseMoment(benchmark::State& state, const char* text) {
    _datetime value{};
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(text);
        parse(text, value);
        benchmark::DoNotOptimize(value);
    }
}

void ZelReadDate(const char* text, _datetime& value) {
    ZELStrToDate(text, &value, 14);
}

void ScannedDate(const char* text, _datetime& value) {
    int month = 0;
    int day = 0;
    int year = 0;
    // NOLINTNEXTLINE(cert-err34-c): sscanf is what is measured.
    if (std::sscanf(text, "%2d/%2d/%4d", &month, &day, &year) == 3 && month <= 12 && day <= 31 && year <= 2154) {
        value = {static_cast<signed char>(day),
                 static_cast<signed char>(month),
                 static_cast<unsigned char>(year - 1900),
                 0,
                 0,
                 0,
                 0,
                 1};
    }
}

void ZelReadTime(const char* text, _datetime& value) {
    ZELStrToTime(text, &value);
}

void ScannedTime(const char* text, _datetime& value) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    // NOLINTNEXTLINE(cert-err34-c): sscanf is what is measured.
    if (std::sscanf(text, "%2d:%2d:%2d", &hour, &minute, &second) == 3 && hour <= 24 && minute <= 59 && second <= 59) {
        value = {
            0, 0, 0, static_cast<signed char>(hour), static_cast<signed char>(minute), static_cast<signed char>(second),
            0, 2};
    }
}

// Decimals to fraction, with its block, and double to money.
void ZelFraction(benchmark::State& state) {
    while (state.KeepRunning()) {
        char* text = ConvertDecimalToFraction("12.125");
        benchmark::DoNotOptimize(text);
        ZELFree(text);
    }
}

void PrintedFraction(benchmark::State& state) {
    while (state.KeepRunning()) {
        _money money{};
        ScanMoney("12.125", &money);
        auto* text = static_cast<char*>(std::calloc(1, 32));
        const long factor = FindGCF(money.amount % 1000, 1000);
        static_cast<void>(std::snprintf(text, 32, "%d %ld/%ld", static_cast<int>(money.amount / 1000),
                                        money.amount % 1000 / factor, 1000 / factor));
        benchmark::DoNotOptimize(text);
        std::free(text);
    }
}

void ZelDouble(benchmark::State& state) {
    double value = 1234.375;
    _money money{};
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(zel::DoubleToMoney(value, &money));
    }
}

void PrintedDouble(benchmark::State& state) {
    double value = 1234.375;
    _money money{};
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(value);
        char text[330];
        int length = std::snprintf(text, sizeof text, "%.6f", value);
        while (length > 1 && text[length - 1] == '0') {
            --length;
        }
        text[length] = '\0';
        benchmark::DoNotOptimize(ScanMoney(text, &money));
    }
}

void RegisterMoney() {
    struct Kind {
        int code;
        int format;
    };
    for (const Kind& kind : {Kind{1, 0}, {20, 0}, {20, 3}, {50, 3}, {8, 0}, {8, 1}}) {
        benchmark::RegisterBenchmark("MoneyToStr/zel", RenderMoney<ZelMoney>)->Args({kind.code, kind.format});
        benchmark::RegisterBenchmark("MoneyToStr/printed", RenderMoney<PrintedMoney>)->Args({kind.code, kind.format});
    }
    for (const char* text : {"1234567", "-1234.56", "101 7/8"}) {
        const std::string name = std::string("StrToMoney \"") + text + "\"";
        benchmark::RegisterBenchmark((name + "/zel").c_str(), ParseMoney<ZELStrToMoney>, text);
        benchmark::RegisterBenchmark((name + "/scanned").c_str(), ParseMoney<ScanMoney>, text);
    }
}

void RegisterMoments() {
    benchmark::RegisterBenchmark("DateToStr/zel", RenderMoment<ZelDate>);
    benchmark::RegisterBenchmark("DateToStr/printed", RenderMoment<PrintedDate>);
    benchmark::RegisterBenchmark("TimeToStr/zel", RenderMoment<ZelTime>);
    benchmark::RegisterBenchmark("TimeToStr/printed", RenderMoment<PrintedTime>);
    benchmark::RegisterBenchmark("DateTimeToStr/zel", RenderMoment<ZelDateTime>);
    benchmark::RegisterBenchmark("DateTimeToStr/printed", RenderMoment<PrintedDateTime>);
    benchmark::RegisterBenchmark("StrToDate/zel", ParseMoment<ZelReadDate>, "11/30/1999");
    benchmark::RegisterBenchmark("StrToDate/scanned", ParseMoment<ScannedDate>, "11/30/1999");
    benchmark::RegisterBenchmark("StrToTime/zel", ParseMoment<ZelReadTime>, "09:05:07");
    benchmark::RegisterBenchmark("StrToTime/scanned", ParseMoment<ScannedTime>, "09:05:07");
}

void RegisterFractions() {
    benchmark::RegisterBenchmark("DecimalToFraction/zel", ZelFraction);
    benchmark::RegisterBenchmark("DecimalToFraction/printed", PrintedFraction);
    benchmark::RegisterBenchmark("DoubleToMoney/zel", ZelDouble);
    benchmark::RegisterBenchmark("DoubleToMoney/printed", PrintedDouble);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RegisterMoney();
    RegisterMoments();
    RegisterFractions();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
