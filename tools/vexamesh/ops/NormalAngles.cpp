#include "ops/NormalAngles.h"

#include "ops/MeshConversion.h"

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

void measure(const mesh::AttributeBuffer& normals, const mesh::AttributeBuffer& decoded, AngleStats& stats,
             const std::function<void(double)>& receive) {
    stats.normals = normals.getElementCount();
    for (std::size_t i = 0; i < stats.normals; ++i) {
        const Vector normal = elementOf(normals, i);
        const double size = dot(normal, normal);
        if (!(size > 0) || !std::isfinite(size)) {
            ++stats.withoutDirection;
            continue;
        }
        const double angle = angleBetween(normal, elementOf(decoded, i));
        stats.sum += angle;
        stats.max = std::max(stats.max, angle);
        if (receive) {
            receive(angle);
        }
    }
}

} // namespace

double AngleStats::mean() const {
    return normals == withoutDirection ? 0 : sum / static_cast<double>(normals - withoutDirection);
}

void AngleStats::add(const AngleStats& other) {
    normals += other.normals;
    withoutDirection += other.withoutDirection;
    sum += other.sum;
    max = std::max(max, other.max);
}

bool AngleStats::isSame(const AngleStats& other) const {
    return normals == other.normals && withoutDirection == other.withoutDirection && sum == other.sum &&
           max == other.max;
}

Bytes packNormals(const AccessorData& values) {
    const auto normals = toAttributeBuffer(toFloats(values), "normal");
    auto packed = mesh::AttributeBuffer::createDefault(mesh::UNSIGNED_BYTE, 2, "normal");
    packed->resize(values.count);
    mesh::transformAttributes(normals, packed, mesh::quantizeNormals());
    Bytes bytes(2 * values.count);
    for (std::size_t i = 0; i < values.count; ++i) {
        packed->getElement(i, bytes.data() + 2 * i);
    }
    return bytes;
}

AngleStats measurePackedNormals(const AccessorData& values, const unsigned char* bytes,
                                const std::function<void(double)>& receive) {
    const auto normals = toAttributeBuffer(toFloats(values), "normal");
    auto packed = mesh::AttributeBuffer::createDefault(mesh::UNSIGNED_BYTE, 2, "normal");
    packed->resize(values.count);
    for (std::size_t i = 0; i < values.count; ++i) {
        packed->setElement(i, bytes + 2 * i);
    }
    auto decoded = mesh::AttributeBuffer::createDefaultVec3f("normal");
    decoded->resize(values.count);
    mesh::transformAttributes(packed, decoded, mesh::dequantizeNormals());
    AngleStats stats;
    measure(*normals, *decoded, stats, receive);
    return stats;
}

} // namespace vexa::tool
