#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "cli/Table.h"
#include "commands/Commands.h"
#include "ops/Layout.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh validate model.glb
  vexamesh validate --json *.glb

A mesh is valid when it has positions, its other attributes have as many elements, and its indices name vertices. If one
is not valid, the exit code is 1. With --json, each primitive has a list of all "faults", notes and warnings included: a
code, a severity, the total, the first sites and a text. They do not change the exit code.)";

struct ValidateArguments {
    std::vector<std::string> files;
    bool json = false;
};

Json faultsJson(const std::vector<mesh::MeshFault>& faults) {
    Json list = Json::array();
    for (const mesh::MeshFault& fault : faults) {
        Json sites = Json::array();
        for (const mesh::FaultSite& site : fault.sites) {
            sites.push_back({{"element", site.element}, {"value", site.value}});
        }
        list.push_back({{"code", mesh::getStringForFaultCode(fault.code)},
                        {"severity", mesh::getStringForFaultSeverity(fault.severity)},
                        {"attribute", fault.attribute},
                        {"total", fault.total},
                        {"sites", std::move(sites)},
                        {"text", fault.text}});
    }
    return list;
}

/// \param withFaults whether all faults are looked for and added to `files`
/// \return whether everything is valid
bool validateFile(const std::string& file, const Document& document, bool withFaults, Table& table, Json& files) {
    bool isValid = true;
    Json primitives = Json::array();
    for (const Mesh& owner : document.meshes) {
        for (std::size_t p = 0; p < owner.primitives.size(); ++p) {
            const std::string fault = findMeshFault(document, owner.primitives[p]);
            isValid = isValid && fault.empty();
            table.addRow({file, owner.name, p, mesh::getStringForPrimitiveType(owner.primitives[p].type),
                          fault.empty() ? "valid" : fault});
            primitives.push_back({{"mesh", owner.name}, {"primitive", p}, {"valid", fault.empty()}});
            if (!fault.empty()) {
                primitives.back()["message"] = fault;
            }
            if (withFaults) {
                primitives.back()["faults"] = faultsJson(findMeshFaults(document, owner.primitives[p]));
            }
        }
    }
    files.push_back({{"file", file}, {"valid", isValid}, {"primitives", std::move(primitives)}});
    return isValid;
}

int runValidate(const ValidateArguments& arguments, Console& console) {
    const Session session(console);
    Json files = Json::array();
    Table table({{"file", true}, {"mesh", true}, {"primitive"}, {"type", true}, {"result", true}});
    const int code = session.forEachFile(arguments.files, files, [&](const std::string& file) {
        const Document document = session.load(file, MeshCheck::References);
        return validateFile(file, document, arguments.json, table, files) ? EXIT_DONE : EXIT_CHECK_FAILED;
    });
    if (arguments.json) {
        console.printJson({{"files", std::move(files)}});
    } else {
        console.print(table);
    }
    return code;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<ValidateArguments>();
    flags.add("FILE", arguments->files, readableFiles, {.isRequired = true});
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runValidate(*arguments, console); };
}

} // namespace

Verb validateVerb() {
    return {"validate", "Checks that meshes are consistent.", examples, addFlags};
}

} // namespace vexa::tool
