#include "Commands.h"
#include "Errors.h"
#include "MeshFacts.h"
#include "Report.h"

#include <memory>
#include <ostream>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh info model.glb
  vexamesh info --json scene.gltf part.obj

Edges are told apart by vertex index: where a model repeats vertices, for example along a texture seam, both sides of
the seam count as border. The bounding box is that of the numbers as they are stored.)";

struct InfoArguments {
    std::vector<std::string> files;
    bool json = false;
};

struct MeshReport {
    const Mesh* mesh;
    std::vector<PrimitiveFacts> primitives;
};

std::vector<MeshReport> describe(const Document& document) {
    std::vector<MeshReport> reports;
    for (const Mesh& mesh : document.meshes) {
        MeshReport report{&mesh, {}};
        for (const Primitive& primitive : mesh.primitives) {
            report.primitives.push_back(describePrimitive(document, primitive));
        }
        reports.push_back(std::move(report));
    }
    return reports;
}

// ---- For programs

Json boxJson(const Box& box) {
    if (box.isEmpty()) {
        return {{"min", nullptr}, {"max", nullptr}, {"notFinite", box.notFinite}};
    }
    return {{"min", box.least}, {"max", box.largest}, {"notFinite", box.notFinite}};
}

void addEdges(Json& json, std::size_t edges, std::size_t border, std::size_t nonManifold) {
    json["closed"] = edges > 0 && border == 0;
    json["edges"] = edges;
    json["borderEdges"] = border;
    json["nonManifoldEdges"] = nonManifold;
}

Json attributesJson(const Document& document, const Primitive& primitive) {
    Json attributes = Json::array();
    for (const Attribute& attribute : primitive.attributes) {
        const AccessorModel& accessor = document.asset.model.accessors.at(attribute.accessor);
        attributes.push_back({{"name", attribute.name},
                              {"type", stringMember(document.asset.json["accessors"][attribute.accessor], "type")},
                              {"componentType", mesh::getStringForComponentType(
                                                    static_cast<mesh::ComponentType>(accessor.componentType))},
                              {"normalized", accessor.normalized},
                              {"count", accessor.count}});
    }
    return attributes;
}

Json primitiveJson(const Document& document, const Primitive& primitive, const PrimitiveFacts& facts) {
    Json json = {{"type", mesh::getStringForPrimitiveType(primitive.type)},
                 {"count", facts.count},
                 {"vertices", primitive.vertices},
                 {"indices", primitive.indexAccessor ? primitive.indices.size() : 0},
                 {"indexType", indexTypeText(primitive)}};
    json["attributes"] = attributesJson(document, primitive);
    if (facts.hasTriangles) {
        json["degenerateTriangles"] = facts.degenerate;
        addEdges(json, facts.edges.edges, facts.edges.border, facts.edges.nonManifold);
    }
    if (facts.box) {
        json["boundingBox"] = boxJson(*facts.box);
    }
    return json;
}

Json meshJson(const Document& document, const MeshReport& report) {
    Json json = {{"name", report.mesh->name}};
    Json primitives = Json::array();
    EdgeCounts sum;
    bool hasTriangles = false;
    std::optional<Box> box;
    for (std::size_t i = 0; i < report.primitives.size(); ++i) {
        const PrimitiveFacts& facts = report.primitives[i];
        primitives.push_back(primitiveJson(document, report.mesh->primitives[i], facts));
        hasTriangles = hasTriangles || facts.hasTriangles;
        sum.edges += facts.edges.edges;
        sum.border += facts.edges.border;
        sum.nonManifold += facts.edges.nonManifold;
        if (facts.box) {
            box = box.value_or(Box());
            box->add(*facts.box);
        }
    }
    if (hasTriangles) {
        addEdges(json, sum.edges, sum.border, sum.nonManifold);
    }
    if (box) {
        json["boundingBox"] = boxJson(*box);
    }
    json["primitives"] = std::move(primitives);
    return json;
}

Json documentJson(const Document& document) {
    Json json = {{"file", document.file.string()}, {"format", document.format}, {"fileBytes", document.fileSize}};
    json["meshes"] = Json::array();
    for (const MeshReport& report : describe(document)) {
        json["meshes"].push_back(meshJson(document, report));
    }
    return json;
}

// ---- For people

std::string boxText(const Box& box) {
    std::string text = "none";
    if (!box.isEmpty()) {
        const auto corner = [](const std::array<double, 3>& values) {
            return "(" + shortText(values[0]) + ", " + shortText(values[1]) + ", " + shortText(values[2]) + ")";
        };
        text = corner(box.least) + " to " + corner(box.largest);
    }
    return box.notFinite == 0 ? text : text + ", " + std::to_string(box.notFinite) + " not finite";
}

std::string attributesText(const Document& document, const Primitive& primitive) {
    std::string text;
    for (const Attribute& attribute : primitive.attributes) {
        const AccessorModel& accessor = document.asset.model.accessors.at(attribute.accessor);
        text += text.empty() ? "" : ", ";
        text += printable(attribute.name) + " " +
                stringMember(document.asset.json["accessors"][attribute.accessor], "type") + " " +
                (accessor.normalized ? "normalized " : "") +
                mesh::getStringForComponentType(static_cast<mesh::ComponentType>(accessor.componentType)) + " x " +
                std::to_string(accessor.count);
    }
    return text;
}

void addPrimitiveRow(Table& table, const Document& document, const MeshReport& report, std::size_t index) {
    const Primitive& primitive = report.mesh->primitives[index];
    const PrimitiveFacts& facts = report.primitives[index];
    const auto edgeText = [&](const std::string& text) { return facts.hasTriangles ? text : "-"; };
    table.addRow({index == 0 ? printable(report.mesh->name) : "", mesh::getStringForPrimitiveType(primitive.type),
                  std::to_string(facts.count), std::to_string(primitive.vertices),
                  primitive.indexAccessor ? std::to_string(primitive.indices.size()) : "-", indexTypeText(primitive),
                  edgeText(facts.edges.isClosed() ? "closed" : "open"), edgeText(std::to_string(facts.edges.border)),
                  edgeText(std::to_string(facts.edges.nonManifold)), facts.box ? boxText(*facts.box) : "-",
                  attributesText(document, primitive)});
}

void printDocument(std::ostream& out, const Document& document) {
    out << printable(document.file.string()) << ": " << document.format << ", " << counted(document.fileSize, "byte")
        << ", " << document.meshes.size() << (document.meshes.size() == 1 ? " mesh" : " meshes") << '\n';
    if (document.meshes.empty()) {
        return;
    }
    using Align = Table::Align;
    Table table;
    table.addColumn("mesh", Align::Left);
    table.addColumn("type", Align::Left);
    for (const char* title : {"count", "vertices", "indices"}) {
        table.addColumn(title);
    }
    table.addColumn("index type", Align::Left);
    table.addColumn("surface", Align::Left);
    table.addColumn("border edges");
    table.addColumn("non-manifold");
    table.addColumn("bounding box", Align::Left);
    table.addColumn("attributes", Align::Left);
    for (const MeshReport& report : describe(document)) {
        for (std::size_t i = 0; i < report.primitives.size(); ++i) {
            addPrimitiveRow(table, document, report, i);
        }
    }
    table.print(out);
}

int runInfo(const InfoArguments& arguments, const Streams& streams) {
    Json files = Json::array();
    bool isFirst = true;
    const int code = forEachFile(arguments.files, files, streams.err, [&](const std::string& file) {
        const Document document = loadAndWarn(file, streams.err);
        if (arguments.json) {
            files.push_back(documentJson(document));
        } else {
            streams.out << (isFirst ? "" : "\n");
            printDocument(streams.out, document);
        }
        isFirst = false;
        return EXIT_DONE;
    });
    if (arguments.json) {
        printJson(streams.out, {{"files", std::move(files)}});
    }
    return code;
}

} // namespace

void addInfoCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<InfoArguments>();
    CLI::App& command =
        addSubcommand(app, chosen, "info", "Describes the meshes of files.", examples, arguments, runInfo);
    command.add_option("FILE", arguments->files, readableFiles)->required();
    command.add_flag("--json", arguments->json, "Print JSON instead of tables");
}

} // namespace vexa::tool
