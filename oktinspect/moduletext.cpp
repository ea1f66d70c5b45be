// SPDX-License-Identifier: MIT
#include <oktinspect/moduletext.h>

#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

namespace okt
{

namespace
{

std::string fileText(std::filesystem::path const &file, ModuleOrigin origin, ModulePlace place)
{
    std::string const path = printable(std::string_view(pathName(place == ModulePlace::Path ? file : file.filename())));
    if (place == ModulePlace::Path)
        return path;
    return path + (origin == ModuleOrigin::Variable ? " from OKT_MODULE_PATH" : " from okt's own modules");
}

} // namespace

std::vector<std::string> moduleLines(PoolFile const &file, ModulePlace place)
{
    std::vector<std::string> lines;
    for (UsedModule const &module : file.modules)
    {
        std::string classes;
        for (std::string const &name : module.classes)
            classes += (classes.empty() ? "" : ", ") + printable(std::string_view(name));
        lines.push_back(sentence("{}: {}", fileText(module.file, module.origin, place), classes));
    }
    return lines;
}

std::string moduleLine(Module const &module, CString const &className)
{
    return sentence("{}: {}", fileText(module.file, module.origin, ModulePlace::Path), printable(className));
}

std::string helpFor(ModuleAnswer const &answer, ModulePlace place)
{
    std::string const file = fileText(answer.file, answer.origin, place);
    switch (answer.kind)
    {
    case ModuleAnswer::Kind::LeftOut: return file + " names it, which --no-modules leaves out";
    case ModuleAnswer::Kind::Refused: // the reason may tell folders
        return file + (place == ModulePlace::Path ? " names it: " + answer.reason : " names it, and cannot be used");
    case ModuleAnswer::Kind::Other:
        return file + " brings a class of this name with other members; --module FILE gives another";
    default: return "no module that okt finds names it; --module FILE gives one, okt modules tells where okt looks";
    }
}

std::optional<std::string> moduleNaming(std::string const &className)
{
    ModuleAnswer const &answer = modules().candidateFor(CString::FromUtf8(className));
    if (answer.kind != ModuleAnswer::Kind::LeftOut)
        return std::nullopt;
    return fileText(answer.file, answer.origin, ModulePlace::Path);
}

std::vector<std::string> missingLines(PoolFile const &file, ModulePlace place)
{
    std::vector<std::string> lines;
    for (MissingClass const &missing : file.missing)
        lines.push_back(
            sentence("{}, {}: {}", printable(missing.name), plural(missing.objects, "object"), helpFor(missing.answer, place)));
    return lines;
}

} // namespace okt
