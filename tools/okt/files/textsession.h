// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace okt
{

/// A text that is edited in a folder of its own, with the pictures beside it. The folder goes away with the object, unless it is to
/// be kept.
class TextSession
{
public:
    /// `stem` is what the text is named after. Throws Failure, as do the others.
    explicit TextSession(std::filesystem::path const &stem);
    TextSession(TextSession const &) = delete;
    TextSession &operator=(TextSession const &) = delete;
    ~TextSession();

    void write(std::string_view text);
    std::string read() const;
    /// A picture; gives the name under which the text has it.
    std::string put(std::string const &stem, std::string_view bytes);
    CByteArray get(std::string const &name) const;

    /// Lets the user edit the text, with the editor of the variables VISUAL or EDITOR, else vi, at that line where the editor is one
    /// that takes it so; 0: at none. Comes back when the editor ends; where that is a failure, so is this.
    void open(long line);

    /// From now on the folder stays. Gives the path of the text.
    std::string keep();

private:
    std::filesystem::path m_folder;
    std::filesystem::path m_text;
    std::set<std::string> m_names;
    bool m_isKept = false;
};

/// The command line for an editor, as a shell takes it. The variable may have options in it.
std::string editorCommand(std::string const &editor, std::string const &file, long line, bool isForWindows);

} // namespace okt
