#include "cli/InfoSummary.h"

#include "base/Text.h"
#include "cli/Console.h"
#include "cli/Table.h"
#include "ops/MeshStats.h"

namespace vexa::tool {

namespace {

struct MeshReport {
    const Mesh* mesh;
    std::vector<PrimitiveStats> primitives;
};

std::vector<MeshReport> describe(const Document& document) {
    std::vector<MeshReport> reports;
    BoxCache boxes(document);
    for (const Mesh& mesh : document.meshes) {
        MeshReport report{&mesh, {}};
        for (const Primitive& primitive : mesh.primitives) {
            report.primitives.push_back(describePrimitive(primitive, boxes));
        }
        reports.push_back(std::move(report));
    }
    return reports;
}

Json boxJson(const Box& box) {
    if (box.isEmpty()) {
        return {{"min", nullptr}, {"max", nullptr}, {"notFinite", box.notFinite}};
    }
    return {{"min", box.min}, {"max", box.max}, {"notFinite", box.notFinite}};
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

Json primitiveJson(const Document& document, const Primitive& primitive, const PrimitiveStats& stats) {
    Json json = {{"type", mesh::getStringForPrimitiveType(primitive.type)},
                 {"count", stats.count},
                 {"vertices", primitive.vertices},
                 {"indices", primitive.indexAccessor ? primitive.indices.size() : 0},
                 {"indexType", indexTypeText(primitive)}};
    json["attributes"] = attributesJson(document, primitive);
    if (stats.hasTriangles) {
        json["degenerateTriangles"] = stats.degenerate;
        addEdges(json, stats.edges.edges, stats.edges.border, stats.edges.nonManifold);
    }
    if (stats.box) {
        json["boundingBox"] = boxJson(*stats.box);
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
        const PrimitiveStats& stats = report.primitives[i];
        primitives.push_back(primitiveJson(document, report.mesh->primitives[i], stats));
        hasTriangles = hasTriangles || stats.hasTriangles;
        sum.edges += stats.edges.edges;
        sum.border += stats.edges.border;
        sum.nonManifold += stats.edges.nonManifold;
        if (stats.box) {
            box = box.value_or(Box());
            box->add(*stats.box);
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

std::string boxText(const Box& box) {
    std::string text = "none";
    if (!box.isEmpty()) {
        text = pointText(box.min[0], box.min[1], box.min[2]) + " to " + pointText(box.max[0], box.max[1], box.max[2]);
    }
    return box.notFinite == 0 ? text : text + ", " + std::to_string(box.notFinite) + " not finite";
}

std::string attributesText(const Document& document, const Primitive& primitive) {
    std::string text;
    for (const Attribute& attribute : primitive.attributes) {
        const AccessorModel& accessor = document.asset.model.accessors.at(attribute.accessor);
        text += text.empty() ? "" : ", ";
        text += attribute.name + " " + stringMember(document.asset.json["accessors"][attribute.accessor], "type") +
                " " + (accessor.normalized ? "normalized " : "") +
                mesh::getStringForComponentType(static_cast<mesh::ComponentType>(accessor.componentType)) + " x " +
                std::to_string(accessor.count);
    }
    return text;
}

void addPrimitiveRow(Table& table, const Document& document, const MeshReport& report, std::size_t index) {
    const Primitive& primitive = report.mesh->primitives[index];
    const PrimitiveStats& stats = report.primitives[index];
    const auto ofTriangles = [&](Json cell) { return stats.hasTriangles ? std::move(cell) : Json("-"); };
    table.addRow({index == 0 ? report.mesh->name : "", mesh::getStringForPrimitiveType(primitive.type), stats.count,
                  primitive.vertices, primitive.indexAccessor ? Json(primitive.indices.size()) : Json("-"),
                  indexTypeText(primitive), ofTriangles(stats.edges.isClosed() ? "closed" : "open"),
                  ofTriangles(stats.edges.border), ofTriangles(stats.edges.nonManifold),
                  stats.box ? boxText(*stats.box) : "-", attributesText(document, primitive)});
}

} // namespace

Json infoJson(const Document& document) {
    Json json = {{"file", document.file.string()}, {"format", document.format}, {"fileBytes", document.fileSize}};
    json["leftOut"] = document.asset.leftOut;
    json["meshes"] = Json::array();
    for (const MeshReport& report : describe(document)) {
        json["meshes"].push_back(meshJson(document, report));
    }
    return json;
}

void printInfo(Console& console, const Document& document) {
    console.printLine(document.file.string() + ": " + document.format + ", " + counted(document.fileSize, "byte") +
                      ", " + std::to_string(document.meshes.size()) +
                      (document.meshes.size() == 1 ? " mesh" : " meshes"));
    if (document.meshes.empty()) {
        return;
    }
    Table table({{"mesh", true},
                 {"type", true},
                 {"count"},
                 {"vertices"},
                 {"indices"},
                 {"index type", true},
                 {"surface", true},
                 {"border edges"},
                 {"non-manifold"},
                 {"bounding box", true},
                 {"attributes", true}});
    for (const MeshReport& report : describe(document)) {
        for (std::size_t i = 0; i < report.primitives.size(); ++i) {
            addPrimitiveRow(table, document, report, i);
        }
    }
    console.print(table);
}

} // namespace vexa::tool
