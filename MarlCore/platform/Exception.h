// SPDX-License-Identifier: MIT
/// \file
/// The exception that the host-facing classes raise, and the check of their parameters.
#pragma once

#include <MarlCore/platform/Export.h>

#include <exception>
#include <string>

namespace platform {

/// Raised towards a host: a short name that tells the kind, and a reason for a person to read.
/// [any thread]
class MARLCORE_EXPORT Exception : public std::exception {
public:
    Exception(std::string name, std::string reason);

    const std::string& name() const noexcept { return m_name; }
    const std::string& reason() const noexcept { return m_reason; }
    const char* what() const noexcept override { return m_reason.c_str(); }

private:
    std::string m_name;
    std::string m_reason;
};

/// Name of the exception that `assertParameter` raises.
inline constexpr char kInternalInconsistencyException[] = "InternalInconsistencyException";

/// Throws an `Exception` reading "Invalid parameter not satisfying: " and `condition`, followed by the place
/// of the call, unless `holds`.
MARLCORE_EXPORT void assertParameter(bool holds, const char* condition, const char* file = __builtin_FILE(),
                                     int line = __builtin_LINE());

}  // namespace platform
