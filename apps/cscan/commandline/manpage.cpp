#include "apps/cscan/commandline/manpage.h"

#include <string_view>

namespace cscan {

namespace {

constexpr std::string_view heading = R"(.SH DESCRIPTION
Turns a scanned part into a grid of quads, places what a probe measured on it, and tells of what that shows:
sizes on the part, pictures, pages and tables. Results appear whole or not at all, and beside each lies a
record of how it was made.
)";

constexpr std::string_view ending = R"(.SH EXIT STATUS
.TP
.B 0
The result can be used.
.TP
.B 1
Something went wrong; one line on standard error says what, and what to do.
.TP
.B 2
The command line cannot be taken.
.TP
.B 3
Done as asked, but the result is not fit for inspection.
.SH EXAMPLES
.nf
cscan check blade.stl
cscan prepare blade.stl blade.quads \-\-pixel 0.5 \-\-unit mm
cscan scan blade.quads \-\-data shots.csv \-\-value amplitude:max \-\-result scan.h5
cscan indications scan.h5 found.csv \-\-value amplitude \-\-threshold 50% \-\-min\-area 1
cscan view scan.h5 page.html \-\-indications found.csv
.fi
)";

/// Text as the formatter takes it: a hyphen stays one, and no line begins with a control character.
std::string escaped(std::string_view text) {
    std::string result;
    for (char const sign : text) {
        bool const isFirst = result.empty() || result.back() == '\n';
        if (isFirst && (sign == '.' || sign == '\'')) {
            result += "\\&";
        }
        if (sign == '\\') {
            result += "\\e";
        } else if (sign == '-') {
            result += "\\-";
        } else {
            result += sign;
        }
    }
    return result;
}

std::string tagged(std::string const& tag, std::string const& description) {
    return ".TP\n.B " + escaped(tag) + "\n" + escaped(description) + "\n";
}

std::string tagOf(CLI::Option const& option) {
    std::string const form = option.get_type_size() > 0 ? option.get_type_name() : "";
    bool const isOption = option.nonpositional();
    return option.get_name(false, true) + (isOption && !form.empty() ? " " + form : "");
}

std::string sectionOf(CLI::App const& command) {
    std::string text = ".SS cscan " + escaped(command.get_name());
    std::string options;
    for (CLI::Option const* const option : command.get_options()) {
        if (option->get_positional()) {
            bool const mayRepeat = option->get_expected_max() > 1;
            text += " " + escaped(option->get_name(true, false)) + (mayRepeat ? "..." : "");
        }
        if (!option->get_group().empty() && option->get_name() != "--help") {
            options += tagged(tagOf(*option), option->get_description());
        }
    }
    return text + "\n" + escaped(command.get_description()) + "\n" + options;
}

} // namespace

std::string manPageOf(CLI::App const& app, std::string const& version) {
    std::string page = ".TH CSCAN 1 \"\" \"cscan " + escaped(version) +
                       "\" \"User Commands\"\n.SH NAME\ncscan \\- " +
                       escaped("inspection of curved parts, from a scan to a C-scan") +
                       "\n.SH SYNOPSIS\n.B cscan\n.I COMMAND\n[\\fIARGUMENT\\fR]...\n";
    page += std::string(heading) + ".SH COMMANDS\n";
    for (CLI::App const* const command : app.get_subcommands([](CLI::App const*) { return true; })) {
        page += sectionOf(*command);
    }
    return page + std::string(ending);
}

} // namespace cscan
