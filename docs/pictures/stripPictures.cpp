// Draws the pictures of docs/strips.md: stripPictures DIRECTORY

#include "BoundPicture.h"
#include "FlowPicture.h"
#include "PatchMesh.h"
#include "StarPicture.h"
#include "StripPicture.h"
#include "Svg.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vexa/mesh/StripBuffer.h>

namespace {

using namespace pictures;
namespace fs = std::filesystem;

/// Panels next to one another, each with a square for a picture and two lines of text below.
class Panels {
public:
    Panels(int count, double size) : size_(size), svg_(count * size, size + textHeight) {}

    [[nodiscard]] Point centre() const { return {(shown_ + 0.5) * size_, size_ / 2}; }
    [[nodiscard]] double pictureSize() const { return size_ - 24; }
    Svg& svg() { return svg_; }

    void endPanel(const std::string& title, const std::string& text) {
        svg_.text({centre().x, size_ + 16}, title, 16);
        svg_.text({centre().x, size_ + 36}, text, 14, "middle", "#57606a");
        ++shown_;
    }

private:
    static constexpr double textHeight = 48;

    double size_;
    Svg svg_;
    int shown_ = 0;
};

void drawStars(const fs::path& file) {
    Panels panels(3, 280);
    const auto add = [&panels](unsigned int count, unsigned int firstLabel, const char* title, const char* text) {
        drawStar(panels.svg(), panels.centre(), 0.36 * panels.pictureSize(), count, firstLabel);
        panels.endPanel(title, text);
    };
    add(6, 0, "Six triangles", "no cost");
    add(5, 2, "Five triangles, a swap", "1 index");
    add(5, 0, "Five triangles, an end", "1.5 indices");
    panels.svg().write(file);
}

void drawChargesAndFlow(const fs::path& file, const Patch& patch, const FlowSteps& steps) {
    Panels panels(2, 440);
    for (const bool withFlow : {false, true}) {
        const Frame frame(patch, panels.centre(), panels.pictureSize());
        drawMesh(panels.svg(), patch, frame);
        if (withFlow) {
            drawFlow(panels.svg(), patch, frame, steps);
        }
        drawCharges(panels.svg(), patch, frame, steps);
        panels.endPanel(withFlow ? "The flow that cancels them" : "Charged vertices",
                        withFlow ? std::to_string(steps.flows.size()) + " edges"
                                 : std::to_string(steps.charges.size()) + " charges");
    }
    panels.svg().write(file);
}

void drawSearches(const fs::path& file, const Patch& patch, const FlowSteps& steps) {
    Panels panels(3, 300);
    const auto add = [&](const std::vector<vexa::mesh::IndexedPrimitive>& strips, const char* title) {
        drawStrips(panels.svg(), patch, Frame(patch, panels.centre(), panels.pictureSize()), strips);
        panels.endPanel(title, countsOf(patch, strips));
    };
    add(vexa::mesh::buildStrips(patch.triangles, {.effort = 0}), "Greedy search (effort 0)");
    add(steps.strips, "Labels that follow from the flow");
    add(vexa::mesh::buildStrips(patch.triangles, {.effort = 2}), "After tunnelling (effort 2)");
    panels.svg().write(file);
}

void drawBound(const fs::path& file, const Patch& patch) {
    Panels panels(2, 440);
    const auto add = [&](const std::vector<LocalCost>& costs, const char* title, const char* colour) {
        const Frame frame(patch, panels.centre(), panels.pictureSize());
        drawMesh(panels.svg(), patch, frame);
        drawCosts(panels.svg(), frame, costs, colour);
        char text[64];
        std::snprintf(text, sizeof(text), "%.1f indices beyond one a triangle", sumOf(costs));
        panels.endPanel(title, text);
    };
    add(costsOf(patch, vexa::mesh::buildStrips(patch.triangles, {.effort = 2})), "What the strips of effort 2 cost",
        "#cf222e");
    add(provenCosts(patch), "What any strips must cost", "#1a7f37");
    panels.svg().write(file);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: stripPictures DIRECTORY\n");
        return 2;
    }
    try {
        const fs::path directory = argv[1];
        const Patch patch = makePatch(8, 30);
        const FlowSteps steps = runFlow(patch);
        drawStars(directory / "stars.svg");
        drawChargesAndFlow(directory / "charges.svg", patch, steps);
        drawBound(directory / "bound.svg", patch);
        drawSearches(directory / "strips.svg", patch, steps);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "stripPictures: %s\n", error.what());
        return 1;
    }
    return 0;
}
