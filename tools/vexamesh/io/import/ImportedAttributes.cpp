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

std::optional<NewAttribute> normalAttribute(std::vector<float> values, std::vector<std::string>& leftOut) {
    for (std::size_t i = 0; i < values.size(); i += 3) {
        const double length = std::hypot(static_cast<double>(values[i]), static_cast<double>(values[i + 1]),
                                         static_cast<double>(values[i + 2]));
        if (!(length > 0) || !std::isfinite(length)) {
            leftOut.emplace_back("normals: some of them have no direction");
            return std::nullopt;
        }
        for (std::size_t c = i; c < i + 3; ++c) {
            values[c] = static_cast<float>(static_cast<double>(values[c]) / length);
        }
    }
    return NewAttribute{"NORMAL", floatValues("VEC3", values)};
}

std::optional<NewAttribute> texcoordAttribute(std::vector<float> values, std::vector<std::string>& leftOut) {
    if (!areFinite(values)) {
        leftOut.emplace_back("texture coordinates: some of them are not finite");
        return std::nullopt;
    }
    for (std::size_t i = 1; i < values.size(); i += 2) {
        values[i] = 1 - values[i];
    }
    return NewAttribute{"TEXCOORD_0", floatValues("VEC2", values)};
}

std::optional<NewAttribute> colorAttribute(std::vector<float> values, std::size_t components,
                                           std::vector<std::string>& leftOut) {
    if (!areFinite(values)) {
        leftOut.emplace_back("colours: some of them are not finite");
        return std::nullopt;
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
    return NewAttribute{"COLOR_0", floatValues(components == 3 ? "VEC3" : "VEC4", values)};
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

std::string countedWord(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace vexa::tool
