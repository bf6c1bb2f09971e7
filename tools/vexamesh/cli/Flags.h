#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI { // NOLINT(readability-identifier-naming): not ours
class App;
class Option;
} // namespace CLI

namespace vexa::tool {

class Console;

/// Formats that every verb reads, for the help texts.
constexpr const char* readableFile = "A .glb, .gltf, .obj, .ply, .stl or .off file";
constexpr const char* readableFiles = ".glb, .gltf, .obj, .ply, .stl or .off files";

/// How a flag or argument is read and described.
struct FlagForm {
    bool isRequired = false;
    bool showsDefault = false;
    bool takesLast = false; ///< given more than once, the last one counts
    const char* typeName = nullptr;
    const char* variable = nullptr; ///< environment variable that gives the value when the flag is absent
    std::uint64_t min = 0;
    std::uint64_t max = 0; ///< 0: any number
    std::vector<std::string> choices = {};
};

/// The flags and arguments of a verb. Each is read into a variable, which must live until the command line is parsed.
class Flags {
public:
    explicit Flags(CLI::App& app) : app_(&app) {}

    /// \param name "--json", "-o,--output", or "IN" for an argument
    void add(const std::string& name, bool& value, const std::string& help);
    void add(const std::string& name, std::string& value, const std::string& help, const FlagForm& form = {});
    void add(const std::string& name, std::vector<std::string>& value, const std::string& help,
             const FlagForm& form = {});
    void add(const std::string& name, std::uint32_t& value, const std::string& help, const FlagForm& form = {});
    void add(const std::string& name, std::size_t& value, const std::string& help, const FlagForm& form = {});
    void add(const std::string& name, std::optional<std::uint32_t>& value, const std::string& help,
             const FlagForm& form = {});
    void add(const std::string& name, std::optional<std::size_t>& value, const std::string& help,
             const FlagForm& form = {});

    /// Names and values in the order of the command line, once it is parsed.
    [[nodiscard]] std::vector<std::pair<std::string, std::string>> inOrder() const;

private:
    CLI::App* app_;
};

/// The grammar of the command line: flags for every verb, and verbs with flags of their own.
class CommandLine {
public:
    CommandLine(const std::string& description, const std::string& footer, const std::string& version);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine();

    /// Flags that may stand before and after the verb.
    [[nodiscard]] Flags flags();

    [[nodiscard]] Flags addVerb(const std::string& name, const std::string& help, const std::string& footer);

    /// Fills the variables of the flags. Prints the help text or the version if asked for.
    ///
    /// \return position of the verb in the order of `addVerb`; nothing when only a text was asked for
    /// \throw UsageError the arguments are wrong
    std::optional<std::size_t> parse(int argc, const char* const* argv, Console& console);

private:
    std::unique_ptr<CLI::App> app_;
    std::vector<CLI::App*> verbs_;
};

} // namespace vexa::tool
