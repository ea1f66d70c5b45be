#include <tools/okt/commands/pages.h>

#include <tools/okt/commands/help.h>

#include <algorithm>
#include <cctype>

namespace okt
{

namespace
{

/// A text in a man page: nothing in it is a request, and a hyphen is one to be typed.
std::string roff(std::string_view text)
{
    std::string result;
    bool isLineStart = true;
    for (char const c : text)
    {
        if (isLineStart && (c == '.' || c == '\''))
            result += "\\&";
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
        isLineStart = c == '\n';
    }
    return result;
}

std::string bold(std::string_view text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roff(text) + "\\fR"; }

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string heading(std::string const &name)
{
    return ".TH " + upper(name) + " 1 \"\" \"okt " OKT_VERSION "\" \"User commands\"\n";
}

std::vector<std::string> namesOf(CLI::Option const &option)
{
    std::vector<std::string> names;
    for (std::string const &name : option.get_snames())
        names.push_back("-" + name);
    for (std::string const &name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

std::string optionsSection(CLI::App const &command)
{
    std::string page = ".SH OPTIONS\n";
    for (CLI::Option const *const option : positionalsOf(command))
        page += ".TP\n" + italic(option->get_name(true)) + "\n" + roff(option->get_description()) + "\n";
    for (CLI::Option const *const option : optionsOf(command))
    {
        page += ".TP\n";
        std::string line;
        for (std::string const &name : namesOf(*option))
            line += (line.empty() ? "" : ", ") + bold(name);
        std::string const value = valueNameOf(*option);
        page += line + (value.empty() ? "" : " " + italic(value)) + "\n" + roff(option->get_description()) +
                (option->get_required() ? " (required)" : "") + "\n";
    }
    return page;
}

std::string exitSection(std::string const &codes) { return ".SH EXIT STATUS\n" + roff(codes) + "\n"; }

constexpr char kUsual[] = "0 done, 1 failed (one line on standard error: file, place, reason), 2 wrong usage. "
                          "okt find: 1 also where nothing is found. okt verify: 1 also where an error is found. "
                          "okt diff: 0 the same, 1 different, 2 trouble. 141: whoever read standard output has gone.";

/// A text between single quotation marks of a shell.
std::string shellText(std::string_view text)
{
    std::string result = "'";
    for (char const c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::string joined(std::vector<std::string> const &words)
{
    std::string text;
    for (std::string const &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/// All options of a command and those of the program, by name.
std::vector<CLI::Option const *> allOptions(CLI::App const &app, CLI::App const &command)
{
    std::vector<CLI::Option const *> options = optionsOf(command);
    for (CLI::Option const *const option : optionsOf(app))
    {
        auto const isSame = [option](CLI::Option const *other) { return other->get_lnames() == option->get_lnames(); };
        if (std::none_of(options.begin(), options.end(), isSame))
            options.push_back(option);
    }
    return options;
}

std::string firstLine(std::string const &text) { return text.substr(0, text.find('\n')); }

/// Of zsh and its brackets.
std::string zshText(std::string_view text)
{
    std::string result;
    for (char const c : text)
    {
        if (c == '[' || c == ']' || c == ':' || c == '\\')
            result += '\\';
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result;
}

std::string zshAction(CLI::Option const &option)
{
    std::string const value = valueNameOf(option);
    if (value.empty() && !option.get_positional())
        return "";
    if (std::vector<std::string> const choices = choicesOf(option); !choices.empty())
        return ":value:(" + joined(choices) + ")";
    if (!takesFile(option))
        return ":value:";
    return value == "DIR" ? ":folder:_files -/" : ":file:_files";
}

} // namespace

std::string manPage(CLI::App const &app)
{
    std::string page = heading("okt") + ".SH NAME\nokt \\- " + roff(app.get_description()) + "\n.SH SYNOPSIS\n" + bold("okt") +
                       " [" + italic("OPTIONS") + "] " + italic("COMMAND") + " ...\n.SH COMMANDS\n";
    for (CLI::App const *const command : commandsOf(app))
        page += ".TP\n" + bold("okt-" + command->get_name()) + "(1)\n" + roff(helpOf(*command).summary) + "\n";
    page += optionsSection(app) + exitSection(kUsual);
    page += ".SH ENVIRONMENT\n.TP\n" + bold("OKT_MODULE_PATH") +
            "\nfolders in which client modules are looked for, whole paths with : between them (; on Windows)\n.TP\n" +
            bold("NO_COLOR") + "\nnot empty: no colours, whatever the terminal\n.TP\n" + bold("TERM") +
            "\ndumb: neither colours nor progress\n";
    return page;
}

std::string manPage(CLI::App const &app, CLI::App const &command)
{
    CommandHelp const &help = helpOf(command);
    std::string const name = "okt-" + command.get_name();
    std::string page = heading(name) + ".SH NAME\n" + roff(name) + " \\- " + roff(firstLine(help.summary)) +
                       "\n.SH SYNOPSIS\n" + bold("okt " + command.get_name()) + " [" + italic("OPTIONS") + "]";
    for (CLI::Option const *const option : positionalsOf(command))
        page += " " + italic(option->get_name(true) + (option->get_expected_max() > 1 ? " ..." : ""));
    page += "\n.SH DESCRIPTION\n" + roff(help.summary) + "\n" + optionsSection(command) + ".SH EXAMPLES\n.nf\n";
    for (std::string const &example : help.examples)
        page += roff(example) + "\n";
    page += ".fi\n" + exitSection(help.exitCodes) + ".SH SEE ALSO\n" + bold("okt") + "(1)";
    for (CLI::App const *const other : commandsOf(app))
        if (other != &command)
            page += ",\n" + bold("okt-" + other->get_name()) + "(1)";
    return page + "\n";
}

std::string bashCompletion(CLI::App const &app)
{
    std::vector<std::string> commands;
    for (CLI::App const *const command : commandsOf(app))
        commands.push_back(command->get_name());
    std::string cases;
    std::string valueCases;
    for (CLI::App const *const command : commandsOf(app))
    {
        std::vector<std::string> words;
        for (CLI::Option const *const option : allOptions(app, *command))
        {
            std::vector<std::string> const names = namesOf(*option);
            words.insert(words.end(), names.begin(), names.end());
            std::vector<std::string> const choices = choicesOf(*option);
            for (std::string const &name : choices.empty() ? std::vector<std::string>() : names)
                valueCases += "    " + command->get_name() + ":" + name + ") words=" + shellText(joined(choices)) + ";;\n";
            for (std::string const &name : names)
                if (choices.empty() && !valueNameOf(*option).empty())
                    valueCases +=
                        "    " + command->get_name() + ":" + name + ") " + (takesFile(*option) ? "files=1" : "") + ";;\n";
        }
        std::vector<std::string> fixed;
        for (CLI::Option const *const option : positionalsOf(*command))
            for (std::string const &choice : choicesOf(*option))
                fixed.push_back(choice);
        cases += "    " + command->get_name() + ") options=" + shellText(joined(words)) + " fixed=" + shellText(joined(fixed)) +
                 ";;\n";
    }
    std::vector<std::string> global;
    for (CLI::Option const *const option : optionsOf(app))
        for (std::string const &name : namesOf(*option))
            global.push_back(name);
    return "# Completion of okt for bash; okt completion bash writes it.\n"
           "_okt()\n"
           "{\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= options= fixed= words= "
           "files= i\n"
           "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
           "        case ${COMP_WORDS[i]} in\n"
           "        --module) ((++i));;\n"
           "        -*) ;;\n"
           "        *) command=${COMP_WORDS[i]}; break;;\n"
           "        esac\n"
           "    done\n"
           "    COMPREPLY=()\n"
           "    if [[ -z $command ]]; then\n"
           "        case $before:$current in\n"
           "        --module:*) files=1;;\n"
           "        *:-*) words=" +
           shellText(joined(global)) + ";;\n        *) words=" + shellText(joined(commands)) +
           ";;\n        esac\n    fi\n    case $command in\n" + cases + "    esac\n    case $command:$before in\n" +
           valueCases +
           "    *:*)\n"
           "        if [[ -n $command && $current == -* ]]; then words=$options\n"
           "        elif [[ -n $command && -n $fixed ]]; then words=$fixed\n"
           "        elif [[ -n $command ]]; then files=1; fi;;\n"
           "    esac\n"
           "    local IFS=$' \\t\\n'\n"
           "    [[ -n $words ]] && COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "    if [[ -n $files ]]; then\n"
           "        IFS=$'\\n'\n"
           "        COMPREPLY=($(compgen -f -- \"$current\"))\n"
           "        type compopt >/dev/null 2>&1 && compopt -o filenames 2>/dev/null\n"
           "    fi\n"
           "    return 0\n"
           "}\n"
           "complete -F _okt okt\n";
}

std::string zshCompletion(CLI::App const &app)
{
    std::string script = "#compdef okt\n# Completion of okt for zsh; okt completion zsh writes it.\n\n_okt() {\n"
                         "    local -a commands\n    commands=(\n";
    for (CLI::App const *const command : commandsOf(app))
        script += "        '" + command->get_name() + ":" + zshText(firstLine(helpOf(*command).summary)) + "'\n";
    auto const arguments = [](std::vector<CLI::Option const *> const &options, std::string const &indent) {
        std::string lines;
        for (CLI::Option const *const option : options)
            for (std::string const &name : namesOf(*option))
                lines += indent + "'*" + name + "[" + zshText(firstLine(option->get_description())) + "]" + zshAction(*option) +
                         "' \\\n";
        return lines;
    };
    script += "    )\n    local context state line\n    _arguments -C \\\n" + arguments(optionsOf(app), "        ") +
              "        '1:command:->command' \\\n        '*::argument:->argument'\n"
              "    case $state in\n"
              "    command) _describe command commands ;;\n"
              "    argument)\n        case $line[1] in\n";
    for (CLI::App const *const command : commandsOf(app))
    {
        script += "        " + command->get_name() + ")\n            _arguments \\\n" +
                  arguments(allOptions(app, *command), "                ");
        std::string rest = ":file:_files";
        for (CLI::Option const *const option : positionalsOf(*command))
            if (std::string const action = zshAction(*option); !choicesOf(*option).empty())
                rest = action;
        script += "                '*" + rest + "' ;;\n";
    }
    // From a folder of functions it is loaded by the first completion, which it then has to do; a shell that sources it only
    // learns of it.
    return script + "        esac ;;\n    esac\n}\n\n"
                    "if [[ ${funcstack[1]} == _okt ]]; then\n    _okt \"$@\"\nelse\n    compdef _okt okt\nfi\n";
}

std::string fishCompletion(CLI::App const &app)
{
    // The conditions that fish brings take the value of an option in front of the command for the command.
    std::string script = "# Completion of okt for fish; okt completion fish writes it.\n\n"
                         "function __okt_command -d 'The command on the line, if any'\n"
                         "    set -l isValue 0\n"
                         "    for word in (commandline -opc)[2..-1]\n"
                         "        if test $isValue = 1\n"
                         "            set isValue 0\n"
                         "            continue\n"
                         "        end\n"
                         "        switch $word\n"
                         "            case --module\n"
                         "                set isValue 1\n"
                         "            case '-*'\n"
                         "            case '*'\n"
                         "                echo $word\n"
                         "                return\n"
                         "        end\n"
                         "    end\n"
                         "end\n\n"
                         "function __okt_is -d 'The command is this one; without an argument, there is none yet'\n"
                         "    set -l command (__okt_command)\n"
                         "    test \"$command\" = \"$argv\"\n"
                         "end\n\n";
    auto const add = [&script](std::string const &condition, CLI::Option const &option) {
        script += "complete -c okt";
        if (!condition.empty())
            script += " -n " + shellText(condition);
        for (std::string const &name : option.get_snames())
            script += " -s " + name;
        for (std::string const &name : option.get_lnames())
            script += " -l " + name;
        if (std::vector<std::string> const choices = choicesOf(option); !choices.empty())
            script += " -x -a " + shellText(joined(choices));
        else if (!valueNameOf(option).empty())
            script += takesFile(option) ? " -r -F" : " -x";
        script += " -d " + shellText(firstLine(option.get_description())) + "\n";
    };
    for (CLI::Option const *const option : optionsOf(app))
        add("", *option);
    for (CLI::App const *const command : commandsOf(app))
    {
        script += "complete -c okt -n __okt_is -f -a " + command->get_name() + " -d " +
                  shellText(firstLine(helpOf(*command).summary)) + "\n";
        std::string const condition = "__okt_is " + command->get_name();
        for (CLI::Option const *const option : optionsOf(*command))
            if (option->get_lnames() != std::vector<std::string>{"help"})
                add(condition, *option);
        for (CLI::Option const *const option : positionalsOf(*command))
            if (std::vector<std::string> const choices = choicesOf(*option); !choices.empty())
                script += "complete -c okt -n " + shellText(condition) + " -f -a " + shellText(joined(choices)) + "\n";
    }
    return script;
}

} // namespace okt
