// Two processes exchange messages over a loopback TCP connection. The sender sends its bytes in pieces that do not
// match the messages; the receiver finds the frames in the bytes that arrive.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zelmessage.h"

namespace {

constexpr int kOrders = 200;

// The largest message that this program accepts after a frame; none here has variable user data.
constexpr long kMaxMessage = kZELMaxFrame - 6;

void PrintReport(int code, const char* text, void* /*context*/) {
    std::fprintf(stderr, "ZEL report %d: %s\n", code, text);
}

std::string OrderRef(int number) {
    return "ORD-" + std::to_string(number);
}

// ---- Sender ---------------------------------------------------------------------------------------------------------

// One CANCEL_ORDER, framed. Every second one is packed with the short frame, every third compressed.
bool PackOrder(int number, std::string& frame) {
    CZELMessage order(0, 0);
    order.msgType = 10;
    order.subType = 2;
    order.shortFrame = number % 2;
    order.compressMode = number % 3 == 0 ? 1 : 0;
    order.createStruct();
    order.setFieldValue(static_cast<short>(order.getZelIdFromName("CLIENT_ORDER_REF")), OrderRef(number).c_str(), -1);
    order.setFieldValue(static_cast<short>(order.getZelIdFromName("SYMBOL")), "BARLEY-DEC24", -1);
    order.setFieldValue(static_cast<short>(order.getZelIdFromName("CANCEL_REASON")),
                        std::string(static_cast<std::size_t>(number * 7 % 400), 'x').c_str(), -1);
    std::vector<char> buffer(kZELMaxFrame);
    long length = 0;
    if (order.packMessage(buffer.data(), &length) != 0) {
        return false;
    }
    frame.assign(buffer.data(), static_cast<std::size_t>(length));
    return true;
}

bool SendAll(int connection, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t n = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) {
            std::perror("send");
            return false;
        }
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

bool SendOrders(int connection) {
    std::string stream;
    for (int number = 0; number < kOrders; ++number) {
        std::string frame;
        if (!PackOrder(number, frame)) {
            return false;
        }
        stream += frame;
    }
    // Pieces of 1 byte up to several messages, as on a busy network.
    std::size_t size = 1;
    for (std::size_t at = 0; at < stream.size(); at += size, size = size % 997 * 3 + 1) {
        if (!SendAll(connection, stream.substr(at, size))) {
            return false;
        }
    }
    return true;
}

// ---- Receiver -------------------------------------------------------------------------------------------------------

enum class FrameState { kComplete, kIncomplete, kInvalid };

// Whether `bytes` start with a whole frame and its message, and their length. A frame has 4 bytes in format 1 and 6
// bytes in format 3; getHeaderInfo reads them, so they must be there.
FrameState FindFrame(CZELMessage& reader, const std::string& bytes, std::size_t* frameLength) {
    if (bytes.size() < 6) {
        return FrameState::kIncomplete;  // every frame with its message is longer than 6 bytes
    }
    long length = 0;
    short frameType = 0;
    if (reader.getHeaderInfo(bytes.data(), &length, &frameType) != 0 || (frameType != 1 && frameType != 3) ||
        length <= 0 || length > kMaxMessage) {
        return FrameState::kInvalid;
    }
    *frameLength = static_cast<std::size_t>(length) + (frameType == 1 ? 4 : 6);
    return bytes.size() < *frameLength ? FrameState::kIncomplete : FrameState::kComplete;
}

bool IsExpectedOrder(CZELMessage& order, int number) {
    const auto id = static_cast<short>(order.getZelIdFromName("CLIENT_ORDER_REF"));
    const auto* text = static_cast<const char*>(order.getFieldValue(id, -1));
    return text != nullptr &&
           OrderRef(number) == std::string(text, static_cast<std::size_t>(order.getFieldLen(id, -1)));
}

// Takes whole frames from the start of `pending`. False when the stream is damaged.
bool TakeFrames(CZELMessage& order, std::string& pending, int& received) {
    std::size_t frameLength = 0;
    FrameState state = FindFrame(order, pending, &frameLength);
    for (; state == FrameState::kComplete; state = FindFrame(order, pending, &frameLength)) {
        if (order.unpackMessage(pending.data()) != 0 || !IsExpectedOrder(order, received)) {
            return false;
        }
        ++received;
        pending.erase(0, frameLength);
    }
    return state == FrameState::kIncomplete;
}

bool ReceiveOrders(int connection) {
    CZELMessage order(0, 0);
    std::string pending;
    int received = 0;
    int reads = 0;
    char chunk[4096];
    for (;;) {
        const ssize_t n = recv(connection, chunk, sizeof chunk, 0);
        if (n < 0) {
            std::perror("recv");
            return false;
        }
        if (n == 0) {
            break;
        }
        ++reads;
        pending.append(chunk, static_cast<std::size_t>(n));
        if (!TakeFrames(order, pending, received)) {
            std::fprintf(stderr, "the stream is damaged after message %d\n", received);
            return false;
        }
    }
    std::printf("received %d of %d messages in %d reads, %zu bytes left over\n", received, kOrders, reads,
                pending.size());
    return received == kOrders && pending.empty();
}

// ---- Connection -----------------------------------------------------------------------------------------------------

int Listen(sockaddr_in& address) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (listener < 0 || bind(listener, plain, size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, plain, &size) != 0) {
        std::perror("listen on loopback");
        return -1;
    }
    return listener;
}

// Each process initialises the library.
int RunSender(const sockaddr_in& address) {
    CZELMessage::init();
    const int connection = socket(AF_INET, SOCK_STREAM, 0);
    const bool sent =
        connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && SendOrders(connection);
    close(connection);
    CZELMessage::terminate();
    return sent ? 0 : 1;
}

int RunReceiver(int listener) {
    CZELMessage::init();
    const int connection = accept(listener, nullptr, nullptr);
    const bool received = connection >= 0 && ReceiveOrders(connection);
    close(connection);
    CZELMessage::terminate();
    return received ? 0 : 1;
}

}  // namespace

int main() {
    ZELSetErrorSink(PrintReport, nullptr);
    sockaddr_in address = {};
    const int listener = Listen(address);
    if (listener < 0) {
        return 1;
    }
    const pid_t sender = fork();
    if (sender < 0) {
        std::perror("fork");
        return 1;
    }
    if (sender == 0) {
        close(listener);
        return RunSender(address);
    }
    const int received = RunReceiver(listener);
    int status = 0;
    waitpid(sender, &status, 0);
    close(listener);
    return received != 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0 ? 1 : 0;
}
