// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/failure.h>
#include <oktformat/text.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/terminal/progress.h>

#include <okttext/okttextpool.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <streambuf>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::string text;
    std::string output;
    std::string pictures;
    bool replaces = false;
};

/// A text may be longer than a pool file can be, so it is read piece by piece.
std::ifstream openText(fs::path const &path)
{
    std::string const name = pathName(path);
    std::error_code error;
    fs::file_status const status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
        throw Failure(name, "", "there is no such file");
    if (error)
        throw Failure(name, "", "the file cannot be reached: " + error.message());
    if (fs::is_directory(status))
        throw Failure(name, "", "this is a folder, not a file");
    errno = 0;
    std::ifstream text(path, std::ios::binary);
    if (!text)
        throw Failure(name, "", "the file cannot be opened: " + systemReason(errno));
    return text;
}

/// Reads a text in pieces and shows the progress; after its end, that the file is being made.
class ToldText : public std::streambuf
{
public:
    ToldText(std::streambuf &text, std::string const &name, std::uintmax_t size) : m_text(text), m_name(name)
    {
        m_progress.emplace(name, size);
    }

protected:
    int_type underflow() override
    {
        std::streamsize const count = m_text.sgetn(m_piece.data(), static_cast<std::streamsize>(m_piece.size()));
        if (count <= 0)
        {
            m_progress.reset();
            if (!m_waiting)
                m_waiting.emplace(m_name, m_done);
            return traits_type::eof();
        }
        m_done += static_cast<std::uintmax_t>(count);
        if (m_progress)
            m_progress->at(m_done);
        setg(m_piece.data(), m_piece.data(), m_piece.data() + count);
        return traits_type::to_int_type(m_piece.front());
    }

private:
    std::streambuf &m_text;
    std::string m_name;
    std::optional<ProgressLine> m_progress;
    std::optional<Waiting> m_waiting;
    std::uintmax_t m_done = 0;
    std::array<char, 1 << 16> m_piece;
};

/// Makes the pool file of a text form, in one step. Without a folder, pictures are looked for beside the text.
void importText(fs::path const &path, fs::path const &output, fs::path const &pictures, bool replaces)
{
    refuseSameFile(path, output, "the text itself");
    bool const isStandardInput = path == kStandardStream;
    fs::path const folder = pictures.empty() && !isStandardInput ? path.parent_path() : pictures;
    auto const get = [&folder](std::string const &name) { return readBytes(folder / utf8Path(name)); };
    CByteArray image;
    OKTTextFault fault;
    std::ifstream file;
    if (!isStandardInput)
        file = openText(path);
    std::error_code ignored;
    std::uintmax_t const size = isStandardInput ? 0 : fs::file_size(path, ignored);
    ToldText told(isStandardInput ? *std::cin.rdbuf() : *file.rdbuf(), printable(inputName(path)), ignored ? 0 : size);
    std::istream text(&told);
    if (!OktImportText(text, image, fault, get))
        throw Failure(inputName(path), fault.place(), fault.reason);
    OutputFile pool(output, replaces);
    pool.write({reinterpret_cast<char const *>(image.GetData()), static_cast<std::size_t>(image.GetSize())});
    pool.close();
    pool.commit();
}

} // namespace

void addImport(CommandLine &line)
{
    DeclaredCommand const command(line, "import", "Makes a pool file of its text.");
    auto const options = std::make_shared<Options>();
    command.option("JSON", options->text, "a text that okt export made; - for standard input").required();
    command.option("-o,--output", options->output, "the pool file; - for standard output").required();
    command.option("--pictures", options->pictures, "the folder with the pictures; that of the text without this option")
        .valueName("DIR");
    command.flag("--force", options->replaces, "replace files that exist");
    command.onParsed([&line, options] {
        line.run = [options] {
            importText(utf8Path(options->text), utf8Path(options->output), utf8Path(options->pictures), options->replaces);
            return kDone;
        };
    });
}

} // namespace okt
