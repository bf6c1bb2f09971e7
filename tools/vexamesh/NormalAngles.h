#pragma once

#include "io/Accessors.h"

#include <functional>
#include <string>

namespace vexa::tool {

/// The angles between normals and what was made of them.
struct AngleFigures {
    std::string name;
    std::size_t normals = 0;
    std::size_t withoutDirection = 0; ///< zero, or not finite: they have no angle
    double sum = 0;                   ///< of the angles, in degrees
    double largest = 0;

    [[nodiscard]] double mean() const;
    void add(const AngleFigures& other);
};

/// Packs normals into two bytes each by octahedral encoding and measures what that costs.
///
/// \param values  three components per element
/// \param figures is given all but the name
/// \param receive is told each angle, in degrees; may be empty
/// \return the bytes, in the order of the normals
Bytes packNormals(const AccessorData& values, AngleFigures& figures, const std::function<void(double)>& receive = {});

} // namespace vexa::tool
