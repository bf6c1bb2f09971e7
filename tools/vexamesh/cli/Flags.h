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

/// Help of a flag for every verb that reads meshes to convert them.
constexpr const char* weldHelp =
    "Join vertices whose attributes are all equal; with NUMBER, those whose positions are at most that far apart, the "
    "first of which keeps its attributes";

/// Formats that every verb reads, for the help texts.
constexpr const char* readableFile = "A .glb, .gltf, .obj, .ply, .stl or .off file; - for standard input";
constexpr const char* readableFiles = ".glb, .gltf, .obj, .ply, .stl or .off files; - for standard input";
constexpr const char* writableFile = "The .glb file, or .gltf file with its .bin file, to write; - for standard output";

/// A flag that may have a number.
struct OptionalNumber {
    bool isGiven = false;
    std::optional<double> number; ///< at least 0
};

/// A flag or an argument, for completions and manual pages.
struct FlagInfo {
    std::vector<std::string> names = {}; ///< "-o", "--output"; none for an argument
    std::string help = {};
    bool takesValue = false;
    bool takesDirectory = false; ///< as its value
    std::vector<std::string> choices = {};
    bool mayTakeNumber = false;
    std::string label = {}; ///< as the help text names it: "-o,--output", "IN"
    std::string form = {};  ///< the words of the help text between label and help: " N=1", " TEXT REQUIRED"
};

/// A verb, or the program, for completions and manual pages.
struct VerbInfo {
    std::string name;
    std::string help;
    std::vector<FlagInfo> flags = {};
    std::string footer = {}; ///< of its help text
    std::string usage = {};  ///< what follows its name: " [OPTIONS] IN..."
};

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
    /// \param info gets a description of each flag
    Flags(CLI::App& app, VerbInfo& info) : app_(&app), info_(&info) {}

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

    void add(const std::string& name, OptionalNumber& value, const std::string& help);

    /// Names and values in the order of the command line, once it is parsed.
    [[nodiscard]] std::vector<std::pair<std::string, std::string>> inOrder() const;

private:
    CLI::App* app_;
    VerbInfo* info_;
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

    /// Adds a verb that no help text, completion or manual page mentions.
    [[nodiscard]] Flags addHiddenVerb(const std::string& name, const std::string& help);

    /// Fills the variables of the flags. Prints the help text or the version if asked for.
    ///
    /// \return position of the verb in the order in which they were added; nothing when only a text was asked for
    /// \throw UsageError the arguments are wrong
    std::optional<std::size_t> parse(int argc, const char* const* argv, Console& console);

    /// The verbs with their flags, in the order of `addVerb`, without hidden ones.
    [[nodiscard]] std::vector<VerbInfo> verbs() const;

    /// The program, with the flags for every verb.
    [[nodiscard]] const VerbInfo& program() const { return *program_; }

private:
    [[nodiscard]] std::string explain(const std::string& fault) const;

    std::unique_ptr<CLI::App> app_;
    std::unique_ptr<VerbInfo> program_;
    std::vector<CLI::App*> verbs_;
    std::vector<std::unique_ptr<VerbInfo>> infos_; ///< of the verbs
};

} // namespace vexa::tool
