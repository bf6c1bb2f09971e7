#include "vexa/mesh/NormalQuantization.h"

#include "vexa/mesh/detail/elements/ElementTransformation.h"

#include <cmath>

namespace vexa::mesh {

namespace {

// Written so that NaN ends at 1.
double clampToUnit(double value) {
    if (value < 1.0) {
        return value > 0.0 ? value : 0.0;
    }
    return 1.0;
}

unsigned char toByte(float coordinate) {
    return static_cast<unsigned char>(clampToUnit(static_cast<double>(coordinate)) * 255.0);
}

float fromByte(unsigned char byte) {
    const auto coordinate = static_cast<float>(clampToUnit(byte / 255.0));
    return 2.0F * coordinate - 1.0F;
}

} // namespace

float wrapOctahedronNormalValue(float a, float b) {
    const double sign = a >= 0.0F ? 1.0 : -1.0;
    return static_cast<float>((1.0 - std::abs(static_cast<double>(b))) * sign);
}

void encodeOctahedronNormal(float x, float y, float z, float& u, float& v) {
    // A sum in float differs for one normal in fifteen.
    const double sum =
        std::abs(static_cast<double>(x)) + std::abs(static_cast<double>(y)) + std::abs(static_cast<double>(z));
    const auto norm = static_cast<float>(sum);
    const float p = x / norm;
    const float q = y / norm;
    const bool isLower = z < 0.0F;
    u = (isLower ? wrapOctahedronNormalValue(p, q) : p) * 0.5F + 0.5F;
    v = (isLower ? wrapOctahedronNormalValue(q, p) : q) * 0.5F + 0.5F;
}

void quantizeNormal(glm::vec3* normal, unsigned char* out) {
    float u = 0.0F;
    float v = 0.0F;
    encodeOctahedronNormal(normal->x, normal->y, normal->z, u, v);
    out[0] = toByte(u);
    out[1] = toByte(v);
}

void dequantizeNormal(unsigned char* in, glm::vec3* normal) {
    const float x = fromByte(in[0]);
    const float y = fromByte(in[1]);
    const float z = 1.0F - std::abs(x) - std::abs(y);
    const bool isLower = !(z >= 0.0F);
    normal->x = isLower ? wrapOctahedronNormalValue(x, y) : x;
    normal->y = isLower ? wrapOctahedronNormalValue(y, x) : y;
    normal->z = z;
}

std::function<void(void*, void*)> quantizeNormals() {
    return detail::NormalPacking{};
}

std::function<void(void*, void*)> dequantizeNormals() {
    return detail::NormalUnpacking{};
}

} // namespace vexa::mesh
