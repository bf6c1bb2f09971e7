#pragma once

#include "cli/Flags.h"
#include "io/Document.h"
#include "ops/ReadBack.h"
#include "ops/Weld.h"

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace vexa::tool {

class Console;

/// The way of every verb from its inputs to its output.
class Session {
public:
    /// \param warn receives what a person should know, in a line each
    /// \param weld whether the vertices of what is read are joined; see `weldVertices`
    explicit Session(std::function<void(const std::string&)> warn, const OptionalNumber& weld = {})
        : warn_(std::move(warn)), weld_(weld) {}
    explicit Session(Console& console, const OptionalNumber& weld = {});

    /// Reads a file, with its warnings, and joins its vertices if that is wanted; "-" is standard input.
    ///
    /// \throw FileError  as `loadDocument`
    /// \throw UsageError it is standard input, which was read before
    [[nodiscard]] Document load(const std::filesystem::path& file, MeshCheck check = MeshCheck::Full) const;

    /// The same for a verb that changes triangles or their order: marks of their edges, which would no longer be right, are
    /// left out.
    ///
    /// \throw CheckError there are such marks, and nothing must be left out
    [[nodiscard]] Document loadToEdit(const std::filesystem::path& file) const;

    /// Calls `work` with each file. A file that cannot be read is reported, also in `report`, and does not stop the
    /// others.
    ///
    /// \param work returns the exit code for its file
    /// \return the highest exit code
    int forEachFile(const std::vector<std::string>& files, Json& report,
                    const std::function<int(const std::string&)>& work) const;

    /// Writes a file as a whole, once its content has been read back and found to be right.
    ///
    /// \throw CheckError it is not; nothing is written
    /// \throw FileError  it cannot be written
    void write(const std::filesystem::path& output, const Bytes& content, const FindFault& findFault) const;

    /// Checks the name of a model to write before the work begins: it ends in .glb or .gltf, or is "-" for standard
    /// output, which then holds nothing else.
    ///
    /// \throw UsageError it does not, is one of the inputs, or is a terminal; or the data of a .gltf file would replace a
    ///     file that may belong to another model
    void checkModelOutput(const std::string& output, const std::vector<std::string>& inputs) const;

    /// Writes a model as `write` does: as .glb; as .gltf with its data in a .bin file of the same name next to it; or to
    /// standard output.
    ///
    /// \param content binary glTF
    void writeModel(const std::string& output, const Bytes& content, const FindFault& findFault) const;

    /// Writes a page, which nothing reads back.
    void write(const std::filesystem::path& output, const Bytes& page) const;

    void warn(const std::filesystem::path& file, const std::string& text) const;

    /// Reports data of a file that the output does not hold, as `load` does with what a document cannot hold.
    ///
    /// \throw CheckError nothing must be left out
    void leaveOut(const std::filesystem::path& file, const std::vector<std::string>& leftOut) const;

    /// What the documents and the output leave out of the files that have been read so far.
    [[nodiscard]] const std::vector<std::string>& leftOut() const { return leftOut_; }

    /// The same, each line with the name of its file, for outputs of several.
    [[nodiscard]] const std::vector<std::string>& leftOutByFile() const { return leftOutByFile_; }

    /// For JSON: `leftOut`, and the outcome of joining vertices if that was wanted.
    ///
    /// \param byFile each line of `leftOut` with the name of its file
    [[nodiscard]] Json notes(bool byFile = false) const;

private:
    [[nodiscard]] Document read(const std::filesystem::path& file, MeshCheck check) const;
    void weld(Document& document) const;

    /// \return false: that is known
    bool noteLoss(const std::filesystem::path& file, const std::string& text) const;

    Console* console_ = nullptr;
    std::function<void(const std::string&)> warn_;
    std::function<void(const std::string&)> fail_;
    OptionalNumber weld_;
    mutable WeldStats welded_;
    mutable std::vector<std::string> leftOut_;
    mutable std::vector<std::string> leftOutByFile_;
    mutable std::set<std::string> losses_; ///< the same, to find them
};

} // namespace vexa::tool
