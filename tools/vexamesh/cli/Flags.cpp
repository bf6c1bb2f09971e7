#include "cli/Flags.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "cli/Console.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <set>
#include <sstream>

namespace vexa::tool {

namespace {

/// The value of a flag that may have a number and has none.
constexpr const char* withoutNumber = "none";

/// \return nothing if the text is not a number of at least 0
std::optional<double> parseNumber(const std::string& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && std::isfinite(value);
    return isNumber && value >= 0 ? std::optional(value) : std::nullopt;
}

/// Joins flags that may have a number with the number that follows ("--weld 0.1" becomes "--weld=0.1"), and gives
/// the others a value, so that they do not take a file name that follows.
std::vector<std::string> withJoinedNumbers(std::vector<std::string> arguments, const std::vector<VerbInfo>& verbs) {
    std::set<std::string> flags;
    for (const VerbInfo& verb : verbs) {
        for (const FlagInfo& flag : verb.flags) {
            if (flag.mayTakeNumber) {
                flags.insert(flag.names.begin(), flag.names.end());
            }
        }
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (!flags.contains(arguments[i])) {
            continue;
        }
        if (i + 1 < arguments.size() && parseNumber(arguments[i + 1])) {
            arguments[i] += "=" + arguments[i + 1];
            arguments.erase(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        } else {
            arguments[i] += std::string("=") + withoutNumber;
        }
    }
    return arguments;
}

/// "-o,--output" as two names; an argument has none.
std::vector<std::string> namesOf(const std::string& name) {
    const std::size_t comma = name.find(',');
    if (!name.starts_with('-')) {
        return {};
    }
    return comma == std::string::npos ? std::vector{name} : std::vector{name.substr(0, comma), name.substr(comma + 1)};
}

/// Describes an option as the help text does.
///
/// \param flag a description that lacks these words
void describe(VerbInfo& info, const std::string& name, const CLI::Option& option, FlagInfo flag) {
    flag.names = namesOf(name);
    flag.help = option.get_description();
    flag.label = name;
    flag.form = CLI::Formatter().make_option_opts(&option);
    info.flags.push_back(std::move(flag));
}

template <typename Value>
CLI::Option& addOption(CLI::App& app, VerbInfo& info, const std::string& name, Value& value, const std::string& help,
                       const FlagForm& form) {
    CLI::Option* option = app.add_option(name, value, help)->required(form.isRequired);
    if (form.typeName != nullptr) {
        option->type_name(form.typeName);
    }
    if (form.variable != nullptr) {
        option->envname(form.variable);
    }
    if (form.takesLast) {
        option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    }
    if (form.max != 0) {
        option->check(CLI::Range(form.min, form.max));
    }
    if (!form.choices.empty()) {
        option->check(CLI::IsMember(form.choices));
    }
    if (form.showsDefault) {
        option->capture_default_str();
    }
    const bool takesDirectory = form.typeName != nullptr && std::string(form.typeName) == "DIR";
    describe(info, name, *option, {.takesValue = true, .takesDirectory = takesDirectory, .choices = form.choices});
    return *option;
}

} // namespace

void Flags::add(const std::string& name, bool& value, const std::string& help) {
    describe(*info_, name, *app_->add_flag(name, value, help), {});
}

void Flags::add(const std::string& name, OptionalNumber& value, const std::string& help) {
    CLI::Option* option = app_->add_option_function<std::string>(
        name,
        [&value, name](const std::string& text) {
            value.isGiven = true;
            value.number = parseNumber(text);
            if (text != withoutNumber && !value.number) {
                throw CLI::ValidationError(name, "\"" + text + "\" is not a number of at least 0");
            }
        },
        help);
    option->type_name("[NUMBER]");
    describe(*info_, name, *option, {.mayTakeNumber = true});
}

void Flags::add(const std::string& name, std::string& value, const std::string& help, const FlagForm& form) {
    addOption(*app_, *info_, name, value, help, form);
}

void Flags::add(const std::string& name, std::vector<std::string>& value, const std::string& help,
                const FlagForm& form) {
    // Arguments may follow an option, which takes one value each time it is given.
    addOption(*app_, *info_, name, value, help, form).allow_extra_args(!name.starts_with('-'));
}

void Flags::add(const std::string& name, std::uint32_t& value, const std::string& help, const FlagForm& form) {
    addOption(*app_, *info_, name, value, help, form);
}

void Flags::add(const std::string& name, std::size_t& value, const std::string& help, const FlagForm& form) {
    addOption(*app_, *info_, name, value, help, form);
}

void Flags::add(const std::string& name, std::optional<std::uint32_t>& value, const std::string& help,
                const FlagForm& form) {
    addOption(*app_, *info_, name, value, help, form);
}

void Flags::add(const std::string& name, std::optional<std::size_t>& value, const std::string& help,
                const FlagForm& form) {
    addOption(*app_, *info_, name, value, help, form);
}

std::vector<std::pair<std::string, std::string>> Flags::inOrder() const {
    std::vector<std::pair<std::string, std::string>> result;
    std::map<const CLI::Option*, std::size_t> used;
    for (const CLI::Option* option : app_->parse_order()) {
        result.emplace_back(option->get_name(), option->results().at(used[option]++));
    }
    return result;
}

CommandLine::CommandLine(const std::string& description, const std::string& footer, const std::string& version)
    : app_(std::make_unique<CLI::App>(description, "vexamesh")),
      program_(std::make_unique<VerbInfo>(VerbInfo{"vexamesh", description, {}, footer, " [OPTIONS] SUBCOMMAND"})) {
    app_->footer(footer);
    app_->require_subcommand(1);
    app_->fallthrough();
    describe(*program_, "-h,--help", *app_->get_help_ptr(), {});
    describe(*program_, "--version", *app_->set_version_flag("--version", version), {});
}

CommandLine::~CommandLine() = default;

Flags CommandLine::flags() {
    return {*app_, *program_};
}

Flags CommandLine::addVerb(const std::string& name, const std::string& help, const std::string& footer) {
    verbs_.push_back(app_->add_subcommand(name, help));
    verbs_.back()->footer(footer);
    infos_.push_back(std::make_unique<VerbInfo>(VerbInfo{name, help, {}, footer}));
    return {*verbs_.back(), *infos_.back()};
}

Flags CommandLine::addHiddenVerb(const std::string& name, const std::string& help) {
    Flags flags = addVerb(name, help, "");
    verbs_.back()->group("");
    return flags;
}

std::vector<VerbInfo> CommandLine::verbs() const {
    std::vector<VerbInfo> verbs;
    for (std::size_t i = 0; i < verbs_.size(); ++i) {
        if (verbs_[i]->get_group().empty()) {
            continue;
        }
        verbs.push_back(*infos_[i]);
        const std::string usage = CLI::Formatter().make_usage(verbs_[i], "");
        const std::size_t begin = usage.find(':') + 1;
        verbs.back().usage = usage.substr(begin, usage.find('\n') - begin);
    }
    return verbs;
}

/// Says more of arguments that nothing takes.
std::string CommandLine::explain(const std::string& fault) const {
    const auto verb = std::find_if(verbs_.begin(), verbs_.end(), [](const CLI::App* app) { return app->parsed(); });
    std::vector<std::string> known;
    if (verb == verbs_.end()) {
        for (const VerbInfo& info : verbs()) {
            known.push_back(info.name);
        }
    } else {
        const VerbInfo& info = *infos_[static_cast<std::size_t>(verb - verbs_.begin())];
        for (const VerbInfo* source : {&info, static_cast<const VerbInfo*>(program_.get())}) {
            for (const FlagInfo& flag : source->flags) {
                known.insert(known.end(), flag.names.begin(), flag.names.end());
            }
        }
    }
    const std::vector<std::string> unknown = app_->remaining(true);
    const auto first = std::find_if(unknown.begin(), unknown.end(), [&](const std::string& text) {
        return text.starts_with('-') == (verb != verbs_.end()) && text != "-" && text != "--";
    });
    if (first == unknown.end()) {
        return fault + " (see vexamesh --help)";
    }
    const std::string name = first->substr(0, first->find('='));
    const std::string nearest = nearestWord(name, known);
    return std::string("unknown ") + (verb == verbs_.end() ? "subcommand" : "option") + " `" + name + "`" +
           (nearest.empty() ? " (see vexamesh --help)" : "; did you mean `" + nearest + "`?");
}

std::optional<std::size_t> CommandLine::parse(int argc, const char* const* argv, Console& console) {
    const std::vector<std::string> arguments = withJoinedNumbers({argv + 1, argv + argc}, verbs());
    try {
        app_->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::Success& success) {
        std::ostringstream text;
        app_->exit(success, text, text);
        console.print(text.str());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UsageError(explain(error.what()));
    }
    const auto verb = std::find_if(verbs_.begin(), verbs_.end(), [](const CLI::App* app) { return app->parsed(); });
    return static_cast<std::size_t>(verb - verbs_.begin());
}

} // namespace vexa::tool
