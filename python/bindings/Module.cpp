#include "Bindings.h"

#include <vexa/mesh/Types.h>

PYBIND11_MODULE(_core, module) {
    module.attr("RESTART_INDEX") = 4294967295U;
    vexa::python::addStrips(module);
    vexa::python::addMeshes(module);
    vexa::python::addNormals(module);
}
