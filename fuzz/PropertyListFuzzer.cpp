// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PropertyList.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

/// What is read can be written, and that is read as the same text again. (Values cannot be compared: NaN.)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using platform::PropertyList;
    PropertyList list;
    try {
        list = PropertyList::parse({reinterpret_cast<const char*>(data), size});
    } catch (const platform::PropertyListError& error) {
        if (error.line() < 1) std::abort();
        return 0;
    }
    const std::string xml = list.toXML();
    if (PropertyList::parse(xml).toXML() != xml) std::abort();
    return 0;
}
