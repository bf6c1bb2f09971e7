#pragma once

#include <pybind11/pybind11.h>

namespace vexa::python {

// Each adds the functions of one subject to the module. All check nothing but what the library checks: the Python
// functions around them bring the arguments into shape. Those that work on many elements release the interpreter lock.
void addStrips(pybind11::module_& module);
void addMeshes(pybind11::module_& module);
void addNormals(pybind11::module_& module);

} // namespace vexa::python
