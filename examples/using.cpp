// The samples of docs/using.md, a function for each chapter. It ends with 0 when they do what the page says.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>
#include <zel.hpp>

namespace {

int failures = 0;

void Expect(bool holds, const char* what) {
    if (!holds) {
        std::cerr << "not as the page says: " << what << '\n';
        ++failures;
    }
}

// ---- Start and stop -------------------------------------------------------------------------------------------------

int Start() {
    const zel::Library library;  // stops it, too
    if (!library) {
        std::cerr << library.Error() << '\n';
        return 1;
    }
    return 0;
}

int StartPlain() {
    CZELMessage::init();
    if (CZELMessage::getVormaZelData() == nullptr) {
        std::cerr << "no dictionary provider\n";
        return 1;
    }
    CZELMessage::terminate();
    return 0;
}

// ---- Messages -------------------------------------------------------------------------------------------------------

void FillOrder(zel::AnyMessage& order) {
    order.Set("CLIENT_ORDER_REF", "ORD-2024-000117");
    order.Set("SYMBOL", "RYE");
    order.Set("SIDE", 1);
    order.Set("QUANTITY", 1500);
    order.Set("ENTERED_AT", zel::DateTime::At(2024, 5, 17, 9, 30, 15));
    if (const auto limit = zel::Money::Parse("101'16")) {
        order.Set("LIMIT_PRICE", *limit);
    }
    order.Object().serviceIdHigh = 1;  // where it goes: 1.20
    order.Object().serviceIdLow = 20;
}

// The names are looked up once.
struct OrderFields {
    zel::FieldKey symbol = *zel::FindField("SYMBOL");
    zel::FieldKey side = *zel::FindField("SIDE");
};

void FillQuickly(zel::AnyMessage& order, const OrderFields& fields) {
    order.Start("NEW_ORDER");
    order.Set(fields.symbol, "RYE");
    order.Set(fields.side, 1);
}

void FillPlain(CZELMessage& order) {
    order.msgType = 10;
    order.subType = 1;
    order.repeatCount = 0;  // of the group; not needed where the type has none
    order.createStruct();

    const auto symbol = static_cast<short>(order.getZelIdFromName("SYMBOL"));
    order.setFieldValue(symbol, "RYE", -1);
    const auto sideField = static_cast<short>(order.getZelIdFromName("SIDE"));
    const short side = 1;  // the type of the field: an int would not do
    order.setFieldValue(sideField, &side, -1);
}

// ---- Presence -------------------------------------------------------------------------------------------------------

std::string ShowLimit(zel::AnyMessage& received) {
    if (const auto limit = received.Get<zel::Money>("LIMIT_PRICE")) {
        return limit->Text();
    }
    return "at any price";
}

std::string ShowAll(const zel::AnyMessage& received) {
    std::string text;
    for (const zel::FieldView& field : received.Fields()) {
        if (field.IsSet()) {
            text.append(field.Name()).append(" ").append(zel::ToText(field.Value())).append("\n");
        }
    }
    return text;
}

long LimitOrZero(CZELMessage& received, short limitField) {
    const _field_data* field = received.getField(limitField, -1);
    if (field == nullptr || field->isSet == 0) {
        return 0;  // getFieldValue would lead to a value of zero bytes
    }
    _money limit;
    std::memcpy(&limit, field->value, sizeof limit);
    return limit.amount;
}

// ---- Groups ---------------------------------------------------------------------------------------------------------

void FillLegs(zel::AnyMessage& spread) {
    spread.Start("MULTI_LEG_ORDER", 2);  // two repetitions
    spread.Set("CLIENT_ORDER_REF", "ORD-2024-000118");
    spread.Set("ACCOUNT", "SALT-0042");
    spread.Set("TRADER", "mkessler");
    for (zel::Repetition leg : spread.Group()) {
        leg.Set("LEG_SYMBOL", leg.Number() == 0 ? "BARLEY-DEC24" : "BARLEY-MAR25");
        leg.Set("LEG_SIDE", leg.Number() + 1);
        leg.Set("LEG_RATIO", 1);
    }
}

long SumOfRatios(zel::AnyMessage& received) {
    long sum = 0;
    for (zel::Repetition leg : received.Group()) {
        sum += leg.Get<long>("LEG_RATIO").value_or(0);
    }
    return sum;
}

void FillLegsPlain(CZELMessage& spread, short countField, short markField, short ratioField) {
    spread.msgType = 10;
    spread.subType = 5;
    spread.repeatCount = 2;  // before createStruct
    spread.createStruct();
    spread.setFieldValue(countField, &spread.repeatCount, -1);
    for (short leg = 1; leg <= spread.repeatCount; ++leg) {  // occurrences count from 1
        const ZELLong ratio = 1;
        spread.setFieldValue(markField, &leg, leg);
        spread.setFieldValue(ratioField, &ratio, leg);
    }
}

// ---- Bytes ----------------------------------------------------------------------------------------------------------

// What a program's connection would do.
struct Line {
    std::vector<char> bytes;

    bool Send(const char* from, std::size_t size) {
        bytes.insert(bytes.end(), from, from + size);
        return true;
    }
    std::size_t Receive(std::span<char> to) {
        const std::size_t size = std::min(to.size(), bytes.size());
        std::copy_n(bytes.begin(), size, to.begin());
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        return size;
    }
};

bool SendOrder(Line& line, zel::AnyMessage& order) {
    std::array<char, kZELMaxFrame> buffer;
    const auto frame = order.Pack(buffer);
    if (!frame) {
        std::cerr << frame.Error() << '\n';
        return false;
    }
    return line.Send(frame->data(), frame->size());
}

int ReceiveAll(Line& line) {
    int received = 0;
    zel::FrameReader frames;
    zel::AnyMessage message;  // used again for each
    std::array<char, 100> chunk;
    while (const std::size_t size = line.Receive(chunk)) {
        frames.Feed(std::span(chunk).first(size));
        while (const auto frame = frames.Next()) {
            if (const auto used = message.Unpack(*frame); !used) {
                std::cerr << used.Error() << '\n';  // this message is lost, the next one may be good
                continue;
            }
            ++received;
        }
        if (frames.IsDamaged()) {
            break;  // close the connection: nothing tells where the next frame begins
        }
    }
    return received;
}

int ReceivePlain(std::vector<char>& pending) {
    int received = 0;
    CZELMessage message(0, 0);
    std::size_t size = 0;
    while (!pending.empty() && ZELFindFrame(pending.data(), pending.size(), &size) == ZEL_OK) {
        if (message.unpackMessage(pending.data()) == 0) {
            ++received;
        }
        pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(size));
    }
    return received;
}

// ---- Reports --------------------------------------------------------------------------------------------------------

std::string ShowFailure(zel::AnyMessage& order) {
    std::string text;
    std::array<char, kZELMaxFrame> buffer;
    if (const auto frame = order.Pack(buffer); !frame) {
        const zel::Failure& why = *frame.Why();
        text = std::to_string(why.result) + ' ' + why.text + '\n';
        for (const zel::Report& report : why.reports) {
            text += "  " + std::to_string(report.code) + ' ' + report.text.data() + '\n';
        }
    }
    return text;
}

void PrintReport(int code, const char* text, void* /*context*/) {
    std::fprintf(stderr, "ZEL %d: %s (%s)\n", code, text, ZELExplain(code));
}

void SayEverything() {
    ZELSetErrorSink(PrintReport, nullptr);
}

std::string WhatPlainCallsReport(CZELMessage& order) {
    std::vector<char> buffer(kZELMaxFrame);
    long length = 0;
    const zel::Reports heard;  // what this thread reports from here on
    if (order.packMessage(buffer.data(), &length) != 0 && heard.List().size() != 0) {
        return heard.List().begin()->text.data();
    }
    return "";
}

// ---- Filters --------------------------------------------------------------------------------------------------------

void FillQuery(zel::AnyMessage& query) {
    zel::Filter filter;
    filter.Add("QUANTITY", ">=", 100);
    filter.Add("LIMIT_PRICE", "<=", zel::Money{10150, 20});  // 101.50
    zel::SortKeys sort;
    sort.Add("ENTERED_AT", 1);
    if (!filter || !sort) {
        std::cerr << filter.Error() << sort.Error() << '\n';
        return;
    }
    query.Start("ORDER_QUERY");
    query.Set("QUERY_REF", "Q-1");
    query.Set("FILTER_STREAM", filter.Bytes());
    query.Set("SORT_STREAM", sort.Bytes());
}

std::string ShowTerms(zel::AnyMessage& query) {
    std::string text;
    zel::Filter filter;
    filter.Read(query.Get<std::span<const std::byte>>("FILTER_STREAM").value_or(std::span<const std::byte>()));
    while (const auto term = filter.Next()) {
        text.append(term->field.name).append(term->comparison).append(zel::ToText(term->value)).append("\n");
    }
    return text;
}

// ---- Threads --------------------------------------------------------------------------------------------------------

void SendFromThreads(std::array<Line, 2>& lines) {
    const auto work = [](Line& line) {
        zel::AnyMessage order;  // of this thread alone
        for (int i = 0; i < 100; ++i) {
            order.Start("NEW_ORDER");
            FillOrder(order);
            SendOrder(line, order);
        }
    };
    std::thread other(work, std::ref(lines[0]));
    work(lines[1]);
    other.join();
}

// ---- The first page -------------------------------------------------------------------------------------------------

bool ReadmeRecords() {
    struct Cancel {
        std::string_view reference;
        std::string_view symbol;
        std::optional<std::string_view> reason;
    };

    constexpr zel::Layout kCancel{
        zel::Message<Cancel>{10, 2},  // type and sub-type in the dictionary
        zel::Field("CLIENT_ORDER_REF", &Cancel::reference),
        zel::Field("SYMBOL", &Cancel::symbol),
        zel::Field("CANCEL_REASON", &Cancel::reason),
    };

    const zel::Library library;           // loads the dictionary provider
    const auto binding = kCancel.Bind();  // once; binding.Error() tells what does not fit

    std::array<char, ZEL_MAX_FRAME> buffer;
    const auto frame = binding->Pack({"A1", "RYE", std::nullopt}, buffer);
    // Send frame->size() bytes from frame->data(), or see frame.Error().

    Cancel received;
    const auto used = binding->Unpack(*frame, received);
    return used && received.symbol == "RYE" && !received.reason;
}

bool Readme() {
    zel::AnyMessage order("CANCEL_ORDER");  // or (10, 2): type and sub-type
    order.Set("CLIENT_ORDER_REF", "A1");
    order.Set("SYMBOL", "RYE");

    std::vector<char> stream;
    if (const auto packed = order.Append(stream); !packed) {
        std::cerr << packed.Error() << '\n';  // the first thing that went wrong with the message
    }

    zel::AnyMessage received;
    if (const auto used = received.Unpack(stream)) {
        std::cout << received.Get<std::string>("CANCEL_REASON").value_or("no reason given") << '\n';
    }
    return order && received;
}

// ---- All ------------------------------------------------------------------------------------------------------------

void RunChapters() {
    zel::AnyMessage order("NEW_ORDER");
    FillOrder(order);
    Expect(ShowLimit(order) == "101 16/32" && ShowAll(order).find("QUANTITY 1500\n") != std::string::npos, "messages");
    zel::AnyMessage spread;
    FillLegs(spread);
    Line line;
    Expect(SendOrder(line, order) && SendOrder(line, spread), "packing");
    std::vector<char> pending = line.bytes;
    Expect(spread.Unpack(line.bytes).Code() == ZEL_OK, "unpacking");
    zel::AnyMessage cancel("CANCEL_ORDER");
    Expect(ShowLimit(cancel) == "at any price" && cancel.Code() == ZEL_NOT_IN_MESSAGE, "a field that the type lacks");
    Expect(ReceiveAll(line) == 2 && ReceivePlain(pending) == 2, "streams");
    FillLegs(spread);
    Expect(SumOfRatios(spread) == 2 && spread, "groups");

    FillQuickly(order, OrderFields());
    Expect(static_cast<bool>(order), "keys");
    order.Start("CANCEL_ORDER");
    Expect(ShowFailure(order).starts_with("1476 CLIENT_ORDER_REF (11): mandatory and absent"), "failures");

    CZELMessage plain(0, 0);
    FillPlain(plain);
    const auto idOf = [&](const char* name) { return static_cast<short>(plain.getZelIdFromName(name)); };
    Expect(LimitOrZero(plain, idOf("LIMIT_PRICE")) == 0, "presence");
    Expect(WhatPlainCallsReport(plain).find("Manadatory field(50)") == 0, "reports of plain calls");
    FillLegsPlain(plain, idOf("LEG_COUNT"), idOf("LEG_MARK"), idOf("LEG_RATIO"));
    Expect(plain.message != nullptr && plain.message->numFields == 5, "groups of the plain interface");

    Expect(Readme(), "the first page");
    zel::AnyMessage query;
    FillQuery(query);
    Expect(ShowTerms(query) == "QUANTITY>=100\nLIMIT_PRICE<=101.50\n", "filters");
    std::array<Line, 2> lines;
    SendFromThreads(lines);
    Expect(ReceiveAll(lines[0]) == 100 && ReceiveAll(lines[1]) == 100, "threads");
}

}  // namespace

int main() {
    if (Start() != 0 || StartPlain() != 0) {
        return 1;
    }
    Expect(ReadmeRecords(), "the first page, records");
    const zel::Library library;
    RunChapters();
    SayEverything();
    std::cout << (failures == 0 ? "all chapters hold\n" : "the page is wrong\n");
    return failures == 0 ? 0 : 1;
}
