// The fields and messages of a dictionary. Made by `zel dict header`: make it again when the dictionary changes.
#ifndef ZEL_DICTIONARY_MARKET_BOOK_HPP
#define ZEL_DICTIONARY_MARKET_BOOK_HPP

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include <zel.hpp>

namespace market::book {

namespace fields {

// Number that the market gave the order
inline constexpr zel::DictionaryField<10, kZELText> kOrderNumber{"ORDER_NUMBER"};
// The sender's own reference of the order
inline constexpr zel::DictionaryField<11, kZELText> kClientOrderRef{"CLIENT_ORDER_REF"};
// Instrument
inline constexpr zel::DictionaryField<12, kZELText> kSymbol{"SYMBOL"};
// Why the order is cancelled
inline constexpr zel::DictionaryField<37, kZELText> kCancelReason{"CANCEL_REASON"};
// Number of book levels
inline constexpr zel::DictionaryField<80, kZELShort> kLevelCount{"LEVEL_COUNT"};
// 1 bid, 2 ask
inline constexpr zel::DictionaryField<81, kZELShort> kLevelSide{"LEVEL_SIDE"};
// Price of the level
inline constexpr zel::DictionaryField<82, kZELMoney> kLevelPrice{"LEVEL_PRICE"};
// Quantity on the level
inline constexpr zel::DictionaryField<83, kZELLong> kLevelQuantity{"LEVEL_QUANTITY"};
// Number of orders on the level
inline constexpr zel::DictionaryField<84, kZELInt> kLevelOrders{"LEVEL_ORDERS"};
// 0 closed, 1 auction, 2 open, 3 halted
inline constexpr zel::DictionaryField<312, kZELShort> kTradingState{"TRADING_STATE"};
// Date and time of sending
inline constexpr zel::DictionaryField<404, kZELDateTime> kSentAt{"SENT_AT"};

}  // namespace fields

// CANCEL_ORDER: type 10, sub-type 2
struct CancelOrder {
    // The sender's own reference of the order
    std::string_view clientOrderRef{};
    // Instrument
    std::string_view symbol{};
    // Number that the market gave the order
    std::optional<std::string_view> orderNumber;
    // Why the order is cancelled
    std::optional<std::string_view> cancelReason;
};

inline constexpr zel::Layout kCancelOrder{
    zel::Message<CancelOrder>{10, 2},
    zel::Field(fields::kClientOrderRef, &CancelOrder::clientOrderRef),
    zel::Field(fields::kSymbol, &CancelOrder::symbol),
    zel::Field(fields::kOrderNumber, &CancelOrder::orderNumber),
    zel::Field(fields::kCancelReason, &CancelOrder::cancelReason),
};

// BOOK_DEPTH: type 20, sub-type 3
struct BookDepth {
    struct Level {
        // 1 bid, 2 ask
        std::optional<std::int16_t> levelSide;
        // Price of the level
        std::optional<_money> levelPrice;
        // Quantity on the level
        std::optional<std::int32_t> levelQuantity;
        // Number of orders on the level
        std::optional<std::int32_t> levelOrders;
    };

    // Instrument
    std::string_view symbol{};
    // Date and time of sending
    _datetime sentAt{};
    // 0 closed, 1 auction, 2 open, 3 halted
    std::optional<std::int16_t> tradingState;
    // Number of book levels
    std::uint32_t levelCount{};
    std::array<Level, 10> levels{};
};

inline constexpr zel::Layout kBookDepth{
    zel::Message<BookDepth>{20, 3},
    zel::Field(fields::kSymbol, &BookDepth::symbol),
    zel::Field(fields::kSentAt, &BookDepth::sentAt),
    zel::Field(fields::kTradingState, &BookDepth::tradingState),
    zel::Group{
        &BookDepth::levels,
        &BookDepth::levelCount,
        zel::Field(fields::kLevelSide, &BookDepth::Level::levelSide),
        zel::Field(fields::kLevelPrice, &BookDepth::Level::levelPrice),
        zel::Field(fields::kLevelQuantity, &BookDepth::Level::levelQuantity),
        zel::Field(fields::kLevelOrders, &BookDepth::Level::levelOrders),
    },
};

}  // namespace market::book

#endif  // ZEL_DICTIONARY_MARKET_BOOK_HPP
