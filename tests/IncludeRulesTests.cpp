// SPDX-License-Identifier: MIT
// What a source of the library may include. The rules are read from the text, so that they hold for code that
// this build leaves out as well; a directive that is not written plainly is a fault by itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// The layers that each layer may use.
const std::map<std::string, std::set<std::string>> kLayers = {
    {"platform", {"platform"}},
    {"foundation", {"foundation", "platform"}},
    {"Files", {"Files", "foundation", "platform"}},
    {"Common", {"Common", "platform"}},
    {"MediaManager", {"MediaManager", "Common", "Files", "foundation", "platform"}},
    {"Utilities", {"Utilities", "foundation", "platform"}},
    {"SearchEngine", {"SearchEngine", "Files", "foundation", "platform"}},
};

/// The words of a text.
std::set<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

const std::set<std::string> kStandardHeaders = words(
    "algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv "
    "chrono cinttypes climits clocale cmath compare complex concepts condition_variable coroutine "
    "csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque "
    "exception execution filesystem forward_list fstream functional future initializer_list iomanip "
    "ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex "
    "new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore "
    "set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string "
    "string_view system_error thread tuple type_traits typeindex typeinfo unordered_map "
    "unordered_set utility valarray variant vector version "
    // POSIX
    "dirent.h dlfcn.h fcntl.h fnmatch.h ftw.h glob.h langinfo.h libgen.h poll.h pthread.h pwd.h "
    "sched.h semaphore.h spawn.h strings.h sys/mman.h sys/resource.h sys/select.h sys/stat.h "
    "sys/statvfs.h sys/time.h sys/times.h sys/types.h sys/uio.h sys/utsname.h sys/wait.h termios.h "
    "unistd.h ");

/// One processor's or Linux's own: an implementation may use them, an interface not.
const std::set<std::string> kHeadersOfImplementations =
    words("arm_neon.h immintrin.h sys/file.h sys/inotify.h sys/timerfd.h sys/xattr.h ");

const std::set<std::string> kDirectives =
    words("define elif else endif error if ifdef ifndef undef pragma include ");

std::string_view trimmedLeft(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t\r\v\f"), text.size()));
}

/// The lines, each joined with the next one where a backslash ends it.
std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    bool continues = false;
    for (std::string line; std::getline(stream, line);) {
        const std::size_t last = line.find_last_not_of(" \t\r");
        const bool continued = last != std::string::npos && line[last] == '\\';
        if (continued) line.erase(last);
        continues ? (void)lines.back().append(line) : lines.push_back(line);
        continues = continued;
    }
    return lines;
}

bool startsDirective(std::string_view text) {
    return text.starts_with('#') || text.starts_with("%:") || text.starts_with("?\?=");
}

/// True for a directive in an alternative spelling or behind a comment.
bool isDisguised(std::string_view line) {
    if (startsDirective(trimmedLeft(line)) && !trimmedLeft(line).starts_with('#')) return true;
    for (std::size_t end = line.find("*/"); end != std::string_view::npos; end = line.find("*/", end + 2))
        if (startsDirective(trimmedLeft(line.substr(end + 2)))) return true;
    return false;
}

/// The word behind the "#" of a directive.
std::string directiveOf(std::string_view line) {
    const std::string_view behind = trimmedLeft(trimmedLeft(line).substr(1));
    return std::string(behind.substr(0, behind.find_first_not_of("abcdefghijklmnopqrstuvwxyz_")));
}

/// The name in "#include <name>", with nothing but a line comment behind it, or "" for any other form.
std::string plainlyIncluded(std::string_view line) {
    constexpr std::string_view kStart = "#include <";
    if (!line.starts_with(kStart)) return "";
    line.remove_prefix(kStart.size());
    const std::string_view name = line.substr(0, line.find('>'));
    const std::string_view rest = line.substr(std::min(name.size() + 1, line.size()));
    const bool endsThere = name.size() < line.size() && (rest.empty() || rest.starts_with("  //"));
    return endsThere ? std::string(name) : "";
}

/// One file of the library, and what is wrong with it.
class Source {
public:
    /// `path` is relative to the library's folder, `library` all such paths.
    Source(std::string path, const std::string& text, const std::set<std::string>& library)
        : m_path(std::move(path)), m_lines(splitLines(text)), m_library(library) {
        check();
    }

    std::vector<std::string> faults() const { return m_faults; }

private:
    void check() {
        if (!kLayers.contains(layerOf(m_path))) return report("lies in no known layer");
        if (m_lines.empty() || m_lines.front() != "// SPDX-License-Identifier: MIT")
            report("does not begin with its licence");
        for (const std::string& line : m_lines) checkLine(line);
        for (const std::string& name : m_included) checkIncluded(name);
        isHeader() ? checkHeader() : checkOwnHeader();
    }

    void checkLine(const std::string& line) {
        if (isDisguised(line)) return report("disguises a directive: " + line);
        if (!startsDirective(trimmedLeft(line))) return;
        m_directives.push_back(line);
        const std::string directive = directiveOf(line);
        if (!kDirectives.contains(directive)) return report("has an unknown directive: " + line);
        if (directive != "include") return;
        const std::string name = plainlyIncluded(line);
        name.empty() ? report("has an unusual include: " + line) : m_included.push_back(name);
    }

    void checkIncluded(const std::string& name) {
        constexpr std::string_view kLibrary = "MarlCore/";
        if (name.starts_with(kLibrary)) return checkLayer(name.substr(kLibrary.size()));
        if (kStandardHeaders.contains(name)) return;
        if (!kHeadersOfImplementations.contains(name)) return report("includes a foreign header: " + name);
        if (isHeader()) report("shows a header of one system to its users: " + name);
    }

    void checkLayer(const std::string& target) {
        if (!m_library.contains(target)) return report("includes what does not exist: " + target);
        if (!kLayers.at(layerOf(m_path)).contains(layerOf(target)))
            report("uses a layer that it must not know: " + target);
    }

    void checkHeader() {
        if (m_directives.empty() || m_directives.front() != "#pragma once")
            report("is not guarded by #pragma once before all else");
        if (std::ranges::find(m_lines, "/// \\file") == m_lines.end()) report("does not say what it is for");
    }

    void checkOwnHeader() {
        const std::string own = fs::path(m_path).replace_extension(".h").string();
        if (m_library.contains(own) && (m_included.empty() || m_included.front() != "MarlCore/" + own))
            report("does not include its own header first");
    }

    bool isHeader() const { return m_path.ends_with(".h"); }
    static std::string layerOf(const std::string& path) { return path.substr(0, path.find('/')); }
    void report(const std::string& fault) { m_faults.push_back(m_path + " " + fault); }

    std::string m_path;
    std::vector<std::string> m_lines, m_directives, m_included, m_faults;
    const std::set<std::string>& m_library;
};

/// The paths of all files below `folder`, relative to it.
std::set<std::string> filesIn(const fs::path& folder) {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (!entry.is_directory()) files.insert(entry.path().lexically_relative(folder).string());
    return files;
}

std::string contentsOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(IncludeRules, HoldInTheLibrary) {
    const fs::path folder = MARL_LIBRARY_FOLDER;
    const std::set<std::string> library = filesIn(folder);
    ASSERT_TRUE(library.contains("platform/URL.cpp") && library.contains("foundation/CURL.h"));
    for (const std::string& path : library) {
        const std::string extension = fs::path(path).extension().string();
        if (path == "CMakeLists.txt" || path == "sources.cmake" || extension == ".in") continue;
        EXPECT_TRUE(extension == ".h" || extension == ".cpp") << path << " is neither header nor source";
        for (const std::string& fault : Source(path, contentsOf(folder / path), library).faults())
            ADD_FAILURE() << fault;
    }
}

const std::set<std::string> kMadeUpLibrary = {
    "platform/A.h",     "platform/A.cpp",   "foundation/B.h", "Files/C.h",     "Files/deep/C.cpp",
    "SearchEngine/D.h", "MediaManager/E.h", "Common/F.h",     "Utilities/G.h", "Files/deep/CImpl.h",
};

/// The faults of a file with that body behind an orderly beginning, joined.
std::string faultsOf(const std::string& path, const std::string& body) {
    std::string text = "// SPDX-License-Identifier: MIT\n";
    if (path.ends_with(".h")) text += "/// \\file\n/// Purpose.\n#pragma once\n\n";
    std::string all;
    for (const std::string& fault : Source(path, text + body, kMadeUpLibrary).faults()) all += fault + "\n";
    return all;
}

TEST(IncludeRules, AllowEachLayerJustTheLayersBelowIt) {
    const std::vector<std::string> headers = {"platform/A.h", "foundation/B.h",   "Files/C.h",
                                              "Common/F.h",   "MediaManager/E.h", "SearchEngine/D.h",
                                              "Utilities/G.h"};
    const std::map<std::string, std::string> allowed = {
        // in the order of `headers`
        {"platform/A.h", "x......"},  {"foundation/B.h", "xx....."},   {"Files/C.h", "xxx...."},
        {"Common/F.h", "x..x..."},    {"MediaManager/E.h", "xxxxx.."}, {"SearchEngine/D.h", "xxx..x."},
        {"Utilities/G.h", "xx....x"},
    };
    for (const auto& [from, row] : allowed) {
        for (std::size_t i = 0; i < headers.size(); ++i) {
            const std::string faults = faultsOf(from, "#include <MarlCore/" + headers[i] + ">\n");
            EXPECT_EQ(faults.empty(), row[i] == 'x') << from << " -> " << headers[i] << ": " << faults;
        }
    }
}

TEST(IncludeRules, AcceptOrderlyFiles) {
    EXPECT_EQ(
        faultsOf("Files/C.h",
                 "#include <MarlCore/platform/A.h>\n\n#include <vector>  // why\n#include <sys/stat.h>\n"
                 "#define TWO \\\n  lines\n#if defined(X)\n#endif\n"),
        "");
    EXPECT_EQ(faultsOf("platform/A.cpp", "#include <MarlCore/platform/A.h>\n#include <immintrin.h>\n"), "");
    EXPECT_EQ(faultsOf("Files/deep/C.cpp", "#include <MarlCore/Files/deep/CImpl.h>\n// #include is a word\n"),
              "");
}

TEST(IncludeRules, FindEachFault) {
    const struct {
        const char* path;
        const char* body;
        const char* fault;
    } cases[] = {
        {"Files/C.h", "#include <sndfile.h>\n", "foreign header: sndfile.h"},
        {"Files/C.h", "#include <stdio.h>\n", "foreign header: stdio.h"},
        {"Files/C.h", "#include <boost/any.hpp>\n", "foreign header"},
        {"Files/C.h", "#include <tests/support/Bytes.h>\n", "foreign header"},
        {"Files/C.h", "#include <immintrin.h>\n", "shows a header of one system"},
        {"Files/C.h", "#include \"C.h\"\n", "unusual include"},
        {"Files/C.h", "#include \"MarlCore/platform/A.h\"\n", "unusual include"},
        {"Files/C.h", "#include HEADER\n", "unusual include"},
        {"Files/C.h", "  #  include <vector>\n", "unusual include"},
        {"Files/C.h", "#include <vector> /* <sndfile.h> */\n", "unusual include"},
        {"Files/C.h", "#inc\\\nlude <sndfile.h>\n", "foreign header"},
        {"Files/C.h", "#\\\r\ninclude <sndfile.h>\n", "foreign header"},
        {"Files/C.h", "/* */ #include <sndfile.h>\n", "disguises"},
        {"Files/C.h", "\f#include <sndfile.h>\n", "unusual include"},
        {"Files/C.h", "/*\n*/#include <sndfile.h>\n", "disguises"},
        {"Files/C.h", "/**/ /* */ #include <sndfile.h> /* */\n", "disguises"},
        {"Files/C.h", "%:include <sndfile.h>\n", "disguises"},
        {"Files/C.h", "#include <vector\n", "unusual include"},
        {"Files/C.h", "#include <>\n", "unusual include"},
        {"Files/C.h", "#/* */include <sndfile.h>\n", "unknown directive"},
        {"Files/C.h", "#include_next <vector>\n", "unknown directive"},
        {"Files/C.h", "#import <vector>\n", "unknown directive"},
        {"Files/C.h", "#if 0\n#include <sndfile.h>\n#endif\n", "foreign header"},
        {"Files/C.h", "#include <MarlCore/Files/Missing.h>\n", "does not exist"},
        {"Files/C.h", "#include <MarlCore/platform/../SearchEngine/D.h>\n", "does not exist"},
        {"Files/C.h", "#include <MarlCore//SearchEngine/D.h>\n", "does not exist"},
        {"Files/C.h", "#include <MarlCore/SearchEngine/D.h>", "must not know: SearchEngine/D.h"},
        {"Files/deep/C.cpp", "#include <MarlCore/SearchEngine/D.h>\n", "must not know"},
        {"platform/A.cpp", "#include <vector>\n#include <MarlCore/platform/A.h>\n", "own header first"},
        {"platform/A.cpp", "", "own header first"},
        {"Version.h", "", "no known layer"},
        {"Extras/H.h", "", "no known layer"},
    };
    for (const auto& [path, body, fault] : cases) {
        const std::string faults = faultsOf(path, body);
        EXPECT_NE(faults.find(fault), std::string::npos) << path << ": " << body << "-> " << faults;
    }
}

TEST(IncludeRules, AskForLicenceGuardAndPurpose) {
    const std::string licence = "// SPDX-License-Identifier: MIT\n", purpose = "/// \\file\n/// Purpose.\n",
                      guard = "#pragma once\n", include = "#include <vector>\n";
    const struct {
        std::string text;
        const char* fault;  // null: none
    } cases[] = {
        {licence + purpose + guard + include, nullptr},
        {"", "licence"},
        {"\n" + licence + purpose + guard, "licence"},
        {"// SPDX-License-Identifier: MIT OR GPL\n" + purpose + guard, "licence"},
        {licence + purpose + include, "guarded"},
        {licence + purpose + include + guard, "guarded"},
        {licence + purpose + "// #pragma once\n", "guarded"},
        {licence + guard + include, "what it is for"},
    };
    for (const auto& each : cases) {
        const std::string& text = each.text;
        const char* const fault = each.fault;
        const std::vector<std::string> faults = Source("platform/A.h", text, kMadeUpLibrary).faults();
        EXPECT_EQ(faults.empty(), fault == nullptr) << text;
        const auto names = [fault](const std::string& found) {
            return found.find(fault) != std::string::npos;
        };
        EXPECT_TRUE(!fault || std::ranges::any_of(faults, names)) << text << "-> not: " << fault;
    }
}

}  // namespace
