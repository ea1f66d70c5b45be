// SPDX-License-Identifier: MIT
#include <tools/okt/files/textsession.h>

#include <tools/okt/files/exportfiles.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktplatform/oktprogram.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

// Editors that open a file at the line of an argument +N.
constexpr std::array<std::string_view, 13> kTakeLine = {"vi",  "vim",    "nvim",        "view",  "nano", "pico", "emacs",
                                                        "joe", "mcedit", "emacsclient", "micro", "kak",  "ne"};

std::string editorOfUser()
{
    for (char16_t const *const name : {u"VISUAL", u"EDITOR"})
        if (std::string const editor = OktEnvironmentVariable(CString(name)).ToUtf8();
            editor.find_first_not_of(' ') != std::string::npos)
            return editor;
    return "vi";
}

std::string nameOfEditor(std::string const &editor)
{
    std::string const program = editor.substr(0, editor.find(' '));
    return program.substr(program.find_last_of("/\\") + 1); // npos + 1 is the begin
}

std::string shellQuoted(std::string const &text, bool isForWindows)
{
    if (isForWindows)
        return sentence("\"{}\"", text); // a name there has no quotation marks
    std::string quoted = "'";
    for (char const c : text)
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

void writeFile(fs::path const &path, std::string_view bytes)
{
    OutputFile file(path, true);
    file.write(bytes);
    file.close();
    file.commit();
}

} // namespace

std::string editorCommand(std::string const &editor, std::string const &file, long line, bool isForWindows)
{
    std::string const name = nameOfEditor(editor);
    bool const takesLine = line > 0 && std::find(kTakeLine.begin(), kTakeLine.end(), name) != kTakeLine.end();
    std::string const command =
        sentence("{}{} {}", editor, takesLine ? sentence(" +{}", line) : "", shellQuoted(file, isForWindows));
    return isForWindows ? sentence("\"{}\"", command) : command; // the shell there takes the outer pair away
}

TextSession::TextSession(fs::path const &stem)
{
    std::error_code error;
    fs::path const root = fs::temp_directory_path(error);
    m_folder = root / sentence("okt-edit-{}{}", std::random_device()(), std::random_device()());
    if (error || !fs::create_directory(m_folder, error) || error)
        throw Failure(pathName(m_folder), "", "the folder for the text cannot be made: " + error.message());
    fs::permissions(m_folder, fs::perms::owner_all, error);
    m_text = m_folder / stem;
    m_text += ".json";
}

TextSession::~TextSession()
{
    std::error_code ignored;
    if (!m_isKept)
        fs::remove_all(m_folder, ignored);
}

void TextSession::write(std::string_view text) { writeFile(m_text, text); }

std::string TextSession::read() const { return readText(m_text); }

std::string TextSession::put(std::string const &stem, std::string_view bytes)
{
    std::string name = stem;
    for (int number = 2; !m_names.insert(name).second; ++number)
        name = sentence("{}-{}", stem, number);
    writeFile(m_folder / utf8Path(name), bytes);
    return name;
}

CByteArray TextSession::get(std::string const &name) const { return readBytes(m_folder / utf8Path(name)); }

void TextSession::open(long line)
{
    bool const isForWindows = fs::path::preferred_separator == '\\';
    std::string const editor = editorOfUser();
    // NOLINTNEXTLINE(cert-env33-c): what EDITOR says is a command with its options
    int const code = std::system(editorCommand(editor, pathName(m_text), line, isForWindows).c_str());
    if (code != 0)
        throw Failure(editor, "", "the editor ended with a failure; nothing is saved, the text is kept in " + keep());
}

std::string TextSession::keep()
{
    m_isKept = true;
    return pathName(m_text);
}

} // namespace okt
