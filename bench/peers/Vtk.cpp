#include "TriangleCheck.h"
#include "peers/Peers.h"

#include <vtkCellArray.h>
#include <vtkIdList.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>
#include <vtkStripper.h>

namespace bench {

namespace {

/// The maximum that it accepts, so that it does not split strips which this library leaves whole.
constexpr int maxStripLength = 100'000;

vtkSmartPointer<vtkPolyData> makePolyData(const Model& model) {
    vtkNew<vtkPoints> points;
    points->SetNumberOfPoints(static_cast<vtkIdType>(model.vertexCount()));
    for (std::size_t i = 0; i < model.vertexCount(); ++i) {
        const float* const p = &model.positions[3 * i];
        points->SetPoint(static_cast<vtkIdType>(i), p[0], p[1], p[2]);
    }
    vtkNew<vtkCellArray> cells;
    cells->AllocateExact(static_cast<vtkIdType>(model.triangleCount()), static_cast<vtkIdType>(model.triangles.size()));
    for (std::size_t i = 0; i < model.triangles.size(); i += 3) {
        cells->InsertNextCell({model.triangles[i], model.triangles[i + 1], model.triangles[i + 2]});
    }
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(points);
    data->SetPolys(cells);
    return data;
}

void appendCells(vtkCellArray* cells, std::vector<vexa::mesh::IndexedPrimitive>& strips,
                 std::vector<unsigned int>& triangles) {
    vtkNew<vtkIdList> cell;
    for (cells->InitTraversal(); cells->GetNextCell(cell) != 0;) {
        std::vector<unsigned int> strip;
        for (vtkIdType i = 0; i < cell->GetNumberOfIds(); ++i) {
            strip.push_back(static_cast<unsigned int>(cell->GetId(i)));
        }
        appendStrip(triangles, strip);
        strips.push_back({vexa::mesh::TRIANGLE_STRIP, strip});
    }
}

Output inspectStrips(const Model& model, vtkPolyData* data) {
    Output output;
    std::vector<unsigned int> triangles;
    std::vector<vexa::mesh::IndexedPrimitive> strips;
    appendCells(data->GetStrips(), strips, triangles);
    appendCells(data->GetPolys(), strips, triangles); // triangles that are in no strip
    for (const auto& strip : strips) {
        output.indices += strip.indices.size();
    }
    output.joined = joinPlainly(strips);
    output.bytes = output.indices * sizeof(vtkIdType);
    output.error = compareTriangles(model.triangles, triangles);
    return output;
}

} // namespace

std::optional<Contender> vtkStrips(const ModelPtr& model) {
    const vtkSmartPointer<vtkPolyData> data = makePolyData(*model);
    const auto stripper = std::make_shared<vtkSmartPointer<vtkStripper>>();
    Contender contender;
    contender.name = "VTK vtkStripper";
    contender.role = Role::Peer;
    contender.elements = static_cast<double>(model->triangleCount());
    contender.prepare = [data, stripper] {
        *stripper = vtkSmartPointer<vtkStripper>::New();
        (*stripper)->SetMaximumLength(maxStripLength);
        (*stripper)->SetInputData(data);
    };
    contender.run = [stripper] { (*stripper)->Update(); };
    contender.inspect = [model, stripper] { return inspectStrips(*model, (*stripper)->GetOutput()); };
    return contender;
}

} // namespace bench
