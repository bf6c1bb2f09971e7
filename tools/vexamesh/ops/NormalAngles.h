#pragma once

#include "io/Accessors.h"

#include <functional>
#include <string>

namespace vexa::tool {

/// The angles between normals and what two bytes keep of them.
struct AngleStats {
    std::string name;
    std::size_t normals = 0;
    std::size_t withoutDirection = 0; ///< zero, or not finite: they have no angle
    double sum = 0;                   ///< of the angles, in degrees
    double max = 0;

    [[nodiscard]] double mean() const;
    [[nodiscard]] bool isSame(const AngleStats& other) const; ///< whatever the names
    void add(const AngleStats& other);
};

/// Packs normals into two bytes each by octahedral encoding, in their order.
///
/// \param values three components per element
Bytes packNormals(const AccessorData& values);

/// Compares normals with those that packed bytes decode to.
///
/// \param bytes   two for each of `values`
/// \param receive called with each angle, in degrees; may be empty
/// \return the stats without the name
AngleStats measurePackedNormals(const AccessorData& values, const unsigned char* bytes,
                                const std::function<void(double)>& receive = {});

} // namespace vexa::tool
