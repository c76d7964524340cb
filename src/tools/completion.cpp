// SPDX-License-Identifier: MIT
#include "tools/completion.h"

#include <algorithm>

#include "engine/check/finding.h"

/// A text between apostrophes, for a shell.
static std::string Quote(const std::string& text, const char* apostrophe)
{
    std::string quoted = "'";
    for (char c : text)
    {
        quoted += c == '\'' ? apostrophe : std::string(1, c);
    }
    return quoted + "'";
}

static std::string ShellQuote(const std::string& text)
{
    return Quote(text, "'\\''");
}

static std::string FishQuote(const std::string& text)
{
    return Quote(text, "\\'");
}

static std::string Join(const std::vector<std::string>& words, const char* between)
{
    std::string joined;
    for (const std::string& word : words)
    {
        joined += (joined.empty() ? "" : between) + word;
    }
    return joined;
}

static std::vector<std::string> RuleNames()
{
    std::vector<std::string> names;
    for (uint32_t i = 0; i < kRuleCount; ++i)
    {
        names.emplace_back(RuleName(static_cast<Rule>(i)));
    }
    return names;
}

static std::vector<std::string> CommandNames(const ProgramFacts& facts)
{
    std::vector<std::string> names;
    for (const CommandFacts& command : facts.commands)
    {
        names.push_back(command.name);
    }
    return names;
}

static std::vector<std::string> OptionNames(const CommandFacts& command)
{
    std::vector<std::string> names;
    for (const OptionFacts& option : command.options)
    {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

/// The argument at its place is a command's name.
static bool TakesCommand(const ArgumentFacts& argument)
{
    return argument.name == "COMMAND";
}

/// The word by which the script for bash knows a kind.
static std::string BashKind(const std::string& value)
{
    switch (KindOfValue(value))
    {
    case WordKind::kFile:
        return "file";
    case WordKind::kFolder:
        return "folder";
    case WordKind::kEntry:
        return "entry";
    case WordKind::kRule:
        return "rule";
    case WordKind::kChoice:
        return ShellQuote("choice " + Join(ValueChoices(value), " "));
    case WordKind::kAnything:
        break;
    }
    return "anything";
}

static std::string BashOptions(const CommandFacts& command)
{
    std::string script = "        options=" + ShellQuote(Join(OptionNames(command), " ")) + "\n";
    std::string kinds;
    for (const OptionFacts& option : command.options)
    {
        if (!option.value.empty())
        {
            kinds += "        " + Join(option.names, " | ") + ") kind=" + BashKind(option.value) +
                     " ;;\n";
        }
    }
    return kinds.empty() ? script : script + "        case $1 in\n" + kinds + "        esac\n";
}

/// The facts of one command, for the two questions of the script: the kind of an option's value,
/// and the kinds of the arguments.
static std::string BashCommand(const CommandFacts& command)
{
    std::string script = "    " + command.name + ")\n" + BashOptions(command);
    std::vector<std::string> kinds;
    for (const ArgumentFacts& argument : command.arguments)
    {
        kinds.push_back(TakesCommand(argument) ? "command" : BashKind(argument.name));
    }
    script += "        arguments=(" + Join(kinds, " ") + ")\n";
    const bool repeats = !command.arguments.empty() && command.arguments.back().repeats;
    return script + "        repeats=" + (repeats ? "yes" : "") + "\n        ;;\n";
}

static const char kBashHead[] =
    R"(# Completion of dpk for bash. Generated from the command line of dpk.

# Tells of a command: its options, the kinds of its arguments, whether the last one repeats, and the
# kind of value that an option takes; empty for none.
#   _dpk_facts OPTION
_dpk_facts() {
    kind='' arguments=() repeats='' options=''
    case $command in
)";

static const char kBashTail[] = R"(    esac
}

# Completes the last word as one of a kind.
_dpk_complete() {
    local kind=$1 word=$2 package=$3
    COMPREPLY=()
    local IFS=$'\n'
    case $kind in
    file)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        ;;
    folder)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        ;;
    entry)
        # Not by compgen -W: it would run what a stranger's package has in the names of its entries.
        local entry
        compopt -o filenames 2>/dev/null
        while read -r entry; do
            [[ $entry != "$word"* ]] || COMPREPLY+=("$entry")
        done < <("${COMP_WORDS[0]}" list "$package" 2>/dev/null | cut -f 1)
        ;;
    rule)
        local before=
        case $word in *,*) before=${word%,*}, ;; esac
        mapfile -t COMPREPLY < <(compgen -P "$before" -W "$rules" -- "${word##*,}")
        ;;
    command) mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word") ;;
    choice*) mapfile -t COMPREPLY < <(IFS=' ' && compgen -W "${kind#choice }" -- "$word") ;;
    esac
}

_dpk() {
    local word=${COMP_WORDS[COMP_CWORD]} command='' package='' place=0 names_only='' value='' at
    local kind options repeats
    local -a arguments
    for ((at = 1; at < COMP_CWORD; ++at)); do
        local before=${COMP_WORDS[at]}
        if [ -n "$value" ]; then
            value=''
        elif [ "$before" = -- ]; then
            names_only=yes
        elif [ -z "$names_only" ] && [[ $before == -* ]]; then
            _dpk_facts "$before"
            value=$kind
        elif [ -z "$command" ]; then
            command=$before
        else
            [ "$place" -ne 0 ] || package=$before
            place=$((place + 1))
        fi
    done
    _dpk_facts ''
    if [ -n "$value" ]; then
        _dpk_complete "$value" "$word" "$package"
    elif [ -z "$names_only" ] && [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    else
        local last=$((${#arguments[@]} - 1))
        [ -z "$repeats" ] || [ "$place" -le "$last" ] || place=$last
        [ "$place" -gt "$last" ] || _dpk_complete "${arguments[place]}" "$word" "$package"
    fi
}
complete -F _dpk dpk
)";

std::string BashCompletion(const ProgramFacts& facts)
{
    std::string script = kBashHead;
    script +=
        "    '')\n" + BashOptions(facts.program) + "        arguments=(command)\n        ;;\n";
    for (const CommandFacts& command : facts.commands)
    {
        script += BashCommand(command);
    }
    std::string tail = kBashTail;
    const std::string mark = "    local IFS=$'\\n'\n";
    const std::string words = "    local commands=" + ShellQuote(Join(CommandNames(facts), "\n")) +
                              "\n    local rules=" + ShellQuote(Join(RuleNames(), "\n")) + "\n";
    tail.insert(tail.find(mark), words);
    return script + tail;
}

/// A description within a word of zsh's _arguments.
static std::string ZshText(const std::string& text)
{
    std::string escaped;
    for (char c : text)
    {
        if (c == '[' || c == ']' || c == ':' || c == '\\')
        {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

static std::string ZshAction(const std::string& value)
{
    switch (KindOfValue(value))
    {
    case WordKind::kFile:
        return "_files";
    case WordKind::kFolder:
        return "_files -/";
    case WordKind::kEntry:
        return "_dpk_entries";
    case WordKind::kRule:
        return "_dpk_rules";
    case WordKind::kChoice:
        return "(" + Join(ValueChoices(value), " ") + ")";
    case WordKind::kAnything:
        break;
    }
    return " ";
}

static std::string ZshOption(const OptionFacts& option)
{
    std::string spec;
    const bool endsAll = option.names.back() == "--help" || option.names.back() == "--version";
    if (endsAll)
    {
        spec = "'(- *)'";
    }
    else if (option.repeats)
    {
        spec = "'*'";
    }
    else
    {
        spec = "'(" + Join(option.names, " ") + ")'";
    }
    spec += option.names.size() > 1 ? "{" + Join(option.names, ",") + "}" : option.names[0];
    std::string rest = "[" + ZshText(option.description) + "]";
    if (!option.value.empty())
    {
        rest += ":" + ZshText(option.value) + ":" + ZshAction(option.value);
    }
    return spec + ShellQuote(rest);
}

static std::string ZshArgument(const ArgumentFacts& argument, size_t place)
{
    std::string spec = argument.repeats ? "*" : std::to_string(place);
    spec += argument.isRequired || argument.repeats ? ":" : "::";
    spec += ZshText(argument.name) + ":";
    spec += TakesCommand(argument) ? "_dpk_commands" : ZshAction(argument.name);
    return ShellQuote(spec);
}

static std::string ZshSpecs(const CommandFacts& command, const char* lead)
{
    std::string specs;
    for (const OptionFacts& option : command.options)
    {
        specs += lead + ZshOption(option);
    }
    for (size_t i = 0; i < command.arguments.size(); ++i)
    {
        specs += lead + ZshArgument(command.arguments[i], i + 1);
    }
    return specs;
}

std::string ZshCompletion(const ProgramFacts& facts)
{
    std::string script = "#compdef dpk\n# Generated from the command line of dpk.\n\n"
                         "_dpk_commands() {\n    local -a commands=(\n";
    for (const CommandFacts& command : facts.commands)
    {
        script += "        " + ShellQuote(command.name + ":" + ZshText(command.summary)) + "\n";
    }
    script += "    )\n    _describe command commands\n}\n\n"
              "_dpk_rules() {\n    _values -s , rule " +
              Join(RuleNames(), " \\\n        ") +
              "\n}\n\n"
              "# The entries of the package, which is the first name after the command.\n"
              "_dpk_entries() {\n"
              "    local -a entries=(${(f)\"$(dpk list ${(Q)line[1]} 2>/dev/null | cut -f 1)\"})\n"
              "    compadd -a entries\n}\n\n"
              "_dpk() {\n    local curcontext=$curcontext state line\n    typeset -A opt_args\n    "
              "_arguments -C" +
              ZshSpecs(facts.program, " \\\n        ") +
              " \\\n        '1:command:_dpk_commands' '*::argument:->arguments'\n"
              "    [[ $state == arguments ]] || return\n    case $line[1] in\n";
    for (const CommandFacts& command : facts.commands)
    {
        script += "    " + command.name + ")\n        _arguments" +
                  ZshSpecs(command, " \\\n            ") + "\n        ;;\n";
    }
    return script + "    esac\n}\n\n_dpk \"$@\"\n";
}

static std::string FishTake(const std::string& value)
{
    switch (KindOfValue(value))
    {
    case WordKind::kFile:
        return " -F";
    case WordKind::kFolder:
        return " -a '(__fish_complete_directories)'";
    case WordKind::kEntry:
        return " -a '(__dpk_entries)'";
    case WordKind::kRule:
        return " -a " + FishQuote(Join(RuleNames(), " "));
    case WordKind::kChoice:
        return " -a " + FishQuote(Join(ValueChoices(value), " "));
    case WordKind::kAnything:
        break;
    }
    return "";
}

static std::string FishOption(const OptionFacts& option, const std::string& when)
{
    std::string line = "complete -c dpk" + when;
    for (const std::string& name : option.names)
    {
        const bool isLong = name.compare(0, 2, "--") == 0;
        line += isLong ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.value.empty())
    {
        line += " -r" + FishTake(option.value);
    }
    return line + " -d " + FishQuote(option.description) + "\n";
}

std::string FishCompletion(const ProgramFacts& facts)
{
    std::string script =
        "# Completion of dpk for fish. Generated from the command line of dpk.\n"
        "function __dpk_entries\n"
        "    set -l words (commandline -opc)\n"
        "    set -q words[3]; and dpk list $words[3] 2>/dev/null | string split -f 1 \\t\nend\n"
        "complete -c dpk -f\n";
    for (const OptionFacts& option : facts.program.options)
    {
        script += FishOption(option, " -n __fish_use_subcommand");
    }
    for (const CommandFacts& command : facts.commands)
    {
        const std::string when = " -n " + FishQuote("__fish_seen_subcommand_from " + command.name);
        script += "complete -c dpk -n __fish_use_subcommand -a " + command.name + " -d " +
                  FishQuote(command.summary) + "\n";
        for (const OptionFacts& option : command.options)
        {
            script += FishOption(option, when);
        }
        for (const ArgumentFacts& argument : command.arguments)
        {
            const std::string take = TakesCommand(argument)
                                         ? " -a " + FishQuote(Join(CommandNames(facts), " "))
                                         : FishTake(argument.name);
            script += take.empty() ? "" : "complete -c dpk" + when + take + "\n";
        }
    }
    return script;
}
