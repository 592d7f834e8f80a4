#include <charconv>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "runtime/meanings.h"
#include "runtime/reports.h"
#include "tools/io/status.h"
#include "tools/text/complaint.h"
#include "tools/text/text_table.h"
#include "tools/verbs/all_verbs.h"

namespace zel::tools {

namespace {

// What the text of a report says beyond what its code means.
struct TextMeaning {
    const Report* report;
    const char* meaning;
};

const TextMeaning kTexts[] = {
    {&reports::kGetFldByNameFailed, "the name of a field is null"},
    {&reports::kGetFldEntryFailed, "a field has the id 0: mostly a name that the dictionary lacks was used as an id"},
    {&reports::kNoDictionary, "the library is not started, or stopped"},
    {&reports::kGetNextFieldFailed, "a field should follow, and none does"},
    {&reports::kUnknownFieldSkipped, "the dictionary does not know the id, so nobody knows where the field ends"},
    {&reports::kNoMessageTable,
     "the library is not started or stopped; or a received message has a type and sub-type that the table lacks"},
    {&reports::kNoSuchMessage, "a message of a type and sub-type that the table lacks was to be created"},
    {&reports::kNegativeRepeatCount, "`repeatCount` is negative, as it is at first: set it before createStruct"},
    {&reports::kTooManySlots, "more than 32767 slots, or more repetitions than ZELSetMostRepetitions allows"},
    {&reports::kModelAllocation, "no memory for a message"},
    {&reports::kFreeDataBufFailed, "null was to be released"},
    {&reports::kFreeMsgStructFailed, "null was to be released"},
    {&reports::kPackFieldFailed, "a value without bytes"},
    {&reports::kUnpackFieldFailed, "no bytes for a field"},
    {&reports::kUnpackFieldIdFailed, "fewer than two bytes are left for an id"},
    {&reports::kPackFormatInvalid, "`format` of a message to be packed"},
    {&reports::kUnpackFormatInvalid, "the format in a received header"},
    {&reports::kPackTypeUnknown, "packing: the dictionary gives the field a type that there is not"},
    {&reports::kPackEmptyUnknown, "the same of a field without a value"},
    {&reports::kUnpackTypeUnknown, "the same of a received field"},
    {&reports::kNoSoh, "a received frame"},
    {&reports::kBuildHeaderFailed, "no buffer for the header"},
    {&reports::kUnpackHeaderFailed, "no bytes for the header"},
    {&reports::kHeaderFieldMissing, "the name of the header field that is not in its place"},
    {&reports::kHeaderFieldUnpackable, "the name of the header field"},
    {&reports::kHeaderFieldUnreadable, "the name of the header field"},
    {&reports::kUserDataAllocation, "no memory for variable user data"},
    {&reports::kBuildFailed, "there is no message, because createStruct failed or was not called; or no buffer"},
    {&reports::kFieldVersionUnknown, "the id of the field"},
    {&reports::kNewFieldMandatory, "the id of the field"},
    {&reports::kMandatoryFieldMissing, "the id of the field"},
    {&reports::kFieldUnpackable, "the id of the field that did not fit, or has no value of its type"},
    {&reports::kTransformFailed, "packing with an encryptFlag"},
    {&reports::kHeaderNotBuilt, "the report before names the field"},
    {&reports::kUnpackFailed, "no bytes for a message"},
    {&reports::kHeaderNotUnpacked, "the report before says why"},
    {&reports::kExpansionFailed, "this report has no text"},
    {&reports::kInverseTransformFailed, "this report has no text"},
    {&reports::kFieldIdUnreadable, "the payload ends within an id"},
    {&reports::kFieldUnreadable, "the id of the field"},
    {&reports::kValidateFormatInvalid, "when it is validated"},
    {&reports::kUnpackMessageFormatInvalid, "when its fields are read"},
    {&reports::kFieldNotInList, "the id of the field, which is passed over"},
    {&reports::kFieldUnknown, "a received field of no known type"},
    {&reports::kValueAllocation, "no memory for a value; the field keeps what it had"},
    {&reports::kValidateFailed, "last report of unpackMessage, ProcessRsp and their kin"},
    {&reports::kMessageNotCreated, "last report of unpackMessage"},
    {&reports::kMessageNotBuilt,
     "last report of packMessage. The name is always that of field 550; dest is serviceIdLow"},
    {&reports::kMessageNotUnpacked, "last report of unpackMessage"},
    {&reports::kFormatMoneyFailed, "null for ZELMoneyToStr"},
    {&reports::kUnformatMoneyFailed, "null for ZELUnformatMoney"},
    {&reports::kInvalidDisplayCode, "the code"},
    {&reports::kInvalidMoney, "the text"},
    {&reports::kTooManyComponents, "the text: `1/2/3/4`"},
    {&reports::kSpaceBetweenTwo, "the text"},
    {&reports::kFormatDateTimeFailed, "null for a function of dates, or numbers that no date has"},
    {&reports::kDateToStrFailed, "null for ZELDateToStr"},
    {&reports::kTimeToStrFailed, "null for ZELTimeToStr"},
    {&reports::kDateTimeToStrFailed, "null for ZELDateTimeToStr"},
    {&reports::kInvalidDate, "the text"},
    {&reports::kInvalidTime, "the text"},
};

// "cause: cure", taken apart.
struct Parts {
    std::string cause;
    std::string cure;
};

Parts TakeApart(const Meaning& meaning) {
    const std::string text = meaning.text;
    const std::size_t colon = text.find(": ");
    return {text.substr(0, colon), text.substr(colon + 2)};
}

std::string CodeOf(const Report& report) {
    return report.code == kSystemErrorNumber ? "errno" : std::to_string(report.code);
}

void ShowCode(const Meaning& meaning) {
    const Parts parts = TakeApart(meaning);
    std::cout << meaning.code << "  " << meaning.name << "\ncause  " << parts.cause << "\ncure   " << parts.cure
              << '\n';
    for (const TextMeaning& text : kTexts) {
        if (text.report->code == meaning.code) {
            std::cout << "text   \"" << text.report->text << "\": " << text.meaning << '\n';
        }
    }
}

bool Explain(const std::string& wanted) {
    int code = 0;
    const char* const end = wanted.data() + wanted.size();
    const bool isNumber = std::from_chars(wanted.data(), end, code).ptr == end;
    for (const Meaning* meaning = kMeanings; meaning->name != nullptr; ++meaning) {
        if ((isNumber && meaning->code == code) || meaning->name == wanted) {
            ShowCode(*meaning);
            return true;
        }
    }
    if (const std::string meaning = ZELExplain(code); isNumber && !meaning.empty()) {
        std::cout << code << "  " << meaning << '\n';
        return true;
    }
    Complain("zel: " + wanted + ": no such code; 'zel explain' lists them");
    return false;
}

void ListCodes() {
    Table table{{"code", "name", "cause"}, {}};
    for (const Meaning* meaning = kMeanings; meaning->name != nullptr; ++meaning) {
        table.rows.push_back({std::to_string(meaning->code), meaning->name, TakeApart(*meaning).cause});
    }
    PrintTable(std::cout, table, OutputStyle());
}

void WritePage() {
    std::cout
        << "# Reports\n\n"
           "`zel explain --markdown` wrote this page. [using.md](using.md#reports) tells how a program gets "
           "reports.\n\n"
           "## Codes\n\n"
           "Below 2000 they are codes of reports, and results of calls whose first report has that code; from 2000 on, "
           "results\nof records and of `zel.hpp` that no report goes with. Codes below 1000 are the system's error "
           "numbers: memory is out.\nThe names are those of `ZELResult` in `zelreport.h`.\n\n"
           "| code | name | cause | cure |\n|---|---|---|---|\n";
    for (const Meaning* meaning = kMeanings; meaning->name != nullptr; ++meaning) {
        const Parts parts = TakeApart(*meaning);
        std::cout << "| " << meaning->code << " | `" << meaning->name << "` | " << parts.cause << " | " << parts.cure
                  << " |\n";
    }
    std::cout << "\n## Texts\n\nIn the order of the source; errno is the system's error number.\n\n"
                 "| code | text | what it tells |\n|---|---|---|\n";
    for (const TextMeaning& text : kTexts) {
        const std::string shown = *text.report->text != '\0' ? '`' + std::string(text.report->text) + '`' : "";
        std::cout << "| " << CodeOf(*text.report) << " | " << shown << " | " << text.meaning << " |\n";
    }
}

struct ExplainOptions {
    std::vector<std::string> codes;
    bool isPage = false;
};

int Run(const ExplainOptions& options) {
    if (options.isPage) {
        WritePage();
    } else if (options.codes.empty()) {
        ListCodes();
    }
    bool areAllKnown = true;
    for (const std::string& code : options.codes) {
        areAllKnown = Explain(code) && areAllKnown;
    }
    return areAllKnown ? kStatusGood : kStatusDiffers;
}

}  // namespace

Verb ExplainVerb() {
    auto options = std::make_shared<ExplainOptions>();
    return {.name = "explain",
            .summary = "Tell cause and cure of a report's code, or list all codes",
            .options = {{"CODE", &options->codes, "Codes, or their names in zelreport.h"},
                        {"--markdown", &options->isPage, "Write the page of all codes and texts"}},
            .exclusive = {{"CODE", "--markdown"}},
            .footer =
                "Examples:\n"
                "  zel explain 1417\n"
                "  zel explain\n"
                "Exit status: 0 known, 1 a code is not known, 2 wrong usage.",
            .run = [options] { return Run(*options); }};
}

}  // namespace zel::tools
