// A record of the header that zel_add_dictionary_header made.
#include <sample_dictionary.hpp>

int main() {
    static_assert(market::MultiLegOrder{}.legs.size() == 4);
    const zel::Library library;
    return market::kMultiLegOrder.Bind() && market::kCancelOrder.Bind() ? 0 : 1;
}
