// SPDX-License-Identifier: MIT
// Checks a pool file, and where something is wrong with it makes a new one of what is whole.
//   repair damaged.okt good.okt

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/recover.h>
#include <oktinspect/verifier.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string_view>

int main(int count, char **arguments)
try
{
    if (count != 3)
        return std::cerr << "usage: repair DAMAGED NEW\n", 2;
    okt::Verification const found = okt::verify(std::filesystem::path(arguments[1]));
    for (okt::Finding const &finding : found.findings)
        std::cout << okt::severityName(finding.severity) << ' ' << okt::codeName(finding.code) << " at byte " << finding.offset
                  << ": " << okt::sentenceOf(finding) << '\n';
    if (found.isSound())
        return 0;
    std::unique_ptr<okt::ByteSource> const damaged = okt::openSource(arguments[1]);
    std::ofstream file(arguments[2], std::ios::binary);
    okt::Recovered const made = okt::recover(
        *damaged, [&file](std::string_view piece) { file.write(piece.data(), static_cast<std::streamsize>(piece.size())); });
    std::cout << made.objects.size() - static_cast<std::size_t>(made.check.doubtfulObjects) << " rescued, "
              << made.check.doubtfulObjects << " doubtful, " << made.check.lost << " lost\n";
    return !made.isNothing() && file.flush() ? 0 : 1;
}
catch (std::runtime_error const &failure)
{
    std::cerr << failure.what() << '\n';
    return 1;
}
