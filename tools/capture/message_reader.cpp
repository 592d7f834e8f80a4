#include "tools/capture/message_reader.h"

#include "core/wire/header.h"
#include "tools/io/out_of_memory.h"

namespace zel::tools {

bool ViewMessage(const Frame& frame, ReceivedMessage& message, Reader& payload) {
    const std::string_view bytes = frame.Message();
    message = {frame.offset, frame.number, frame.size, frame.kind, false, {}, nullptr, nullptr, nullptr};
    payload = {bytes.data(), bytes.data() + bytes.size()};
    message.hasHeader = ViewHeader(payload, message.header);
    return message.hasHeader;
}

bool MessageReader::Read(const Frame& frame, ReceivedMessage& message, std::string& fault) {
    const std::string_view bytes = frame.Message();
    fault.clear();
    reports_.Clear();
    const long result =
        WithMemory([&] { return object_.unpackMessageNoFrame(bytes.data(), static_cast<long>(bytes.size())); });
    Reader payload{};
    const bool hasHeader = ViewMessage(frame, message, payload);
    const ZelMsgStruct& header = message.header.numbers;
    message.kind = hasHeader ? catalog_.FindMessage(header.msgType, header.subType) : nullptr;
    if (result != 0 || message.kind == nullptr) {
        fault = Explain(reports_.reports(), &catalog_);
        if (hasHeader && message.kind == nullptr) {
            fault += " (the dictionary has no message of type " + std::to_string(header.msgType) + ", sub-type " +
                     std::to_string(header.subType) + ')';
        }
        return false;
    }
    message.content = object_.message;
    findings_.order.clear();
    findings_.lost.clear();
    message.order = &findings_.order;
    if (!reports_.reports().empty()) {
        fault = Explain(reports_.reports(), &catalog_) + "; left out";
    } else {
        WalkPayload(catalog_, header, payload, *message.content, findings_);
        fault += findings_.lost;
    }
    return true;
}

}  // namespace zel::tools
