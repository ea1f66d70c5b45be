// SPDX-License-Identifier: MIT
#include <tools/okt/files/templatefile.h>

#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/text.h>

#include <memory>

namespace okt
{

std::vector<std::string> TemplateFile::faults() const
{
    std::vector<std::string> lines;
    for (TemplateFault const &fault : pool.faults)
        lines.emplace_back(Failure(name, pool.size == 0 ? "" : byteAt(fault.offset), fault.reason).what());
    return lines;
}

TemplateFile readTemplateFile(std::string const &file)
{
    std::filesystem::path const path = utf8Path(file);
    OnProgress const onProgress = terminalProgress();
    std::unique_ptr<ByteSource> const source = openSource(path, onProgress);
    TemplateFile result{inputName(path), {}};
    result.pool = readTemplate(*source, result.name, onProgress);
    return result;
}

} // namespace okt
