// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Exception.h>

#include <utility>

namespace platform {

Exception::Exception(std::string name, std::string reason)
    : m_name(std::move(name)), m_reason(std::move(reason)) {}

void assertParameter(bool holds, const char* condition, const char* file, int line) {
    if (holds) return;
    throw Exception(kInternalInconsistencyException, std::string("Invalid parameter not satisfying: ") +
                                                         condition + " (" + file + ":" +
                                                         std::to_string(line) + ")");
}

}  // namespace platform
