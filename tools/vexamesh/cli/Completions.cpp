#include "cli/Completions.h"

#include <algorithm>
#include <string_view>

namespace vexa::tool {

namespace {

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

std::vector<std::string> namesOf(const std::vector<FlagInfo>& flags) {
    std::vector<std::string> names;
    for (const FlagInfo& flag : flags) {
        names.insert(names.end(), flag.names.begin(), flag.names.end());
    }
    return names;
}

/// Puts a backslash before each of some characters.
std::string escaped(const std::string& text, std::string_view characters) {
    std::string result;
    for (const char c : text) {
        if (characters.find(c) != std::string_view::npos) {
            result += '\\';
        }
        result += c;
    }
    return result;
}

/// Text in single quotes for a shell that knows no escapes in them.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
}

/// The choices for the argument of a verb.
const std::vector<std::string>& argumentChoices(const VerbInfo& verb) {
    static const std::vector<std::string> none;
    const auto argument =
        std::find_if(verb.flags.begin(), verb.flags.end(), [](const FlagInfo& flag) { return flag.names.empty(); });
    return argument == verb.flags.end() ? none : argument->choices;
}

// ---- bash

/// The cases of the flags whose value comes next, as "verb:flag".
std::string bashValues(const std::string& verb, const std::vector<FlagInfo>& flags) {
    std::string text;
    for (const FlagInfo& flag : flags) {
        if (flag.names.empty() || !flag.takesValue) {
            continue;
        }
        std::vector<std::string> patterns;
        for (const std::string& name : flag.names) {
            patterns.push_back(verb + ":" + name);
        }
        const std::string words =
            flag.choices.empty() ? (flag.takesDirectory ? "-d" : "-f") : "-W '" + joined(flag.choices, " ") + "'";
        text += "    " + joined(patterns, "|") + ")\n        mapfile -t COMPREPLY < <(compgen " + words +
                " -- \"$current\")\n        return ;;\n";
    }
    return text;
}

std::string bashScript(const std::vector<VerbInfo>& verbs, const std::vector<FlagInfo>& common) {
    std::vector<std::string> names;
    std::string values = bashValues("*", common);
    std::string words;
    for (const VerbInfo& verb : verbs) {
        names.push_back(verb.name);
        values += bashValues(verb.name, verb.flags);
        words += "    " + verb.name + ")\n        flags='" + joined(namesOf(verb.flags), " ") + "'\n        words='" +
                 joined(argumentChoices(verb), " ") + "' ;;\n";
    }
    return "# Completes the command lines of vexamesh in bash: source it.\n"
           "_vexamesh() {\n"
           "    local current=\"${COMP_WORDS[COMP_CWORD]}\" previous=\"${COMP_WORDS[COMP_CWORD - 1]}\"\n"
           "    local verb='' flags='' words='" +
           joined(names, " ") +
           "' word\n"
           "    COMPREPLY=()\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD - 1}\"; do\n"
           "        case \"$word\" in\n        " +
           joined(names, "|") +
           ")\n            verb=\"$word\"\n            break ;;\n        esac\n    done\n"
           "    case \"$verb:$previous\" in\n" +
           values + "    esac\n    case \"$verb\" in\n" + words +
           "    esac\n"
           "    if [[ $current == -* ]]; then\n"
           "        words=\"$flags " +
           joined(namesOf(common), " ") +
           "\"\n"
           "    elif [[ -z $words ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
           "        return\n"
           "    fi\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -o filenames -F _vexamesh vexamesh\n";
}

// ---- zsh

std::string zshFlags(const std::vector<FlagInfo>& flags) {
    std::string text;
    for (const FlagInfo& flag : flags) {
        const std::string action = !flag.choices.empty() ? "(" + joined(flag.choices, " ") + ")"
                                   : flag.takesDirectory ? "_files -/"
                                                         : "_files";
        for (const std::string& name : flag.names) {
            const std::string value = flag.takesValue ? ":value:" + action : "";
            text += " \\\n            " + quoted("*" + name + "[" + escaped(flag.help, "[]\\:") + "]" + value);
        }
        if (flag.names.empty()) {
            text += " \\\n            " + quoted("*:file:" + action);
        }
    }
    return text;
}

std::string zshScript(const std::vector<VerbInfo>& verbs, const std::vector<FlagInfo>& common) {
    std::string list;
    std::string cases;
    for (const VerbInfo& verb : verbs) {
        list += "        " + quoted(verb.name + ":" + escaped(verb.help, ":")) + "\n";
        cases +=
            "        " + verb.name + ")\n            _arguments -S" + zshFlags(verb.flags) + zshFlags(common) + " ;;\n";
    }
    return "#compdef vexamesh\n"
           "_vexamesh() {\n"
           "    local -a verbs\n"
           "    local state line\n"
           "    verbs=(\n" +
           list +
           "    )\n"
           "    _arguments -C" +
           zshFlags(common) +
           " \\\n            '1: :->verb' '*:: :->arguments'\n"
           "    case $state in\n"
           "    verb)\n"
           "        _describe subcommand verbs ;;\n"
           "    arguments)\n"
           "        case $words[1] in\n" +
           cases +
           "        esac ;;\n"
           "    esac\n"
           "}\n"
           "if [ \"$funcstack[1]\" = _vexamesh ]; then\n"
           "    _vexamesh \"$@\"\n"
           "else\n"
           "    compdef _vexamesh vexamesh\n"
           "fi\n";
}

// ---- fish

std::string fishText(const std::string& text) {
    return "'" + escaped(text, "'\\") + "'";
}

std::string fishFlags(const std::string& condition, const std::vector<FlagInfo>& flags) {
    std::string text;
    for (const FlagInfo& flag : flags) {
        std::string line = "complete -c vexamesh" + condition;
        for (const std::string& name : flag.names) {
            line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
        if (!flag.choices.empty()) {
            line += std::string(flag.names.empty() ? " -f" : " -x") + " -a " + fishText(joined(flag.choices, " "));
        } else if (flag.takesDirectory) {
            line += " -x -a '(__fish_complete_directories)'";
        } else if (flag.takesValue && !flag.names.empty()) {
            line += " -r";
        }
        if (!flag.names.empty() || !flag.choices.empty()) {
            text += line + " -d " + fishText(flag.help) + "\n";
        }
    }
    return text;
}

std::string fishScript(const std::vector<VerbInfo>& verbs, const std::vector<FlagInfo>& common) {
    std::string text = "# Completes the command lines of vexamesh in fish.\n";
    text += fishFlags("", common);
    for (const VerbInfo& verb : verbs) {
        text +=
            "complete -c vexamesh -n __fish_use_subcommand -f -a " + verb.name + " -d " + fishText(verb.help) + "\n";
        text += fishFlags(" -n '__fish_seen_subcommand_from " + verb.name + "'", verb.flags);
    }
    return text;
}

} // namespace

std::string completionScript(const std::string& shell, const std::vector<VerbInfo>& verbs,
                             const std::vector<FlagInfo>& common) {
    return shell == "bash"  ? bashScript(verbs, common)
           : shell == "zsh" ? zshScript(verbs, common)
                            : fishScript(verbs, common);
}

} // namespace vexa::tool
