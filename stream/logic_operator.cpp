// The comparison as a record of its own.
#include "stream/logic_operator.h"

// The members are given their values by Reset, in the constructors too: it is the one place that knows them.
LogicOperator::LogicOperator() noexcept {
    Reset();
}

LogicOperator::~LogicOperator() noexcept {
    Reset();
}

LogicOperator::LogicOperator(const LogicOperator& source) noexcept {
    Reset();
    *this = source;
}

LogicOperator& LogicOperator::operator=(const LogicOperator& source) noexcept {
    if (this == &source) {
        return *this;
    }
    code = source.code;
    text[0] = source.text[0];
    text[1] = text[0] != '\0' ? source.text[1] : '\0';
    text[2] = '\0';
    return *this;
}

void LogicOperator::Reset() noexcept {
    code = -1;
    text[0] = text[1] = text[2] = '\0';
}

int LogicOperator::SetText(const char* operatorText) noexcept {
    return SetCode(zel::OperatorCode(operatorText));
}

int LogicOperator::SetCode(short operatorCode) noexcept {
    return zel::SetOperator(*this, operatorCode);
}
