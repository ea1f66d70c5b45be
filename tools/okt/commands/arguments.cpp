// SPDX-License-Identifier: MIT
#include <tools/okt/commands/arguments.h>

#include <tools/okt/commands/help.h>

#include <oktformat/sentence.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <numeric>
#include <string_view>

namespace okt
{

namespace
{

std::string meant(std::string const &word, std::vector<std::string> const &names)
{
    std::string const name = nearest(word, names);
    return name.empty() ? "" : sentence(" (did you mean {}?)", name);
}

bool isOption(std::string const &word) { return word.size() > 1 && word[0] == '-'; }

bool takesValue(CLI::Option const &option) { return option.get_expected_max() > 0 && option.get_type_size() > 0; }

/// The name used in messages and in the arranged line.
std::string nameOf(CLI::Option const &option)
{
    return option.get_lnames().empty() ? "-" + option.get_snames().front() : "--" + option.get_lnames().front();
}

class Arranger
{
public:
    Arranger(CLI::App const &app, std::vector<std::string> const &words) : m_app(app), m_words(words)
    {
        m_line.push_back(words.front());
    }

    std::vector<std::string> line()
    {
        options();
        if (m_next == m_words.size())
            return m_line;
        std::string const name = m_words[m_next++];
        auto const found = m_app.get_subcommands([&name](CLI::App const *command) { return command->check_name(name); });
        if (found.empty())
            throw noCommand(m_app, name);
        m_command = found.front();
        m_line.push_back(name);
        std::vector<std::string> operands;
        for (bool isEnded = false; m_next < m_words.size();)
        {
            isEnded = isEnded || options();
            if (m_next < m_words.size())
                operands.push_back(m_words[m_next++]);
        }
        refuseTooMany(operands);
        if (!operands.empty())
            m_line.emplace_back("--");
        m_line.insert(m_line.end(), operands.begin(), operands.end());
        return m_line;
    }

private:
    /// Takes options up to the next operand. True: they ended with --, which was taken too.
    bool options()
    {
        while (m_next < m_words.size() && isOption(m_words[m_next]))
        {
            std::string const word = m_words[m_next++];
            if (word == "--")
                return true;
            if (word[1] == '-')
                longOption(word);
            else
                shortOptions(word);
        }
        return false;
    }

    void refuseTooMany(std::vector<std::string> const &operands) const
    {
        std::size_t places = 0;
        for (CLI::Option const *const operand : positionalsOf(*m_command))
            places += static_cast<std::size_t>(operand->get_expected_max());
        bool const isForHelp = std::find(m_line.begin(), m_line.end(), "--help") != m_line.end();
        if (operands.size() > places && !isForHelp)
            throw WrongUsage(m_command, "there is no place for " + operands[places]);
    }

    /// Those of the command go before those of the program.
    std::vector<CLI::Option const *> known() const
    {
        std::vector<CLI::Option const *> all =
            m_command == nullptr ? std::vector<CLI::Option const *>() : optionsOf(*m_command);
        std::vector<CLI::Option const *> const ofProgram = optionsOf(m_app);
        all.insert(all.end(), ofProgram.begin(), ofProgram.end());
        return all;
    }

    void longOption(std::string const &word)
    {
        std::size_t const equals = word.find('=');
        std::string const name = word.substr(0, equals);
        CLI::Option const &option = optionNamed(name);
        if (equals == std::string::npos)
            put(option);
        else if (takesValue(option))
            put(option, word.substr(equals + 1));
        else if (CLI::Option const *const form = formOf(option, word.substr(equals + 1)))
            put(*form);
        else
            throw WrongUsage(m_command, nameOf(option) + noValueText(option));
    }

    /// " takes no value", or the one that it takes.
    std::string noValueText(CLI::Option const &option) const
    {
        std::string const name = option.get_lnames().front();
        std::string values;
        for (CLI::Option const *const each : known())
            for (std::string const &longer : each->get_lnames())
                if (longer.starts_with(name + "-") && !takesValue(*each))
                    values += sentence("{}{}={}", values.empty() ? "" : ", ", nameOf(option), longer.substr(name.size() + 1));
        return values.empty() ? " takes no value" : sentence(" takes no such value: it is {}, or {}", nameOf(option), values);
    }

    /// A flag may have a form that is called as if it took a value: --csv=local is --csv-local. Null: it has no such form.
    CLI::Option const *formOf(CLI::Option const &option, std::string const &value) const
    {
        std::string const name = sentence("{}-{}", option.get_lnames().front(), value);
        for (CLI::Option const *const each : known())
            if (each->check_lname(name))
                return each;
        return nullptr;
    }

    CLI::Option const &optionNamed(std::string const &word) const
    {
        std::string const name = word.substr(2);
        std::vector<std::string> names;
        std::vector<CLI::Option const *> longer;
        for (CLI::Option const *const option : known())
            for (std::string const &each : option->get_lnames())
            {
                if (each == name)
                    return *option;
                names.push_back("--" + each);
                // The program and the command each have their help.
                auto const isSame = [&each](CLI::Option const *other) { return other->get_lnames().front() == each; };
                if (each.starts_with(name) && std::none_of(longer.begin(), longer.end(), isSame))
                    longer.push_back(option);
            }
        if (longer.empty())
            throw WrongUsage(m_command, sentence("there is no option {}{}", word, meant(word, names)));
        if (longer.size() > 1)
            throw WrongUsage(m_command,
                             sentence("{} may be short for {} and for {}", word, nameOf(*longer[0]), nameOf(*longer[1])));
        return *longer.front();
    }

    void shortOptions(std::string const &word)
    {
        std::vector<CLI::Option const *> const all = known();
        for (std::size_t i = 1; i < word.size(); ++i)
        {
            std::string const name = word.substr(i, 1);
            auto const found = std::find_if(all.begin(), all.end(), [&name](CLI::Option const *option) {
                return std::count(option->get_snames().begin(), option->get_snames().end(), name) > 0;
            });
            if (found == all.end())
                throw WrongUsage(
                    m_command,
                    sentence("there is no option -{}{}", name,
                             word.size() == 2 ? "" : sentence(", as in {}; a name like this stands behind --", word)));
            if (takesValue(**found) && i + 1 < word.size())
                return put(**found, word.substr(i + 1));
            put(**found);
        }
    }

    void put(CLI::Option const &option)
    {
        if (!takesValue(option))
            m_line.push_back(nameOf(option));
        else if (m_next < m_words.size())
            put(option, m_words[m_next++]);
        else
            throw WrongUsage(m_command, nameOf(option) + ": a value is missing");
    }

    void put(CLI::Option const &option, std::string const &value)
    {
        m_line.push_back(nameOf(option));
        m_line.push_back(value);
    }

    CLI::App const &m_app;
    std::vector<std::string> const &m_words;
    std::size_t m_next = 1;
    CLI::App const *m_command = nullptr;
    std::vector<std::string> m_line;
};

void replace(std::string &text, std::string_view part, std::string_view by)
{
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += by.size())
        text.replace(at, part.size(), by);
}

} // namespace

std::vector<std::string> arranged(CLI::App const &app, std::vector<std::string> const &words)
{
    return words.empty() ? words : Arranger(app, words).line();
}

WrongUsage wrongUsage(CLI::App const &app, CLI::ParseError const &error)
{
    std::vector<CLI::App *> const commands = app.get_subcommands();
    CLI::App const *const command = commands.empty() ? nullptr : commands.front();
    std::string reason = error.what();
    replace(reason, "\n", " ");
    if (dynamic_cast<CLI::RequiredError const *>(&error) != nullptr)
    {
        replace(reason, "A subcommand is required", "a command is missing");
        replace(reason, " is required", " is missing");
    }
    else if (dynamic_cast<CLI::ConversionError const *>(&error) != nullptr) // of numbers, whose digits were looked at
    {
        replace(reason, "Could not convert: ", "");
        replace(reason, " = ", ": ");
        reason += " is too large";
    }
    else if (std::size_t const list = reason.find(" not in {"); list != std::string::npos && reason.ends_with('}'))
    {
        reason.pop_back();
        replace(reason, " not in {", " is none of ");
        replace(reason, ",", ", ");
    }
    return {command, reason};
}

WrongUsage noCommand(CLI::App const &app, std::string const &name)
{
    std::vector<std::string> names;
    for (CLI::App const *const command : commandsOf(app))
        names.push_back(command->get_name());
    return {nullptr, sentence("there is no command {}{}", name, meant(name, names))};
}

std::string nearest(std::string const &word, std::vector<std::string> const &names)
{
    std::string best;
    std::size_t least = std::max<std::size_t>(word.size() / 3, 1) + 1;
    for (std::string const &name : names)
    {
        // Edit distance: missing, additional, different or swapped letters.
        std::vector<std::vector<std::size_t>> far(word.size() + 1, std::vector<std::size_t>(name.size() + 1));
        for (std::size_t i = 0; i <= word.size(); ++i)
            far[i][0] = i;
        std::iota(far[0].begin(), far[0].end(), std::size_t{0});
        for (std::size_t i = 1; i <= word.size(); ++i)
            for (std::size_t j = 1; j <= name.size(); ++j)
            {
                std::size_t const other = far[i - 1][j - 1] + (word[i - 1] == name[j - 1] ? 0u : 1u);
                far[i][j] = std::min({far[i - 1][j] + 1, far[i][j - 1] + 1, other});
                if (i > 1 && j > 1 && word[i - 1] == name[j - 2] && word[i - 2] == name[j - 1])
                    far[i][j] = std::min(far[i][j], far[i - 2][j - 2] + 1);
            }
        if (far[word.size()][name.size()] < least)
        {
            least = far[word.size()][name.size()];
            best = name;
        }
    }
    return best;
}

} // namespace okt
