// SPDX-License-Identifier: MIT
#include "tools/manual_page.h"

#include <algorithm>
#include <cctype>

/// A text as man(7) wants it within a line. Hyphens of code are the sign on the keyboard, so that
/// options can be copied from a page.
static std::string Escape(const std::string& text, bool isCode)
{
    std::string escaped;
    for (char c : text)
    {
        if (c == '\\')
        {
            escaped += "\\e";
        }
        else if (c == '-' && isCode)
        {
            escaped += "\\-";
        }
        else if (c == '`')
        {
            escaped += "\\(ga";
        }
        else if (c == '\'' && isCode)
        {
            escaped += "\\(aq";
        }
        else if ((c == '^' || c == '~') && isCode)
        {
            escaped += c == '^' ? "\\(ha" : "\\(ti";
        }
        else
        {
            escaped += c;
        }
    }
    return escaped;
}

/// A full stop or an apostrophe that begins a line would be a request.
static std::string GuardStart(const std::string& line)
{
    return !line.empty() && (line[0] == '.' || line[0] == '\'') ? "\\&" + line : line;
}

/// Copies what stands up to a mark, in a font of its own.
/// @return the place after the mark; `at` itself if the mark does not come again
static size_t CopyMarked(const std::string& text, size_t at, const std::string& mark,
                         const char* font, std::string* out)
{
    const size_t begin = at + mark.size();
    const size_t end = text.find(mark, begin);
    if (end == std::string::npos || end == begin)
    {
        return at;
    }
    *out += font + Escape(text.substr(begin, end - begin), mark == "`") + "\\fR";
    return end + mark.size();
}

/// Copies the text of a link.
/// @return the place after the link; `at` itself if there is none
static size_t CopyLink(const std::string& text, size_t at, std::string* out)
{
    const size_t middle = text.find("](", at);
    const size_t end = middle == std::string::npos ? middle : text.find(')', middle);
    if (end == std::string::npos)
    {
        return at;
    }
    *out += Escape(text.substr(at + 1, middle - at - 1), false);
    return end + 1;
}

/// Markdown within a paragraph.
static std::string Inline(const std::string& text)
{
    std::string out;
    for (size_t at = 0; at < text.size();)
    {
        size_t next = at;
        if (text[at] == '`')
        {
            next = CopyMarked(text, at, "`", "\\fB", &out);
        }
        else if (text.compare(at, 2, "**") == 0)
        {
            next = CopyMarked(text, at, "**", "\\fB", &out);
        }
        else if (text[at] == '*')
        {
            next = CopyMarked(text, at, "*", "\\fI", &out);
        }
        else if (text[at] == '[')
        {
            next = CopyLink(text, at, &out);
        }
        if (next == at)
        {
            out += Escape(text.substr(at, 1), false);
            next = at + 1;
        }
        at = next;
    }
    return GuardStart(out);
}

static std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (char c : text)
    {
        if (c == '\n')
        {
            lines.emplace_back();
        }
        else
        {
            lines.back() += c;
        }
    }
    return lines;
}

static size_t Indent(const std::string& line)
{
    return std::min(line.find_first_not_of(' '), line.size());
}

static bool IsFence(const std::string& line)
{
    return line.compare(Indent(line), 3, "```") == 0;
}

static bool IsItem(const std::string& line)
{
    return line.compare(Indent(line), 2, "- ") == 0;
}

static bool IsHeading(const std::string& line)
{
    return line[0] == '#';
}

static bool IsBlank(const std::string& line)
{
    return Indent(line) == line.size();
}

static std::string Upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(toupper(c)); });
    return text;
}

/// Reads the lines of one paragraph or item, which are one text.
static std::string TakeParagraph(const std::vector<std::string>& lines, size_t* at)
{
    std::string text;
    do
    {
        const std::string& line = lines[*at];
        text += (text.empty() ? "" : " ") + line.substr(Indent(line));
        *at += 1;
    } while (*at < lines.size() && !IsBlank(lines[*at]) && !IsItem(lines[*at]) &&
             !IsFence(lines[*at]) && !IsHeading(lines[*at]));
    return text;
}

static std::string TakeCode(const std::vector<std::string>& lines, size_t* at)
{
    const size_t indent = Indent(lines[*at]);
    std::string code = ".PP\n.RS 4\n.nf\n";
    for (*at += 1; *at < lines.size() && !IsFence(lines[*at]); *at += 1)
    {
        const std::string& line = lines[*at];
        code += GuardStart(Escape(line.substr(std::min(indent, line.size())), true)) + "\n";
    }
    *at += 1;
    return code + ".fi\n.RE\n";
}

static std::string Heading(const std::string& line)
{
    const size_t level = line.find_first_not_of('#');
    const std::string title = line.substr(std::min(line.find_first_not_of("# "), line.size()));
    if (level == 1)
    {
        return "";
    }
    return level == 2 ? ".SH " + Upper(title) + "\n" : ".SS " + title + "\n";
}

std::string ManualText(const std::string& markdown)
{
    const std::vector<std::string> lines = Lines(markdown);
    std::string page;
    size_t depth = 0; // of the list that is open
    const auto setDepth = [&](size_t wanted)
    {
        for (; depth > wanted; --depth)
        {
            page += ".RE\n";
        }
        for (; depth < wanted; ++depth)
        {
            page += ".RS 2\n";
        }
    };
    for (size_t at = 0; at < lines.size();)
    {
        const std::string& line = lines[at];
        if (IsBlank(line))
        {
            at += 1;
        }
        else if (IsHeading(line))
        {
            setDepth(0);
            page += Heading(line);
            at += 1;
        }
        else if (IsFence(line))
        {
            setDepth(Indent(line) / 2);
            page += TakeCode(lines, &at);
        }
        else if (IsItem(line))
        {
            setDepth(Indent(line) / 2);
            page += ".IP \\(bu 2\n" + Inline(TakeParagraph(lines, &at).substr(2)) + "\n";
        }
        else
        {
            setDepth(Indent(line) / 2);
            page += ".PP\n" + Inline(TakeParagraph(lines, &at)) + "\n";
        }
    }
    setDepth(0);
    return page;
}

static std::string Bold(const std::string& text)
{
    return "\\fB" + Escape(text, true) + "\\fR";
}

static std::string Italic(const std::string& text)
{
    return "\\fI" + Escape(text, true) + "\\fR";
}

static std::string Value(const OptionFacts& option)
{
    if (option.value.empty())
    {
        return "";
    }
    return " " + (KindOfValue(option.value) == WordKind::kChoice ? Bold(option.value)
                                                                 : Italic(option.value));
}

static bool IsHelp(const OptionFacts& option)
{
    return option.names.back() == "--help";
}

static std::string Optional(const std::string& text, bool isRequired, bool repeats)
{
    return (isRequired ? text : "[" + text + "]") + (repeats ? "..." : "");
}

static std::string Synopsis(const CommandFacts& command)
{
    std::string line = Bold("dpk " + command.name);
    for (const OptionFacts& option : command.options)
    {
        if (!IsHelp(option))
        {
            line += " " + Optional(Bold(option.names.front()) + Value(option), option.isRequired,
                                   option.repeats);
        }
    }
    for (const ArgumentFacts& argument : command.arguments)
    {
        line += " " + Optional(Italic(argument.name), argument.isRequired, argument.repeats);
    }
    return line + "\n";
}

static std::string Sentence(const std::string& text)
{
    return text.empty() || text.back() == '.' ? text : text + ".";
}

static std::string OptionList(const std::vector<OptionFacts>& options)
{
    std::string page;
    for (const OptionFacts& option : options)
    {
        std::string names;
        for (const std::string& name : option.names)
        {
            names += (names.empty() ? "" : ", ") + Bold(name);
        }
        page += ".TP\n" + names + Value(option) + "\n" +
                GuardStart(Escape(Sentence(option.description), false)) + "\n";
    }
    return page;
}

static std::string Head(const std::string& name, const std::string& summary)
{
    std::string line = summary;
    if (!line.empty() && line.size() > 1 && islower(static_cast<unsigned char>(line[1])) != 0)
    {
        line[0] = static_cast<char>(tolower(static_cast<unsigned char>(line[0])));
    }
    if (!line.empty() && line.back() == '.')
    {
        line.pop_back();
    }
    return ".TH " + Upper(name) + " 1 \"\" \"Quorvale\" \"User Commands\"\n.SH NAME\n" +
           Escape(name, true) + " \\- " + Escape(line, false) + "\n.SH SYNOPSIS\n";
}

std::string CommandPage(const CommandFacts& command, const std::string& text)
{
    const std::string body = ManualText(text);
    const size_t sections = std::min(body.find(".SH "), body.size());
    std::string page = Head("dpk-" + command.name, command.summary) + Synopsis(command);
    page += ".SH DESCRIPTION\n";
    page += sections == 0 ? GuardStart(Escape(Sentence(command.summary), false)) + "\n"
                          : body.substr(0, sections);
    if (!command.arguments.empty())
    {
        page += ".SH ARGUMENTS\n";
    }
    for (const ArgumentFacts& argument : command.arguments)
    {
        page += ".TP\n" + Italic(argument.name) + (argument.repeats ? "..." : "") + "\n" +
                GuardStart(Escape(Sentence(argument.description), false)) + "\n";
    }
    page += ".SH OPTIONS\n" + OptionList(command.options);
    page += body.substr(sections);
    return page + ".SH SEE ALSO\n.BR dpk (1),\n.BR dpk (5)\n";
}

std::string ProgramPage(const ProgramFacts& facts, const std::string& text)
{
    const std::string body = ManualText(text);
    const size_t sections = std::min(body.find(".SH "), body.size());
    std::string page = Head("dpk", facts.program.summary);
    for (const CommandFacts& command : facts.commands)
    {
        page += Synopsis(command) + ".br\n";
    }
    page += Bold("dpk --help") + " | " + Bold("--version") + "\n.SH DESCRIPTION\n" +
            body.substr(0, sections) + ".SH COMMANDS\n";
    for (const CommandFacts& command : facts.commands)
    {
        page += ".TP\n.BR dpk-" + command.name + " (1)\n" +
                Escape(Sentence(command.summary), false) + "\n";
    }
    page += ".SH OPTIONS\n" + OptionList(facts.program.options) + ".TP\n" + Bold("--") +
            "\nAll that follows is no option.\n";
    return page + body.substr(sections) + ".SH SEE ALSO\n.BR dpk (5)\n";
}
