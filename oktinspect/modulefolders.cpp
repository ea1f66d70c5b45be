// SPDX-License-Identifier: MIT
#include <oktinspect/modulefolders.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/folderentries.h>

#include <oktplatform/oktprogram.h>

#include <algorithm>
#include <string_view>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

constexpr char kWritable[] = "everybody may write there";

std::string refusalOfFolder(fs::path const &path)
{
    std::error_code error;
    if (!path.is_absolute())
        return "the path is not absolute";
    fs::file_status const status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        return "there is no such folder";
    if (error)
        return error.message();
    if (!fs::is_directory(status))
        return "this is no folder";
    if (fs::directory_iterator const tried = entriesOf(path, error); error)
        return error.message();
    return OktIsWritableByAll(pathText(path)) ? kWritable : "";
}

/// The bytes of a literal with characters of this type, with its final zero, as in the file of a library.
template <typename Character> std::string literalBytes(std::u16string const &text)
{
    std::basic_string<Character> characters(text.begin(), text.end());
    characters.push_back(0);
    return {reinterpret_cast<char const *>(characters.data()), characters.size() * sizeof(Character)};
}

} // namespace

std::vector<ModuleFolder> moduleFolders(std::string const &variable, fs::path const &program)
{
    std::vector<ModuleFolder> folders;
    auto const add = [&folders](fs::path const &path, ModuleOrigin origin) {
        auto const isSame = [&path](ModuleFolder const &folder) { return folder.path == path; };
        if (std::none_of(folders.begin(), folders.end(), isSame))
            folders.push_back({path, origin, refusalOfFolder(path), false});
    };
    for (std::size_t begin = 0; begin <= variable.size();)
    {
        std::size_t const end = std::min(variable.find(OktListSeparator(), begin), variable.size());
        if (end > begin)
            add(utf8Path(variable.substr(begin, end - begin)), ModuleOrigin::Variable);
        begin = end + 1;
    }
    if (program.empty())
        return folders;
    add((program.parent_path() / utf8Path(OKT_MODULES_FROM_PROGRAM)).lexically_normal(), ModuleOrigin::Own);
    if (ModuleFolder &own = folders.back();
        own.origin == ModuleOrigin::Own && OktIsWritableByAll(pathText(program.parent_path())))
    {
        own.isAsOpenAsOkt = true;
        own.refusal = own.refusal == kWritable ? "" : own.refusal;
    }
    return folders;
}

std::vector<ModuleFolder> moduleFolders()
{
    return moduleFolders(OktEnvironmentVariable(L"OKT_MODULE_PATH").ToUtf8(), utf8Path(OktProgramFile().ToUtf8()));
}

std::vector<fs::path> moduleFilesIn(ModuleFolder const &folder)
{
    std::vector<fs::path> files;
    if (!folder.refusal.empty())
        return files;
    std::error_code error;
    for (fs::directory_iterator entry = entriesOf(folder.path, error), end; !error && entry != end; entry.increment(error))
    {
        std::error_code ignored;
        bool const isLibrary = pathText(entry->path().extension()).CompareNoCase(OktLibraryEnding()) == 0;
        if (isLibrary && entry->is_regular_file(ignored))
            files.push_back(entry->path());
    }
    if (error) // what is not seen may be the module that is looked for
        throw Failure(pathName(folder.path), "", "the folder cannot be read: " + error.message());
    std::sort(files.begin(), files.end());
    return files;
}

std::string refusalOfModule(ModuleFolder const &folder, fs::path const &file)
{
    if (folder.isAsOpenAsOkt)
        return "";
    // Follow links to the file that would be loaded.
    std::error_code error;
    fs::path const real = fs::canonical(file, error);
    if (error)
        return error.message();
    if (OktIsWritableByAll(pathText(real)))
        return "everybody may write to the file";
    return OktIsWritableByAll(pathText(real.parent_path())) ? "everybody may write to the folder of the file" : "";
}

bool namesClass(fs::path const &file, std::u16string const &className)
{
    try
    {
        CByteArray const bytes = readBytes(file);
        std::string_view const all(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
        return all.find(literalBytes<char16_t>(className)) != std::string_view::npos ||
               all.find(literalBytes<wchar_t>(className)) != std::string_view::npos ||
               all.find(literalBytes<char>(className)) != std::string_view::npos;
    }
    catch (Failure const &)
    {
        return false; // a file that cannot be read cannot be loaded either
    }
}

} // namespace okt
