#pragma once

#include <pybind11/numpy.h>

#include <span>
#include <utility>
#include <vector>

namespace vexa::python {

/// An array that the Python side has brought into this type, without gaps.
template <typename T>
using Array = pybind11::array_t<T, pybind11::array::c_style>;

template <typename T>
std::span<const T> elementsOf(const Array<T>& array) {
    return {array.data(), static_cast<std::size_t>(array.size())};
}

/// An array of one dimension that takes over the memory of a vector.
template <typename T>
Array<T> toArray(std::vector<T> values) {
    auto* kept = new std::vector<T>(std::move(values));
    const pybind11::capsule owner(kept, [](void* vector) { delete static_cast<std::vector<T>*>(vector); });
    return Array<T>(static_cast<pybind11::ssize_t>(kept->size()), kept->data(), owner);
}

} // namespace vexa::python
