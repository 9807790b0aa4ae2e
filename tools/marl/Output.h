// SPDX-License-Identifier: MIT
/// \file
/// What the subcommands print alike: error lines and text for JSON.
#pragma once

#include <MarlCore/foundation/CString.h>

#include <nlohmann/json.hpp>

#include <exception>
#include <iosfwd>
#include <string>
#include <string_view>

namespace marl::tool {

using json = nlohmann::ordered_json;

/// Exit statuses of the program.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;

/// One line that says which file and what: "marl: loops/a.wav: couldn't find data tag". An empty path shows
/// as two quotes.
void reportError(std::ostream& err, std::string_view path, std::string_view message);

/// What an exception has to say to a user. Where the system refused, that is `attempt` ("cannot be read") and
/// the system's own words, without the library's text: that names a file once more, or a temporary one.
std::string messageOf(const std::exception& exception, std::string_view attempt);

/// What the library gives as its reason; where a file is not what its name says, that comes first.
std::string explained(const std::string& reason);

/// The same as `messageOf` of a `folder` that the library could not list: its text names the calls that it
/// made. The system is asked again.
std::string messageOfFolder(const std::string& folder, const std::exception& exception);

/// Bytes as UTF-8: as they are when they are that, else with U+FFFD in place of each byte that is not.
std::string toUTF8(std::string_view bytes);

/// Sets `path` in `object` to the path as UTF-8. When that loses bytes, `pathURL` is set too: the file URL,
/// whose percent-escapes hold them.
void putPath(json& object, const std::string& path);

/// The text, or null.
json textOrNull(const halyard::CStringRef& text);

/// Prints one JSON value and a line break. Returns the exit status: an output that cannot take it is an
/// error.
int printJSON(std::ostream& out, std::ostream& err, const json& value);

/// Flushes `out`. Returns false, with a line on `err`, when it did not take all that was printed.
bool flushed(std::ostream& out, std::ostream& err);

}  // namespace marl::tool
