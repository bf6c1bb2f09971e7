#include "io/import/ImportedAttributes.h"

#include "base/Errors.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vexa::tool {

namespace {

bool areFinite(const std::vector<float>& values) {
    return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}

} // namespace

NewAttribute positionAttribute(const std::vector<float>& values) {
    const auto wrong = std::find_if_not(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
    if (wrong != values.end()) {
        throw FormatError("vertex " + std::to_string((wrong - values.begin()) / 3) + " is not finite");
    }
    return {"POSITION", floatValues("VEC3", values)};
}

void addNormals(std::vector<NewAttribute>& attributes, std::vector<float> values, std::vector<std::string>& leftOut) {
    for (std::size_t i = 0; i < values.size(); i += 3) {
        const double length = std::hypot(static_cast<double>(values[i]), static_cast<double>(values[i + 1]),
                                         static_cast<double>(values[i + 2]));
        if (!(length > 0) || !std::isfinite(length)) {
            leftOut.emplace_back("normals: some of them have no direction");
            return;
        }
        for (std::size_t c = i; c < i + 3; ++c) {
            values[c] = static_cast<float>(static_cast<double>(values[c]) / length);
        }
    }
    attributes.push_back({"NORMAL", floatValues("VEC3", values)});
}

void addTexcoords(std::vector<NewAttribute>& attributes, std::vector<float> values, std::vector<std::string>& leftOut,
                  int set) {
    if (!areFinite(values)) {
        leftOut.emplace_back("texture coordinates: some of them are not finite");
        return;
    }
    for (std::size_t i = 1; i < values.size(); i += 2) {
        values[i] = 1 - values[i];
    }
    attributes.push_back({"TEXCOORD_" + std::to_string(set), floatValues("VEC2", values)});
}

void addColors(std::vector<NewAttribute>& attributes, std::vector<float> values, std::size_t components,
               std::vector<std::string>& leftOut) {
    if (!areFinite(values)) {
        leftOut.emplace_back("colours: some of them are not finite");
        return;
    }
    bool isClamped = false;
    for (float& value : values) {
        const float unit = std::clamp(value, 0.F, 1.F);
        isClamped = isClamped || unit != value;
        value = unit;
    }
    if (isClamped) {
        leftOut.emplace_back("colour components below 0 or above 1: they are clamped");
    }
    attributes.push_back({"COLOR_0", floatValues(components == 3 ? "VEC3" : "VEC4", values)});
}

void scaleByteColors(std::vector<float>& values, std::size_t components) {
    const auto isAlpha = [&](std::size_t i) { return i % components == 3; };
    std::array<float, 2> largest{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        float& value = largest[isAlpha(i) ? 1 : 0];
        value = std::max(value, values[i]);
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = largest[isAlpha(i) ? 1 : 0] > 1 ? values[i] / 255 : values[i];
    }
}

} // namespace vexa::tool
