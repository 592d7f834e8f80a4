// Packs and unpacks a record of the header that zel_add_dictionary_header made: 0 when all came back.
#include <array>
#include <cstdio>
#include <sample_dictionary.hpp>

int main() {
    const zel::Library library;
    const auto binding = market::kMultiLegOrder.Bind();
    if (!binding) {
        std::printf("%s%s\n", library.Error(), binding.Error());
        return 1;
    }
    market::MultiLegOrder order;
    order.clientOrderRef = "A1";
    order.legs[0].legRatio = 3;
    order.legCount = 1;
    std::array<char, ZEL_MAX_FRAME> buffer;
    const auto frame = binding->Pack(order, buffer);
    market::MultiLegOrder received;
    const bool good = frame && binding->Unpack(*frame, received) && received.clientOrderRef == "A1" &&
                      received.legCount == 1 && received.legs[0].legRatio == 3 && !received.note;
    std::printf("%s\n", good ? "all came back" : "failed");
    return good ? 0 : 1;
}
