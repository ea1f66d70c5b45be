// SPDX-License-Identifier: MIT
#include <tools/okt/commands/complete.h>

#include <tools/okt/commands/help.h>

#include <oktformat/sentence.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string_view>

namespace okt
{

namespace
{

// Each script asks the program named in the line, or the one in PATH if that cannot be run. The shell selects from the
// candidates those that fit what is typed, by its own rules.

// Bash begins a new word after "=".
constexpr char kBash[] = R"(# Completion of okt for bash; okt completion bash writes it.
_okt()
{
    local okt=${COMP_WORDS[0]/#\~/$HOME} current=${COMP_WORDS[COMP_CWORD]#=} found IFS=$'\n'
    type -P "$okt" >/dev/null || okt=okt
    mapfile -t found < <("$okt" __complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    if [[ ${found[0]} == :* ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
    else
        mapfile -t COMPREPLY < <(compgen -W "${found[*]%%$'\t'*}" -- "$current")
    fi
    return 0
}
complete -F _okt okt
)";

// From a folder of functions the script is loaded by the first completion, which it then has to do; a shell that sources it only
// learns of it.
constexpr char kZsh[] = R"(#compdef okt
# Completion of okt for zsh; okt completion zsh writes it.
_okt() {
    local okt=${${(Q)words[1]}/#\~\//$HOME/}
    local -a found
    whence -p -- $okt >/dev/null || okt=okt
    found=("${(@f)$($okt __complete -- "${(@Q)words[2,CURRENT-1]}" "$PREFIX" 2>/dev/null)}")
    [[ $found[1] == :* && $PREFIX == --*=* ]] && compset -P 1 '*='
    case $found[1] in
    :file) _files ;;
    :folder) _files -/ ;;
    ?*) found=("${(@)found/$'\t'/:}"); _describe okt found ;;
    esac
}
if [[ ${funcstack[1]} == _okt ]]; then _okt "$@"; else compdef _okt okt; fi
)";

constexpr char kFish[] = R"(# Completion of okt for fish; okt completion fish writes it.
function __okt_complete -d 'What may stand at the cursor'
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l okt (string replace -r '^~' $HOME -- $words[1])
    type -q -- $okt; or set okt okt
    command $okt __complete -- $words[2..-1] "$current" 2>/dev/null
end
complete -c okt -f -a '(__okt_complete | string match -v ":*")'
complete -c okt -n '__okt_complete | string match -q ":*"' -F
)";

/// The state of the line after its words up to the cursor.
class Line
{
public:
    Line(CLI::App const &app, std::vector<std::string> const &words) : m_app(app)
    {
        for (std::size_t i = 0; i + 1 < words.size(); ++i)
            take(words[i]);
        m_current = words.empty() ? "" : words.back();
    }

    std::string candidates() const
    {
        if (m_isUnknown)
            return "";
        if (m_awaiting != nullptr)
            return valuesOf(*m_awaiting, "");
        if (!m_isEnded && m_current.starts_with('-'))
            return m_current.starts_with("--") && m_current.find('=') != std::string::npos ? behindEquals() : optionNames();
        return m_command == nullptr ? commandNames() : operands();
    }

private:
    static std::string lineOf(std::string const &word, std::string const &what)
    {
        return sentence("{}{}\n", word, what.empty() ? "" : "\t" + firstLine(what));
    }

    void take(std::string const &word)
    {
        if (m_awaiting != nullptr)
        {
            if (word != "=") // as bash parts --unit=mm
                m_awaiting = nullptr;
        }
        else if (!m_isEnded && word.size() > 1 && word[0] == '-')
            takeOption(word);
        else if (m_command == nullptr)
            takeCommand(word);
    }

    void takeOption(std::string const &word)
    {
        if (word == "--")
            m_isEnded = m_command != nullptr; // before the command it has no meaning
        else if (word[1] == '-')
        {
            CLI::Option const *const option = longOption(word);
            m_awaiting = option != nullptr && takesValue(*option) && word.find('=') == std::string::npos ? option : nullptr;
        }
        else
            for (std::size_t i = 1; i < word.size(); ++i)
            {
                auto const hasLetter = [&](CLI::Option const *option) { return option->check_sname(word.substr(i, 1)); };
                std::vector<CLI::Option const *> const all = known();
                auto const found = std::find_if(all.begin(), all.end(), hasLetter);
                if (found == all.end() || !takesValue(**found))
                    continue;
                m_awaiting = i + 1 == word.size() ? *found : nullptr; // else the value is the rest of the word
                return;
            }
    }

    void takeCommand(std::string const &word)
    {
        auto const found = m_app.get_subcommands([&word](CLI::App const *one) { return one->check_name(word); });
        m_isUnknown = found.empty();
        m_command = found.empty() ? nullptr : found.front();
    }

    static bool takesValue(CLI::Option const &option) { return !valueNameOf(option).empty(); }

    /// The options of the command, then those of the program that the command does not have.
    std::vector<CLI::Option const *> known() const
    {
        std::vector<CLI::Option const *> all =
            m_command == nullptr ? std::vector<CLI::Option const *>() : optionsOf(*m_command);
        for (CLI::Option const *const option : optionsOf(m_app))
            if (std::none_of(all.begin(), all.end(),
                             [option](CLI::Option const *other) { return other->get_lnames() == option->get_lnames(); }))
                all.push_back(option);
        return all;
    }

    /// Finds an option by its name or by a unique beginning of it. Null: there is none.
    CLI::Option const *longOption(std::string_view word) const
    {
        std::string_view const name = word.substr(2, word.find('=') == std::string_view::npos ? word.npos : word.find('=') - 2);
        std::vector<CLI::Option const *> longer;
        for (CLI::Option const *const option : known())
            for (std::string const &each : option->get_lnames())
            {
                if (each == name)
                    return option;
                if (each.starts_with(name))
                    longer.push_back(option);
            }
        return longer.size() == 1 ? longer.front() : nullptr;
    }

    std::string behindEquals() const
    {
        CLI::Option const *const option = longOption(m_current);
        return option == nullptr || !takesValue(*option) ? "" : valuesOf(*option, m_current.substr(0, m_current.find('=') + 1));
    }

    static std::string valuesOf(CLI::Option const &option, std::string const &before)
    {
        if (takesFile(option))
            return valueNameOf(option) == "DIR" ? ":folder\n" : ":file\n";
        std::string lines;
        for (std::string const &choice : choicesOf(option))
            lines += lineOf(before + choice, "");
        return lines;
    }

    std::string optionNames() const
    {
        std::string lines;
        for (CLI::Option const *const option : known())
            for (std::string const &name : namesOf(*option))
                lines += lineOf(name, option->get_description());
        return lines;
    }

    std::string commandNames() const
    {
        std::string lines;
        for (CLI::App const *const command : commandsOf(m_app))
            lines += lineOf(command->get_name(), helpOf(*command).summary);
        return lines;
    }

    std::string operands() const
    {
        std::string files;
        for (CLI::Option const *const option : positionalsOf(*m_command))
        {
            if (!takesFile(*option))
                return valuesOf(*option, "");
            files = valuesOf(*option, "");
        }
        return files;
    }

    CLI::App const &m_app;
    CLI::App const *m_command = nullptr;
    CLI::Option const *m_awaiting = nullptr; ///< the option whose value comes next
    bool m_isEnded = false;                  ///< no options any more
    bool m_isUnknown = false;                ///< there is no such command
    std::string m_current;
};

} // namespace

std::string completionScript(std::string const &shell) { return shell == "bash" ? kBash : shell == "zsh" ? kZsh : kFish; }

std::optional<std::vector<std::string>> wordsToComplete(std::vector<std::string> const &line)
{
    if (line.size() < 3 || line[1] != "__complete" || line[2] != "--")
        return std::nullopt;
    return std::vector<std::string>(line.begin() + 3, line.end());
}

std::string candidates(CLI::App const &app, std::vector<std::string> const &words) { return Line(app, words).candidates(); }

} // namespace okt
