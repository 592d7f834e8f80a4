// Holds a layout against the dictionary and says everything that does not fit.
#ifndef ZEL_RECORD_BIND_CHECK_H
#define ZEL_RECORD_BIND_CHECK_H

#include <cstdio>

#include "record/binding.h"

namespace zel {

// Lines of text in a buffer that may be too small, or none.
class Disagreements {
public:
    Disagreements(char* text, std::size_t size) noexcept;

    // As std::snprintf takes them.
    template <typename... Args>
    void Add(const char* format, Args... args) noexcept {
        EndLine(std::snprintf(text_, left_, format, args...));
    }
    bool IsEmpty() const noexcept { return count_ == 0; }

private:
    // After so many characters, or as many of them as there was room for.
    void EndLine(int length) noexcept;

    char* text_;
    std::size_t left_;
    int count_ = 0;
};

// Gives the binding's steps, which have no members yet, those of the layout, and the binding its group. What does not
// fit is added. The binding's entries are all without a member at first.
void BindMembers(const ZELLayout& layout, ZELBinding& binding, FieldStep* steps, FieldName* names,
                 Disagreements& disagreements) noexcept;

}  // namespace zel

#endif  // ZEL_RECORD_BIND_CHECK_H
