// SPDX-License-Identifier: MIT
/// \file
/// An environment variable that is as it was before once a test is done.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace support {

/// Sets the variable, or removes it where `value` is null, for as long as this object lives.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : m_name(name) {
        if (const char* const before = std::getenv(name)) m_before = before;
        set(value);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() { set(m_before ? m_before->c_str() : nullptr); }

private:
    void set(const char* value) const {
        value ? ::setenv(m_name.c_str(), value, 1) : ::unsetenv(m_name.c_str());
    }

    std::string m_name;
    std::optional<std::string> m_before;
};

}  // namespace support
