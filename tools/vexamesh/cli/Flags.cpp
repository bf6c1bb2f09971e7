#include "cli/Flags.h"

#include "base/Errors.h"
#include "cli/Console.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <sstream>

namespace vexa::tool {

namespace {

template <typename Value>
CLI::Option& addOption(CLI::App& app, const std::string& name, Value& value, const std::string& help,
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
    return *option;
}

} // namespace

void Flags::add(const std::string& name, bool& value, const std::string& help) {
    app_->add_flag(name, value, help);
}

void Flags::add(const std::string& name, std::string& value, const std::string& help, const FlagForm& form) {
    addOption(*app_, name, value, help, form);
}

void Flags::add(const std::string& name, std::vector<std::string>& value, const std::string& help,
                const FlagForm& form) {
    // Arguments may follow an option, which takes one value each time it is given.
    addOption(*app_, name, value, help, form).allow_extra_args(!name.starts_with('-'));
}

void Flags::add(const std::string& name, std::uint32_t& value, const std::string& help, const FlagForm& form) {
    addOption(*app_, name, value, help, form);
}

void Flags::add(const std::string& name, std::size_t& value, const std::string& help, const FlagForm& form) {
    addOption(*app_, name, value, help, form);
}

void Flags::add(const std::string& name, std::optional<std::uint32_t>& value, const std::string& help,
                const FlagForm& form) {
    addOption(*app_, name, value, help, form);
}

void Flags::add(const std::string& name, std::optional<std::size_t>& value, const std::string& help,
                const FlagForm& form) {
    addOption(*app_, name, value, help, form);
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
    : app_(std::make_unique<CLI::App>(description, "vexamesh")) {
    app_->footer(footer);
    app_->set_version_flag("--version", version);
    app_->require_subcommand(1);
    app_->fallthrough();
}

CommandLine::~CommandLine() = default;

Flags CommandLine::flags() {
    return Flags(*app_);
}

Flags CommandLine::addVerb(const std::string& name, const std::string& help, const std::string& footer) {
    verbs_.push_back(app_->add_subcommand(name, help));
    verbs_.back()->footer(footer);
    return Flags(*verbs_.back());
}

std::optional<std::size_t> CommandLine::parse(int argc, const char* const* argv, Console& console) {
    try {
        app_->parse(argc, argv);
    } catch (const CLI::Success& success) {
        std::ostringstream text;
        app_->exit(success, text, text);
        console.print(text.str());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UsageError(std::string(error.what()) + " (see vexamesh --help)");
    }
    const auto verb = std::find_if(verbs_.begin(), verbs_.end(), [](const CLI::App* app) { return app->parsed(); });
    return static_cast<std::size_t>(verb - verbs_.begin());
}

} // namespace vexa::tool
