// Results, failures as values, the reports of a call, and the guard that starts the library. zel.hpp includes it.
#ifndef ZEL_ZELRESULT_HPP
#define ZEL_ZELRESULT_HPP

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <variant>

#include "zelrecord.h"
#include "zelreport.h"

// Keeps what is seldom called out of what is called often.
#if defined(_MSC_VER)
#define ZEL_NOINLINE __declspec(noinline)
#else
#define ZEL_NOINLINE __attribute__((noinline))
#endif

namespace zel {

// ---- Reports --------------------------------------------------------------------------------------------------------

struct Report {
    int code;                    // ZELResult, or the system's error number
    int fieldId;                 // the field that it names, or 0
    std::array<char, 256> text;  // ends with a zero byte
};

// The reports of a call, innermost cause first. Of many the last ones are kept.
class ReportList {
public:
    static constexpr std::size_t kMost = 6;

    [[nodiscard]] std::size_t size() const noexcept { return count_; }
    [[nodiscard]] const Report* begin() const noexcept { return reports_.data(); }
    [[nodiscard]] const Report* end() const noexcept { return reports_.data() + count_; }

    void Add(int code, int fieldId, const char* text) noexcept {
        if (count_ == kMost) {
            std::shift_left(reports_.begin(), reports_.end(), 1);
            --count_;
        }
        Report& report = reports_[count_++];
        report.code = code;
        report.fieldId = fieldId;
        (void)std::snprintf(report.text.data(), report.text.size(), "%s", text);
    }

private:
    std::size_t count_ = 0;
    std::array<Report, kMost> reports_;
};

// Collects what the calling thread reports while the object lives. An error sink hears it as well.
class Reports {
public:
    Reports() noexcept : listener_{Hear, &list_, nullptr} { ZELBeginListening(&listener_); }
    ~Reports() noexcept { ZELEndListening(&listener_); }
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    [[nodiscard]] const ReportList& List() const noexcept { return list_; }

private:
    static void Hear(int code, int fieldId, const char* text, void* list) noexcept {
        static_cast<ReportList*>(list)->Add(code, fieldId, text);
    }

    ReportList list_;
    ZELListener listener_;
};

// ---- Results --------------------------------------------------------------------------------------------------------

// Why a call failed: a code of ZELResult, the field and the repetition of the group that it concerns, an English text
// with the field's name, and what the library reported during the call.
struct Failure : ZELFailure {
    ReportList reports;
};

// A value, or why there is none. What * and -> lead to exists only when there is a value.
template <typename Value, typename Reason = Failure>
class [[nodiscard]] Result {
public:
    Result(Value value) noexcept : held_(std::in_place_index<0>, std::move(value)) {}
    Result(Reason reason) noexcept : held_(std::in_place_index<1>, std::move(reason)) {}

    explicit operator bool() const noexcept { return held_.index() == 0; }
    [[nodiscard]] Value& operator*() & noexcept { return *std::get_if<0>(&held_); }
    [[nodiscard]] const Value& operator*() const& noexcept { return *std::get_if<0>(&held_); }
    [[nodiscard]] Value operator*() && noexcept { return std::move(*std::get_if<0>(&held_)); }
    [[nodiscard]] Value* operator->() noexcept { return std::get_if<0>(&held_); }
    [[nodiscard]] const Value* operator->() const noexcept { return std::get_if<0>(&held_); }

    // 0 with a value, else one of ZELResult.
    [[nodiscard]] int Code() const noexcept { return *this ? ZEL_OK : Why()->result; }
    // The failure in English; empty with a value.
    [[nodiscard]] const char* Error() const noexcept {
        if constexpr (std::derived_from<Reason, ZELFailure>) {
            return *this ? "" : Why()->text;
        } else {
            return *this ? "" : Why()->Text();
        }
    }
    // Null with a value.
    [[nodiscard]] const Reason* Why() const noexcept { return std::get_if<1>(&held_); }

private:
    std::variant<Value, Reason> held_;
};

namespace detail {

// `what` is what it concerns, or empty; without a text of its own it says what the code means.
[[nodiscard]] inline Failure FailureOf(int code, std::string_view what, const char* text = nullptr) noexcept {
    Failure failure;
    failure.result = code;
    failure.fieldId = 0;
    failure.repetition = -1;
    failure.offset = 0;
    // What does not fit is cut.
    char* end = failure.text;
    for (const std::string_view part : {what, std::string_view(what.empty() ? "" : ": "),
                                        std::string_view(text != nullptr ? text : ZELExplain(code))}) {
        end += part.copy(end, static_cast<std::size_t>(failure.text + sizeof failure.text - 1 - end));
    }
    *end = '\0';
    return failure;
}

}  // namespace detail

// What an object keeps of the first thing that went wrong with it.
class Checked {
public:
    // Whether all went well.
    explicit operator bool() const noexcept { return !failure_; }
    // 0, or one of ZELResult.
    [[nodiscard]] int Code() const noexcept { return failure_ ? failure_->result : ZEL_OK; }
    // The failure in English, or empty.
    [[nodiscard]] const char* Error() const noexcept { return failure_ ? failure_->text : ""; }
    // Null when all went well.
    [[nodiscard]] const Failure* Why() const noexcept { return failure_ ? &*failure_ : nullptr; }

protected:
    ~Checked() = default;

    void Forget() noexcept { failure_.reset(); }

    // Keeps the first failure alone. Always false.
    bool Keep(const Failure& failure) noexcept {
        if (!failure_) {
            failure_ = failure;
        }
        return false;
    }

private:
    std::optional<Failure> failure_;
};

// ---- The library ----------------------------------------------------------------------------------------------------

// Starts the library, and stops it at the end of the object. Made while no other call is in progress, and once: the
// first object that ends stops the library for all.
class [[nodiscard]] Library : public Checked {
public:
    Library() noexcept {
        const Reports heard;
        if (const int result = ZELStart(); result != ZEL_OK) {
            const ReportList& reports = heard.List();
            const char* why = reports.size() != 0 ? (reports.end() - 1)->text.data() : nullptr;
            Failure failure = detail::FailureOf(result, "no dictionary", why);
            failure.reports = reports;
            Keep(failure);
        }
    }
    ~Library() noexcept { ZELStop(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

}  // namespace zel

#endif  // ZEL_ZELRESULT_HPP
