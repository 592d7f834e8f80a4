// Packs and unpacks a message, and uses classes derived from the streams. Returns 0 when all values came back.
#include <zelmessage.h>
#include <zelprovider.h>
#include <zelstream.h>

#include <cstdio>
#include <cstring>

namespace {

// Everything that the header lets a derived class do must link.
struct Buffer : ZELStream {
    Buffer() { InitStream(64); }
};
struct Filter : ZELFilter {};
struct SortKeys : ZELSortData {};
struct Item : ZELFilterItem {};

template <typename Stream>
bool Copies(const Stream& stream) {
    Stream copy(stream);
    copy = stream;
    copy.Rewind();
    Stream loaded;
    return loaded.SetStream(copy.GetStream(), copy.GetLength()) == 0 && loaded.GetCount() == 1;
}

bool DerivedStreamsWork() {
    Buffer buffer;
    buffer.Rewind();
    Filter filter;
    SortKeys keys;
    Item item;
    item = Item(item);
    return buffer.GetLength() == 2 && item.AsText() != nullptr && filter.AddFilter(1, "=", 5) == 0 &&
           keys.AddSortData(1, 1) == 0 && Copies(filter) && Copies(keys);
}

}  // namespace

int main() {
    CZELMessage::init();
    CZELMessage message(0, 0);
    message.msgType = 10;
    message.subType = 2;
    message.createStruct();
    const short id = static_cast<short>(message.getZelIdFromName("CLIENT_ORDER_REF"));
    message.setFieldValue(id, "A1", -1);
    message.setFieldValue(static_cast<short>(message.getZelIdFromName("SYMBOL")), "RYE", -1);
    char buffer[200];
    long length = 0;
    const bool packed = message.packMessage(buffer, &length) == 0;
    const bool unpacked = packed && message.unpackMessage(buffer) == 0;
    const bool same = unpacked && std::strcmp(static_cast<char*>(message.getFieldValue(id, -1)), "A1") == 0;
    message.destroyStruct();
    CZELMessage::terminate();
    const bool good = same && DerivedStreamsWork();
    std::printf("%s\n", good ? "all came back" : "failed");
    return good ? 0 : 1;
}
