// Records agree with message objects: layouts, values and messages from an input, of tables that a byte of it chooses.
#include "fuzz/damage.h"
#include "fuzz/received_message.h"
#include "tests/support/record_agreement.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::fuzz;
    ZELSetMostRepetitions(500);
    zel::test::Random input(data, size);
    const zel::test::RandomTables& tables = UseTablesOf(input.Byte());
    zel::test::RecordAgreement agreement(input, tables);
    if (!agreement.IsBound()) {
        return 0;
    }
    std::string message = input.OneIn(2) ? MakeReceived(input, tables, agreement.subType()).bytes : agreement.Pack();
    agreement.Unpack(message);
    Damage(input, message);
    agreement.Unpack(message);
    return 0;
}
