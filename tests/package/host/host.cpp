// SPDX-License-Identifier: MIT
// Prints the quarter notes of a loop, and where the library finds its resources.
#include <MarlCore/Files/IFile.h>
#include <MarlCore/platform/Bundle.h>

#include <cstdio>

int main(int, char** argv) {
    const CURLRef url(new CURL(halyard::CSTR(argv[1]), CURL::kPOSIXPathStyle, false));
    const marl::IFileRef file(marl::IFile::New(url, false));
    file->getFileParserRef()->parse(marl::IFileParser::kBasicTaggingInfo);
    const auto resource = platform::Bundle::pathForResource("Default Values", "plist");
    std::printf("%d quarter notes\n%s\n", file->getFileParserRef()->getNumberOfBeats(),
                resource.value_or("").c_str());
}
