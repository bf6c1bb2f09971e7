#include "report/PagePicture.h"

#include "base/Json.h"
#include "report/Html.h"

#include <algorithm>

namespace vexa::tool {

namespace {

constexpr const char* stage = R"(<div class="viewer" id="viewer">
<div class="stage" id="stage">
<canvas id="canvas" tabindex="0" role="application" aria-label="3D view of the triangles" aria-describedby="keys"></canvas>
<span class="view-label" id="label-before">Before: the order of the input</span>
<span class="view-label" id="label-after">After: strips</span>
<p class="tip" id="tip" hidden></p>
<p class="still-note" id="still-note" hidden></p>
</div>
<div class="toolbar" role="toolbar" aria-label="Picture">
<button type="button" id="side" aria-pressed="true">Side by side</button>
<button type="button" id="wireframe" aria-pressed="false">Wireframe</button>
<button type="button" id="edges" aria-pressed="true">Edges</button>
<button type="button" id="lengths" aria-pressed="false">Lengths</button>
<button type="button" id="reset">Reset view</button>
<span class="replay">
<button type="button" id="play" aria-pressed="false">Replay</button>
<label class="hidden" for="replay">Triangles drawn</label>
<input type="range" id="replay" min="0" max="1" value="1" step="1">
<output id="replay-text" for="replay"></output>
</span>
</div>
<p class="info" id="info" aria-live="polite">Point at a triangle, or press N and P for the next and the previous strip.</p>
<noscript><p class="warning">The picture needs JavaScript, which is switched off here.</p></noscript>
</div>
)";

constexpr const char* keys = R"(<details class="keys">
<summary>Keys</summary>
<p id="keys"><kbd>arrows</kbd> turn, with <kbd>Shift</kbd> move; <kbd>+</kbd> <kbd>&minus;</kbd> zoom;
<kbd>N</kbd> <kbd>P</kbd> next and previous strip; <kbd>Space</kbd> replay; <kbd>,</kbd> <kbd>.</kbd> a triangle back and on;
<kbd>S</kbd> side by side; <kbd>W</kbd> wireframe; <kbd>E</kbd> edges; <kbd>L</kbd> colours by strip length; <kbd>0</kbd> reset the view; <kbd>Esc</kbd> let go.
With a mouse: drag turns, the right button moves, the wheel zooms.</p>
</details>
)";

std::size_t countOf(const Picture& picture, PartKind kind) {
    return static_cast<std::size_t>(
        std::count_if(picture.parts.begin(), picture.parts.end(), [&](const Part& part) { return part.kind == kind; }));
}

void writeLegend(std::ostream& out, const Picture& picture) {
    out << "<ul class=\"legend\">\n<li id=\"legend-strips\"><span class=\"swatch strips\"></span><span>a strip or a "
           "fan, "
           "neighbours in different colours</span></li>\n"
           "<li id=\"legend-lengths\" hidden><span class=\"ramp lengths\"></span><span>strips and fans, from the "
           "longest "
           "to single triangles</span></li>\n";
    if (countOf(picture, PartKind::LeftOver) > 0) {
        out << "<li><span class=\"swatch left-over\"></span><span>left over, in no strip</span></li>\n";
    }
    if (!picture.splitOff.empty()) {
        out << "<li><span class=\"swatch split-off\"></span><span>split off by the half-edge graph ("
            << numberHtml(picture.splitOff.size()) << ")</span></li>\n";
    }
    if (!picture.borderEdges.empty()) {
        out << "<li><span class=\"stroke border\"></span><span>border edge ("
            << numberHtml(picture.borderEdges.size() / 2) << ")</span></li>\n";
    }
    if (!picture.nonManifoldEdges.empty()) {
        out << "<li><span class=\"stroke non-manifold\"></span><span>edge of more than two triangles ("
            << numberHtml(picture.nonManifoldEdges.size() / 2) << ")</span></li>\n";
    }
    out << "<li><span class=\"ramp\"></span><span>before: first to last triangle of the input</span></li>\n</ul>\n";
}

void writeData(std::ostream& out, const char* name, const std::string& content) {
    out << "<script type=\"text/plain\" id=\"data-" << name << "\">" << content << "</script>\n";
}

/// Six numbers per part, in the order in which the view reads them.
std::vector<std::uint32_t> partTable(const Picture& picture) {
    std::vector<std::uint32_t> table;
    table.reserve(6 * picture.parts.size());
    for (const Part& part : picture.parts) {
        if (part.shown == 0) {
            break;
        }
        const std::uint32_t look = static_cast<std::uint32_t>(part.kind) | std::uint32_t{part.colour} << 8;
        table.insert(table.end(), {part.shown, part.triangles, part.indices, part.swaps, part.primitive, look});
    }
    return table;
}

} // namespace

void writePicture(std::ostream& out, const Picture& picture) {
    out << "<section aria-labelledby=\"picture-title\" id=\"picture\">\n<h2 id=\"picture-title\">Picture</h2>\n";
    if (picture.shownTriangles() == 0) {
        out << "<p class=\"note\">There are no triangles to show.</p>\n</section>\n";
        return;
    }
    if (picture.shownTriangles() < picture.triangles) {
        out << "<p class=\"warning\" id=\"part\">The picture shows a part: the first "
            << numberHtml(picture.shownTriangles()) << " of " << numberHtml(picture.triangles)
            << " triangles. All numbers are those of the whole model.</p>\n";
    }
    if (!picture.isPlaced) {
        out << "<p class=\"note\">A mesh that the scene shows more than once is drawn where it is first.</p>\n";
    }
    out << stage;
    writeLegend(out, picture);
    out << keys << "</section>\n";
}

void writePictureData(std::ostream& out, const Picture& picture) {
    if (picture.shownTriangles() == 0) {
        return;
    }
    const Json facts = {
        {"primitives", picture.primitives}, {"triangles", picture.triangles}, {"shown", picture.shownTriangles()}};
    out << "<script type=\"application/json\" id=\"data-facts\">" << escapeScript(compactText(facts)) << "</script>\n";
    writeData(out, "positions", base64Of(picture.positions));
    writeData(out, "corners", base64Of(picture.corners));
    writeData(out, "order", base64Of(picture.inputOrder));
    writeData(out, "parts", base64Of(partTable(picture)));
    writeData(out, "split-off", base64Of(picture.splitOff));
    writeData(out, "border", base64Of(picture.borderEdges));
    writeData(out, "non-manifold", base64Of(picture.nonManifoldEdges));
}

} // namespace vexa::tool
