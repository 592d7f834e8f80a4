// Everything visible of message objects, as text: results, reports, header members, slots with their values.
#ifndef ZEL_FUZZ_TRANSCRIPT_H
#define ZEL_FUZZ_TRANSCRIPT_H

#include <string>

#include "include/zelmessage.h"

namespace zel::fuzz {

class Transcript {
public:
    const std::string& text() const { return text_; }

    void Tell(const char* what, long result);
    void Hex(const void* bytes, std::size_t size);
    void EndLine() { text_ += '\n'; }
    void ShowSlot(const _field_data& slot);
    // The members of the object that a received message sets, and the message.
    void Show(const CZELMessage& object);
    void ShowMessage(const ZelMsgStruct* message);

    // A sink for reports; the context is the transcript.
    static void Record(int code, const char* text, void* transcript);

private:
    std::string text_;
};

// Showing more slots takes time and finds nothing new.
inline constexpr int kMostShown = 600;

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_TRANSCRIPT_H
