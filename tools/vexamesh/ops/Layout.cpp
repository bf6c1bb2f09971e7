#include "Commands.h"
#include "Errors.h"
#include "Logging.h"
#include "MeshConversion.h"
#include "Report.h"

#include <memory>
#include <ostream>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh compare before.glb after.glb
  vexamesh compare --json a.obj b.obj

Layouts are compared, not contents: primitive types, and the names, component types and component counts of the
attributes. The program ends with 1, and the first difference, when they are not the same.)";

struct CompareArguments {
    std::string first;
    std::string second;
    bool json = false;
};

/// A mesh with the layout of a primitive and nothing in it.
mesh::MeshPtr layoutOf(const Document& document, const Primitive& primitive) {
    Primitive header = primitive;
    header.indices.clear();
    return mesh::Mesh::createEmptyMesh(toMesh(document, header));
}

/// How two primitives differ; "" when their layouts agree.
std::string differenceOf(const mesh::MeshPtr& first, const mesh::MeshPtr& second) {
    std::string difference;
    const LogCapture capture([&](const std::string& line) { difference = line; });
    if (mesh::Mesh::meshesAreCompatible(first, second, true)) {
        return "";
    }
    return difference;
}

std::string countDifference(const std::string& what, std::size_t first, std::size_t second) {
    return "Files do not have the same number of " + what + ": " + std::to_string(first) + " and " +
           std::to_string(second);
}

/// The first difference, with the name of the mesh in which it is.
std::string findDifference(const Document& first, const Document& second) {
    if (first.meshes.size() != second.meshes.size()) {
        return countDifference("meshes", first.meshes.size(), second.meshes.size());
    }
    for (std::size_t m = 0; m < first.meshes.size(); ++m) {
        const Mesh& a = first.meshes[m];
        const Mesh& b = second.meshes[m];
        if (a.primitives.size() != b.primitives.size()) {
            return a.name + ": " + countDifference("primitives", a.primitives.size(), b.primitives.size());
        }
        for (std::size_t p = 0; p < a.primitives.size(); ++p) {
            const std::string difference =
                differenceOf(layoutOf(first, a.primitives[p]), layoutOf(second, b.primitives[p]));
            if (!difference.empty()) {
                return primitiveName(a, p) + ": " + difference;
            }
        }
    }
    return "";
}

int runCompare(const CompareArguments& arguments, const Streams& streams) {
    const Document first = loadAndWarn(arguments.first, streams.err);
    const Document second = loadAndWarn(arguments.second, streams.err);
    const std::string difference = findDifference(first, second);
    if (arguments.json) {
        Json json = {{"first", arguments.first}, {"second", arguments.second}, {"sameLayout", difference.empty()}};
        if (!difference.empty()) {
            json["difference"] = difference;
        }
        printJson(streams.out, json);
    } else {
        streams.out << (difference.empty() ? "The layouts are the same." : printable(difference)) << '\n';
    }
    return difference.empty() ? EXIT_DONE : EXIT_CHECK_FAILED;
}

} // namespace

void addCompareCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<CompareArguments>();
    CLI::App& command = addSubcommand(app, chosen, "compare", "Compares the layouts of the meshes of two files.",
                                      examples, arguments, runCompare);
    command.add_option("A", arguments->first, readableFile)->required();
    command.add_option("B", arguments->second, "Another one")->required();
    command.add_flag("--json", arguments->json, "Print JSON instead of text");
}

} // namespace vexa::tool
