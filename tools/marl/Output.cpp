// SPDX-License-Identifier: MIT
#include "marl/Output.h"

#include "marl/LoopFile.h"
#include "marl/TerminalText.h"

#include <ostream>

namespace marl::tool {

void reportError(std::ostream& err, std::string_view path, std::string_view message) {
    err << "marl: " << terminalText(path) << ": " << terminalText(message) << "\n";
}

std::string toUTF8(std::string_view bytes) {
    // The JSON library's own replacement of what is not UTF-8, with the quotes around it taken off again.
    return json::parse(json(bytes).dump(-1, ' ', false, json::error_handler_t::replace)).get<std::string>();
}

void putPath(json& object, const std::string& path) {
    object["path"] = toUTF8(path);
    if (!halyard::isValidUTF8(path))
        object["pathURL"] = halyard::asString(urlOfPath(path)->getString())->getStringRef();
}

json textOrNull(const halyard::CStringRef& text) {
    return text ? json(toUTF8(text->getStringRef())) : json(nullptr);
}

int printJSON(std::ostream& out, std::ostream& err, const json& value) {
    out << value.dump(2) << "\n";
    return flushed(out, err) ? kDone : kFailed;
}

bool flushed(std::ostream& out, std::ostream& err) {
    out.flush();
    if (out) return true;
    reportError(err, "standard output", "could not be written");
    return false;
}

}  // namespace marl::tool
