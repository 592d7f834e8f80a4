// The user's wish to end a verb that would go on for ever.
#ifndef ZEL_TOOLS_IO_INTERRUPT_H
#define ZEL_TOOLS_IO_INTERRUPT_H

namespace zel::tools {

// From here on the first interrupt (Ctrl-C) is noted and no longer ends the command; the second does. A command that
// its parent told to ignore interrupts goes on ignoring them.
void NoteInterrupt() noexcept;

[[nodiscard]] bool IsInterrupted() noexcept;

}  // namespace zel::tools

#endif  // ZEL_TOOLS_IO_INTERRUPT_H
