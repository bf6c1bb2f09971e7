#include "Commands.h"
#include "Errors.h"
#include "MeshConversion.h"
#include "Report.h"

#include <memory>
#include <ostream>
#include <vexa/mesh/AttributeBufferDump.h>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh dump model.glb
  vexamesh dump model.obj --attribute normal --elements

Positions and normals go by the names "position" and "normal"; POSITION and NORMAL name them, too. Where a file has more
than one primitive, a line before each names it.)";

struct DumpArguments {
    std::string file;
    std::string attribute;
    bool elements = false;
};

std::size_t countPrimitives(const Document& document) {
    std::size_t count = 0;
    for (const Mesh& mesh : document.meshes) {
        count += mesh.primitives.size();
    }
    return count;
}

int runDump(const DumpArguments& arguments, const Streams& streams) {
    const Document document = loadAndWarn(arguments.file, streams.err);
    const bool namesPrimitives = countPrimitives(document) > 1;
    const std::string wanted = libraryName(arguments.attribute);
    bool isFound = false;
    for (const Mesh& mesh : document.meshes) {
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            const mesh::MeshPtr primitive = toMesh(document, mesh.primitives[p]);
            bool isNamed = !namesPrimitives;
            for (unsigned long i = 0; i < primitive->getNumAttributeBuffers(); ++i) {
                const auto buffer = primitive->getAttributeBuffer(i);
                if (!wanted.empty() && buffer->getAttributeName() != wanted) {
                    continue;
                }
                if (!isNamed) {
                    streams.out << printable(primitiveName(mesh, p)) << ":\n";
                    isNamed = true;
                }
                mesh::detail::printAttributeBuffer(streams.out, buffer, arguments.elements);
                isFound = true;
            }
        }
    }
    if (!isFound) {
        throw FileError(arguments.file, wanted.empty() ? "has no attributes" : "has no attribute " + wanted);
    }
    return EXIT_DONE;
}

} // namespace

void addDumpCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<DumpArguments>();
    CLI::App& command =
        addSubcommand(app, chosen, "dump", "Prints attribute buffers as text.", examples, arguments, runDump);
    command.add_option("FILE", arguments->file, readableFile)->required();
    command.add_option("--attribute", arguments->attribute, "Only the attribute of this name")->type_name("NAME");
    command.add_flag("--elements", arguments->elements, "All elements, too");
}

} // namespace vexa::tool
