// SPDX-License-Identifier: MIT
/// \file
/// The one exception of the library's core, its categories, and its way out to a host.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstdarg>
#include <exception>
#include <string>

namespace halyard {

/// What kind of failure it is, and so what a program can do about it.
enum ExceptionType : int {
    kNoError = 0,
    kParameterError = 1,    ///< a bad parameter or an unsupported input: use another file or argument
    kNullPointerError = 2,  ///< a required object is missing: the program is wrong
    kFileIOError = 4,       ///< the system refused; the code is errno: tell the user, try again later
    kInternalError = 254,   ///< the library's own state is broken: stop using the object
};

/// Thrown and caught by value, and freely copied. The message is UTF-8 as far as the texts put into it are.
class MARLCORE_EXPORT CException : public std::exception {
public:
    CException() = default;
    explicit CException(ExceptionType type);
    CException(ExceptionType type, int code);
    CException(ExceptionType type, int code, const char* message);
    /// `format` as for printf.
    CException(ExceptionType type, const char* format, ...) __attribute__((format(printf, 3, 4)));

    /// Appends printf-formatted text to the message. Returns nothing: `throw CParamException(...)` with this
    /// call behind it would throw what a reference to the base returns, a bare `CException`.
    void concatMessage(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// Throws a copy of this object with its own class, so that a handler for a derived class catches it.
    [[noreturn]] virtual void Throw() const;

    ExceptionType getType() const noexcept { return m_type; }
    /// errno of a failed system call, 0 where there is none.
    int getCode() const noexcept { return m_code; }
    const std::string& getMessage() const noexcept { return m_message; }
    const char* what() const noexcept override { return m_message.c_str(); }

protected:
    void appendFormatted(const char* format, std::va_list arguments);

private:
    ExceptionType m_type = kNoError;
    int m_code = 0;
    std::string m_message;
};

/// A required object is missing.
class MARLCORE_EXPORT CNullPointerException : public CException {
public:
    using CException::CException;
    CNullPointerException(ExceptionType type, const char* format, ...) __attribute__((format(printf, 3, 4)));
    [[noreturn]] void Throw() const override;
};

/// A parameter, a state or an input is not acceptable.
class MARLCORE_EXPORT CParamException : public CException {
public:
    using CException::CException;
    CParamException(ExceptionType type, const char* format, ...) __attribute__((format(printf, 3, 4)));
    [[noreturn]] void Throw() const override;
};

/// Throws `CNullPointerException` "Error: `name` is null!" when `object` (a pointer or a reference) is null.
template <typename Object>
void throwIfNull(const Object& object, const char* name) {
    if (object == nullptr) throw CNullPointerException(kNullPointerError, "Error: %s is null!", name);
}

/// Raises a `platform::Exception` that carries the message of `exception`. The host-facing classes pass every
/// `CException` here, so that none reaches a host through them.
[[noreturn]] MARLCORE_EXPORT void convertAndRaise(const CException* exception);

}  // namespace halyard
