#include "cli/Session.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "cli/Console.h"
#include "io/Files.h"
#include "ops/EdgeVisibility.h"

#include <algorithm>
#include <stdexcept>

namespace vexa::tool {

Session::Session(Console& console, const OptionalNumber& weld)
    : console_(&console), warn_([&console](const std::string& text) { console.printWarning(text); }),
      fail_([&console](const std::string& text) { console.printError(text); }), weld_(weld) {}

Document Session::load(const std::filesystem::path& file, MeshCheck check) const {
    Document document = read(file, check);
    weld(document);
    return document;
}

Document Session::loadToEdit(const std::filesystem::path& file) const {
    Document document = read(file, MeshCheck::Full);
    leaveOut(file, removeEdgeMarks(document));
    weld(document);
    return document;
}

Document Session::read(const std::filesystem::path& file, MeshCheck check) const {
    Document document = file == "-" ? loadStandardInput(check) : loadDocument(file, check);
    for (const std::string& warning : document.asset.warnings) {
        warn(file, warning);
    }
    for (const std::string& text : document.asset.leftOut) {
        noteLoss(file, text);
    }
    return document;
}

void Session::weld(Document& document) const {
    if (!weld_.isGiven) {
        return;
    }
    const WeldStats stats = weldVertices(document, weld_.number);
    std::string text =
        std::to_string(stats.joined) + " of " + counted(stats.vertices, "vertex", "vertices") + " joined with others";
    if (stats.differing > 0) {
        text += "; " + std::to_string(stats.differing) + " of them had other attributes, which are lost";
    }
    if (stats.collapsed > 0) {
        text += "; " + counted(stats.collapsed, "triangle") + " vanished, whose corners were joined";
    }
    warn(document.file, text);
    welded_.vertices += stats.vertices;
    welded_.joined += stats.joined;
    welded_.differing += stats.differing;
    welded_.collapsed += stats.collapsed;
}

Json Session::notes(bool byFile) const {
    Json notes = {{"leftOut", byFile ? leftOutByFile_ : leftOut_}};
    if (weld_.isGiven) {
        notes["weld"] = {{"vertices", welded_.vertices},
                         {"joined", welded_.joined},
                         {"differing", welded_.differing},
                         {"collapsedTriangles", welded_.collapsed}};
    }
    return notes;
}

int Session::forEachFile(const std::vector<std::string>& files, Json& report,
                         const std::function<int(const std::string&)>& work) const {
    int code = EXIT_DONE;
    for (const std::string& file : files) {
        try {
            code = std::max(code, work(file));
        } catch (const FileError& error) {
            fail_(error.what());
            report.push_back({{"file", file}, {"error", error.what()}});
            code = EXIT_BAD_FILE;
        } catch (const CheckError& error) {
            fail_(error.what());
            report.push_back({{"file", file}, {"error", error.what()}});
            code = std::max<int>(code, EXIT_CHECK_FAILED);
        }
    }
    return code;
}

namespace {

void checkContent(const std::string& output, const Bytes& content, const FindFault& findFault) {
    std::string fault;
    try {
        fault = findFault(content);
    } catch (const FileError& error) {
        fault = std::string("it could not be read back: ") + error.what();
    } catch (const std::out_of_range&) {
        fault = "it would lack some meshes";
    }
    if (!fault.empty()) {
        throw CheckError(output + ": not written, because " + fault);
    }
}

/// The file of the data of a .gltf file.
std::filesystem::path binaryOf(std::filesystem::path output) {
    return output.replace_extension(".bin");
}

} // namespace

void Session::write(const std::filesystem::path& output, const Bytes& content, const FindFault& findFault) const {
    checkContent(output.string(), content, findFault);
    writeFile(output, content);
}

void Session::checkModelOutput(const std::string& output, const std::vector<std::string>& inputs) const {
    if (output == "-") {
        if (console_ == nullptr || console_->isOutputTerminal()) {
            throw UsageError("the output is binary, and standard output is a terminal; redirect it to a file");
        }
        console_->keepOutputForModel();
        return;
    }
    for (const std::string& input : inputs) {
        checkOutputName(output, {".glb", ".gltf"}, input);
    }
    std::error_code error;
    if (hasExtension(output, ".gltf") && std::filesystem::exists(binaryOf(output), error) &&
        !std::filesystem::exists(output, error)) {
        throw UsageError(binaryOf(output).string() + ", where the data of " + output +
                         " would be, exists; choose another name, or remove it if no other model needs it");
    }
}

void Session::writeModel(const std::string& output, const Bytes& content, const FindFault& findFault) const {
    checkContent(output == "-" ? "standard output" : output, content, findFault);
    if (output == "-") {
        console_->printModel(content);
        return;
    }
    if (!hasExtension(output, ".gltf")) {
        writeFile(output, content);
        return;
    }
    const GltfFiles files = splitGltf(content, binaryOf(output).filename().string());
    if (joinGltf(files) != content) {
        throw CheckError(output + ": not written, because its two files would not be the model");
    }
    if (files.binary.empty()) {
        writeFile(output, files.text);
    } else {
        writeFiles(output, files.text, binaryOf(output), files.binary);
    }
}

void Session::write(const std::filesystem::path& output, const Bytes& page) const {
    writeFile(output, page);
}

bool Session::noteLoss(const std::filesystem::path& file, const std::string& text) const {
    std::string byFile = file.string() + ": " + text;
    if (!losses_.insert(byFile).second) {
        return false;
    }
    leftOut_.push_back(text);
    leftOutByFile_.push_back(std::move(byFile));
    return true;
}

void Session::leaveOut(const std::filesystem::path& file, const std::vector<std::string>& leftOut) const {
    checkLosses(file, leftOut);
    for (const std::string& text : leftOut) {
        if (noteLoss(file, text)) {
            warn(file, "left out: " + text);
        }
    }
}

void Session::warn(const std::filesystem::path& file, const std::string& text) const {
    warn_(file.string() + ": " + text);
}

} // namespace vexa::tool
