// The comparison as a record.
#include "stream/logic_operator.h"

// Reset alone knows the initial values, so the constructors call it.
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
