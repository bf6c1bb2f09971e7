#include "Commands.h"
#include "Errors.h"
#include "MeshConversion.h"
#include "Report.h"
#include "io/PrimitiveRestart.h"

#include <memory>
#include <ostream>
#include <stdexcept>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh validate model.glb
  vexamesh validate --json *.glb

A mesh is valid when it has positions, its other attributes have as many elements, and its indices name vertices. The
program ends with 1 when one is not.)";

struct ValidateArguments {
    std::vector<std::string> files;
    bool json = false;
};

/// What is wrong with a primitive; "" when it is valid.
std::string findFault(const Document& document, const Primitive& primitive) {
    try {
        Primitive vertices = primitive;
        vertices.indices = withoutRestarts(std::move(vertices.indices));
        toMesh(document, vertices)->isValid();
        return "";
    } catch (const std::logic_error& error) {
        return error.what();
    }
}

/// \return whether everything is valid
bool validateFile(const std::string& file, const ValidateArguments& arguments, Table& table, Json& files,
                  const Streams& streams) {
    const Document document = loadAndWarn(file, streams.err, MeshCheck::References);
    bool isValid = true;
    Json meshes = Json::array();
    for (const Mesh& mesh : document.meshes) {
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            const std::string fault = findFault(document, mesh.primitives[p]);
            isValid = isValid && fault.empty();
            table.addRow({printable(file), printable(mesh.name), std::to_string(p),
                          mesh::getStringForPrimitiveType(mesh.primitives[p].type),
                          fault.empty() ? "valid" : printable(fault)});
            Json entry = {{"mesh", mesh.name}, {"primitive", p}, {"valid", fault.empty()}};
            if (!fault.empty()) {
                entry["message"] = fault;
            }
            meshes.push_back(std::move(entry));
        }
    }
    if (arguments.json) {
        files.push_back({{"file", file}, {"valid", isValid}, {"primitives", std::move(meshes)}});
    }
    return isValid;
}

int runValidate(const ValidateArguments& arguments, const Streams& streams) {
    Json files = Json::array();
    Table table;
    table.addColumn("file", Table::Align::Left);
    table.addColumn("mesh", Table::Align::Left);
    table.addColumn("primitive");
    table.addColumn("type", Table::Align::Left);
    table.addColumn("result", Table::Align::Left);
    const int code = forEachFile(arguments.files, files, streams.err, [&](const std::string& file) {
        return validateFile(file, arguments, table, files, streams) ? EXIT_DONE : EXIT_CHECK_FAILED;
    });
    if (arguments.json) {
        printJson(streams.out, {{"files", std::move(files)}});
    } else {
        table.print(streams.out);
    }
    return code;
}

} // namespace

void addValidateCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<ValidateArguments>();
    CLI::App& command =
        addSubcommand(app, chosen, "validate", "Checks that meshes are consistent.", examples, arguments, runValidate);
    command.add_option("FILE", arguments->files, readableFiles)->required();
    command.add_flag("--json", arguments->json, "Print JSON instead of a table");
}

} // namespace vexa::tool
