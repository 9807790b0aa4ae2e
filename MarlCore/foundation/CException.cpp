// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CException.h>

#include <MarlCore/platform/Exception.h>

#include <cstdio>
#include <vector>

namespace halyard {

CException::CException(ExceptionType type) : m_type(type) {}

CException::CException(ExceptionType type, int code) : m_type(type), m_code(code) {}

CException::CException(ExceptionType type, int code, const char* message)
    : m_type(type), m_code(code), m_message(message ? message : "") {}

CException::CException(ExceptionType type, const char* format, ...) : m_type(type) {
    std::va_list arguments;
    va_start(arguments, format);
    appendFormatted(format, arguments);
    va_end(arguments);
}

void CException::concatMessage(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    appendFormatted(format, arguments);
    va_end(arguments);
}

void CException::Throw() const {
    throw CException(*this);
}

void CException::appendFormatted(const char* format, std::va_list arguments) {
    std::va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length <= 0) return;
    std::vector<char> text(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    m_message.append(text.data(), static_cast<std::size_t>(length));
}

CNullPointerException::CNullPointerException(ExceptionType type, const char* format, ...) : CException(type) {
    std::va_list arguments;
    va_start(arguments, format);
    appendFormatted(format, arguments);
    va_end(arguments);
}

void CNullPointerException::Throw() const {
    throw CNullPointerException(*this);
}

CParamException::CParamException(ExceptionType type, const char* format, ...) : CException(type) {
    std::va_list arguments;
    va_start(arguments, format);
    appendFormatted(format, arguments);
    va_end(arguments);
}

void CParamException::Throw() const {
    throw CParamException(*this);
}

void convertAndRaise(const CException* exception) {
    throw platform::Exception("MarlCoreException", exception ? exception->getMessage() : std::string());
}

}  // namespace halyard
