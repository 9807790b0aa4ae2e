// SPDX-License-Identifier: MIT
#include "marl/Output.h"

#include "marl/LoopFile.h"
#include "marl/TerminalText.h"

#include <MarlCore/foundation/CException.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <ostream>
#include <system_error>

namespace marl::tool {
namespace {

/// The errno behind an exception, 0 when there is none.
int systemErrorOf(const std::exception& exception) {
    if (const auto* const failure = dynamic_cast<const halyard::CException*>(&exception))
        return failure->getType() == halyard::kFileIOError ? failure->getCode() : 0;
    const auto* const failure = dynamic_cast<const std::system_error*>(&exception);
    return failure ? failure->code().value() : 0;
}

/// The library's reasons for files that are not what their names say.
constexpr struct {
    std::string_view reason, meaning;
} kForeignFiles[] = {{"couldn't find FORM master chunk", "not an AIFF file: "},
                     {"couldn't find RIFF tag", "not a WAV file: "},
                     {"WAVE is not in the RIFF tag!", "not a WAV file: "}};

}  // namespace

void reportError(std::ostream& err, std::string_view path, std::string_view message) {
    err << "marl: " << terminalText(path.empty() ? "''" : path) << ": " << terminalText(message) << "\n";
}

std::string messageOf(const std::exception& exception, std::string_view attempt) {
    if (dynamic_cast<const std::bad_alloc*>(&exception)) return "there is not enough memory";
    const int error = systemErrorOf(exception);
    if (error == 0) return explained(exception.what());
    return std::string(attempt) + ": " + std::generic_category().message(error);
}

std::string explained(const std::string& reason) {
    for (const auto& foreign : kForeignFiles)
        if (reason == foreign.reason) return std::string(foreign.meaning) + reason;
    return reason;
}

std::string messageOfFolder(const std::string& folder, const std::exception& exception) {
    std::error_code error;
    const std::filesystem::directory_iterator list(folder, error);
    return error ? "cannot be read: " + error.message() : exception.what();
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
    errno = 0;  // stays 0 when an earlier write has failed: the reason is lost then
    out.flush();
    if (out) return true;
    const std::string reason = errno != 0 ? ": " + std::generic_category().message(errno) : "";
    reportError(err, "standard output", "cannot be written" + reason);
    return false;
}

}  // namespace marl::tool
