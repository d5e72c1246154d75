#include "kelto/foundation/Text.hpp"
#include "tools/keltoctl/GeneratedFiles.hpp"

namespace kelto::ctl {

namespace {

// What no command says of itself.
constexpr std::string_view introduction = R"(.SH DESCRIPTION
.B keltoctl
imports, shows, changes and exports a personal library of images, videos, links, posts, repositories,
quotes, documents and notes. It is a host like any other: what it sends is merged with what other
hosts have sent.
.PP
An
.I ID
is an identifier as
.B tree
shows it, or as much of its beginning as is unique.
)";

constexpr std::string_view conventions = R"(.SH FILES READ BY IMPORT
.TP
.IR *.note.md ", " *.note.txt
A note.
.TP
.I *.quote.txt
A quote; a last line that begins with \(lq\(em \(rq names its author.
.TP
.IR *.webloc ", " *.url ", " *.desktop
A web address: a link, a post or a repository. A
.I .desktop
file must be of type Link.
.TP
everything else
An image, a video or a document by its extension. Names that begin with a dot, symbolic links and
special files are passed over.
.SH OUTPUT
Texts are cut to the width of the terminal, and not cut at all when standard output is none, unless
.B COLUMNS
says how wide it is. With
.B \-\-json
every command prints one document, in a form that stays; the file
.I /usr/share/kelto/schema/keltoctl.schema.json
describes it.
.SH EXIT STATUS
.TP
.B 0
Done.
.TP
.B 1
Refused; one sentence on standard error says why. Also when single files could not be imported or
exported, when the library kept a newer version of a thing, when
.B available
answers no, when
.B doctor
has found something or
.B backup
something damaged, and when
.B diff
finds a difference.
.TP
.B 2
Wrong usage; nothing was begun.
.SH ENVIRONMENT
.TP
.B XDG_DATA_HOME
Where the library has its group container; else
.IR ~/.local/share .
.TP
.B XDG_STATE_HOME
Where
.B keltoctl
has its own files, in the folder
.IR keltoctl ;
else
.IR ~/.local/state .
.TP
.B LC_TIME
How moments are written; with
.B \-\-json
they never depend on it.
.TP
.BR COLUMNS ", " NO_COLOR ", " TERM
How wide the output may be when standard output is no terminal, and whether it may have colours: not
when
.B NO_COLOR
is set and not empty, or
.B TERM
is
.IR dumb .
.TP
.B KELTO_DISABLE_CLOUDKIT
When it is set, to whatever value, the library refuses every exchange.
.TP
.B KELTO_CLOUDKIT_ENABLED
When its value is
.BR NO ,
likewise.
.SH EXAMPLES
.nf
keltoctl import ~/Pictures \-\-tag holiday
keltoctl list \-\-kind image \-\-search harbour
keltoctl edit d0384535 \-\-title "Evening" \-\-star
echo bread | keltoctl add note \- \-\-title Shopping
keltoctl backup ~/library.tar && keltoctl restore\-backup \-\-check ~/library.tar
.fi
)";

struct Replacement {
    std::string_view character;
    std::string_view roff;
};

/// Characters that the macros would read as their own, and those that older formatters have no
/// other name for.
constexpr Replacement replacements[] = {{"\\", "\\e"},
                                        {"-", "\\-"},
                                        {"“", "\\(lq"},
                                        {"”", "\\(rq"},
                                        {"’", "\\(cq"},
                                        {"—", "\\(em"},
                                        {"…", "..."}};

std::string roff(std::string_view text) {
    std::string escaped(text);
    for (const auto& [character, name] : replacements) {
        escaped = replacingAll(escaped, character, name);
    }
    if (escaped.starts_with('.') || escaped.starts_with('\'')) escaped.insert(0, "\\&");
    return escaped;
}

std::string sentence(std::string_view clause) {
    std::string text = roff(clause);
    if (!text.empty() && !text.ends_with('.')) text += '.';
    return text;
}

std::string bold(std::string_view text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + roff(text) + "\\fR";
}

/// "--kind K", as it stands in a synopsis.
std::string spelled(const ArgumentDescription& argument) {
    std::string text;
    for (const std::string& name : argument.names) text += (text.empty() ? "" : ", ") + bold(name);
    if (argument.isFlag()) return text;
    return text + (text.empty() ? "" : " ") + italic(argument.value);
}

std::string inSynopsis(const ArgumentDescription& argument) {
    std::string text = spelled(argument);
    if (!argument.isRequired) text = "[" + text + "]";
    return argument.isRepeatable ? text + "..." : text;
}

std::string choices(const ArgumentDescription& argument) {
    if (argument.choices.empty()) return "";
    std::string text;
    for (const std::string& choice : argument.choices) {
        text += (text.empty() ? "" : ", ") + bold(choice);
    }
    return " One of: " + text + ".";
}

std::string optionEntry(const ArgumentDescription& option) {
    return ".TP\n" + spelled(option) + "\n" + sentence(option.text) + choices(option) + "\n";
}

std::string commandEntry(const CommandDescription& command) {
    std::string text = ".TP\n" + bold(command.name());
    for (const ArgumentDescription& argument : command.arguments) {
        text += " " + inSynopsis(argument);
    }
    for (const ArgumentDescription& option : command.options) text += " " + inSynopsis(option);
    text += "\n" + sentence(command.text) + "\n";
    if (!command.details.empty()) text += roff(command.details) + "\n";
    if (command.options.empty()) return text;
    text += ".RS\n";
    for (const ArgumentDescription& option : command.options) text += optionEntry(option);
    return text + ".RE\n";
}

}  // namespace

std::string manPage(const ToolDescription& tool) {
    std::string text =
        ".\\\" Made from the program itself; do not edit.\n.TH KELTOCTL 1 \"\" "
        "\"Kelto " +
        roff(tool.version) +
        "\" \"User Commands\"\n.SH NAME\nkeltoctl \\- work with a Kelto library "
        "from the command line\n.SH SYNOPSIS\n.B keltoctl\n[" +
        italic("OPTION") + "]... " + italic("COMMAND") + " [" + italic("ARGUMENT") + "]...\n" +
        std::string(introduction) + ".SH COMMANDS\n";
    for (const CommandDescription& command : tool.commands) {
        // What only introduces others says nothing by itself.
        if (command.subcommands.empty()) text += commandEntry(command);
    }
    text += ".SH OPTIONS OF EVERY COMMAND\n";
    for (const ArgumentDescription& option : tool.options) text += optionEntry(option);
    return text + std::string(conventions);
}

}  // namespace kelto::ctl
