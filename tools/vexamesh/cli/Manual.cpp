#include "cli/Manual.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string_view>

namespace vexa::tool {

namespace {

/// Text as roff prints it unchanged: nothing in it is a request, an escape or a typographic character.
std::string roff(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '\\':
            result += "\\(rs";
            break;
        case '-':
            result += "\\-";
            break;
        case '\'':
            result += "\\(aq";
            break;
        case '`':
            result += "\\(ga";
            break;
        case '^':
            result += "\\(ha";
            break;
        case '~':
            result += "\\(ti";
            break;
        default:
            // A line that begins with a point would be a request.
            result += c == '.' && (result.empty() || result.back() == '\n') ? "\\&." : std::string(1, c);
        }
    }
    return result;
}

std::string bold(const std::string& text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string upperCase(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

/// "Does this." as "does this".
std::string asPhrase(std::string sentence) {
    sentence.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence.front())));
    if (sentence.ends_with('.')) {
        sentence.pop_back();
    }
    return sentence;
}

/// A footer of a help text: paragraphs, and blocks of indented lines with a heading such as "Examples:".
struct Footer {
    std::string prose;  ///< the paragraphs
    std::string blocks; ///< a section for each block
};

Footer readFooter(const std::string& text) {
    Footer footer;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find("\n\n", begin), text.size());
        const std::string paragraph = text.substr(begin, end - begin);
        const std::size_t heading = paragraph.find(":\n  ");
        if (heading < paragraph.find('\n')) {
            footer.blocks += ".SH " + upperCase(paragraph.substr(0, heading)) + "\n.nf\n" +
                             roff(paragraph.substr(heading + 2)) + "\n.fi\n";
        } else {
            footer.prose += ".PP\n" + roff(paragraph) + "\n";
        }
        begin = end + 2;
    }
    return footer;
}

/// The arguments of a verb, or else its flags.
std::string entries(const std::vector<FlagInfo>& flags, bool areArguments) {
    std::string text;
    for (const FlagInfo& flag : flags) {
        if (flag.names.empty() == areArguments) {
            text += ".TP\n" + bold(flag.label) + roff(flag.form) + "\n" + roff(flag.help) + "\n";
        }
    }
    return text;
}

/// \param command "vexamesh strip"
/// \param name    "vexamesh-strip"
std::string page(const VerbInfo& info, const std::string& command, const std::string& name, const std::string& version,
                 const std::string& list, const std::string& seeAlso) {
    const Footer footer = readFooter(info.footer);
    return ".TH " + roff(upperCase(name)) + " 1 \"\" \"vexamesh " + version +
           "\" \"User Commands\"\n.nh\n.ad l\n.SH NAME\n" + roff(name) + " \\- " + roff(asPhrase(info.help)) +
           "\n.SH SYNOPSIS\n" + bold(command) + roff(info.usage) + "\n.SH DESCRIPTION\n" + roff(info.help) + "\n" +
           footer.prose + list + ".SH OPTIONS\n" + entries(info.flags, true) + entries(info.flags, false) +
           footer.blocks + ".SH SEE ALSO\n" + seeAlso;
}

} // namespace

std::vector<std::pair<std::string, std::string>>
manualPages(const VerbInfo& program, const std::vector<VerbInfo>& verbs, const std::string& version) {
    std::vector<std::pair<std::string, std::string>> pages;
    std::string list = ".SH SUBCOMMANDS\n";
    std::string seeAlso;
    for (const VerbInfo& verb : verbs) {
        const std::string name = program.name + "-" + verb.name;
        list += ".TP\n" + bold(verb.name) + "\n" + roff(verb.help) + "\n";
        seeAlso += (seeAlso.empty() ? "" : ",\n") + bold(name) + "(1)";
        pages.emplace_back(name + ".1", page(verb, program.name + " " + verb.name, name, version, "",
                                             bold(program.name) + "(1) describes the options of every subcommand.\n"));
    }
    pages.emplace_back(program.name + ".1", page(program, program.name, program.name, version, list, seeAlso + "\n"));
    return pages;
}

} // namespace vexa::tool
