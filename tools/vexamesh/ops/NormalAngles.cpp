#include "NormalAngles.h"

#include "MeshConversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vexa/mesh/AttributeTransformation.h>
#include <vexa/mesh/NormalQuantization.h>

namespace vexa::tool {

namespace {

using Vector = std::array<double, 3>;

Vector elementOf(const mesh::AttributeBuffer& buffer, std::size_t index) {
    std::array<float, 3> element{};
    buffer.getElement(index, element.data());
    return {element[0], element[1], element[2]};
}

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// In degrees, exact for small angles, too.
double angleBetween(const Vector& a, const Vector& b) {
    const Vector cross{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    return std::atan2(std::sqrt(dot(cross, cross)), dot(a, b)) * 180 / std::numbers::pi;
}

void measure(const mesh::AttributeBuffer& normals, const mesh::AttributeBuffer& decoded, AngleFigures& figures,
             const std::function<void(double)>& receive) {
    figures.normals = normals.getElementCount();
    for (std::size_t i = 0; i < figures.normals; ++i) {
        const Vector normal = elementOf(normals, i);
        const double size = dot(normal, normal);
        if (!(size > 0) || !std::isfinite(size)) {
            ++figures.withoutDirection;
            continue;
        }
        const double angle = angleBetween(normal, elementOf(decoded, i));
        figures.sum += angle;
        figures.largest = std::max(figures.largest, angle);
        if (receive) {
            receive(angle);
        }
    }
}

} // namespace

double AngleFigures::mean() const {
    return normals == withoutDirection ? 0 : sum / static_cast<double>(normals - withoutDirection);
}

void AngleFigures::add(const AngleFigures& other) {
    normals += other.normals;
    withoutDirection += other.withoutDirection;
    sum += other.sum;
    largest = std::max(largest, other.largest);
}

Bytes packNormals(const AccessorData& values, AngleFigures& figures, const std::function<void(double)>& receive) {
    const auto normals = toAttributeBuffer(toFloats(values), "normal");
    auto packed = mesh::AttributeBuffer::createDefault(mesh::UNSIGNED_BYTE, 2, "normal");
    packed->resize(values.count);
    mesh::transformAttributes(normals, packed, mesh::quantizeNormals());
    auto decoded = mesh::AttributeBuffer::createDefaultVec3f("normal");
    decoded->resize(values.count);
    mesh::transformAttributes(packed, decoded, mesh::dequantizeNormals());
    measure(*normals, *decoded, figures, receive);
    Bytes bytes;
    bytes.reserve(2 * values.count);
    std::array<unsigned char, 2> element{};
    for (std::size_t i = 0; i < values.count; ++i) {
        packed->getElement(i, element.data());
        bytes.insert(bytes.end(), element.begin(), element.end());
    }
    return bytes;
}

} // namespace vexa::tool
