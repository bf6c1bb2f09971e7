#include "report/PagePicture.h"

#include "base/Json.h"
#include "report/Html.h"
#include "report/PartColours.h"
#include "report/PictureData.h"
#include "report/SearchSteps.h"
#include "report/View.h"

#include <algorithm>
#include <string_view>

namespace vexa::tool {

namespace {

constexpr const char* stage = R"(<div class="viewer" id="viewer">
<div class="stage" id="stage">
<canvas id="canvas" tabindex="0" role="application" aria-label="3D view of the triangles" aria-describedby="keys"></canvas>
<span class="view-label" id="label-left"></span>
<span class="view-label" id="label-right"></span>
<label class="hidden" for="wipe">Where the left picture ends and the right one begins</label>
<input type="range" id="wipe" min="0" max="1000" value="500" hidden>
<p class="tip" id="tip" hidden></p>
<p class="still-note" id="still-note" hidden></p>
</div>
<div class="toolbar" role="toolbar" aria-label="Picture">
<button type="button" id="side" aria-pressed="true">Side by side</button>
<button type="button" id="wireframe" aria-pressed="false">Wireframe</button>
<button type="button" id="edges" aria-pressed="true">Edges</button>
<button type="button" id="lengths" aria-pressed="false">Lengths</button>
<button type="button" id="reset">Reset view</button>
<button type="button" id="save-picture">Save picture</button>
<button type="button" id="save-replay">Save replay</button>
<span class="compared" id="compared" hidden>
<label>Left <select id="left"></select></label>
<label>Right <select id="right"></select></label>
</span>
<span class="replay" id="passes" hidden>
<label for="pass">Passes</label>
<input type="range" id="pass" min="0" max="1" value="1" step="1">
<output id="pass-text" for="pass"></output>
</span>
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
<kbd>Page Up</kbd> <kbd>Page Down</kbd> a pass of the search back and on;
<kbd>S</kbd> side by side, or one view whose halves <kbd>[</kbd> <kbd>]</kbd> divide; <kbd>W</kbd> wireframe; <kbd>E</kbd> edges; <kbd>L</kbd> colours by strip length; <kbd>0</kbd> reset the view; <kbd>Esc</kbd> let go.
With a mouse: drag turns, the right button moves, the wheel zooms.</p>
</details>
)";

bool hasLeftOver(const Picture& picture) {
    const std::vector<Part>& parts = picture.drawings.front().parts;
    return std::any_of(parts.begin(), parts.end(), [](const Part& part) { return part.kind == PartKind::LeftOver; });
}

void writeLegend(std::ostream& out, const Picture& picture) {
    out << "<ul class=\"legend\">\n<li id=\"legend-strips\"><span class=\"swatch strips\"></span><span "
           "id=\"legend-text\">"
           "a strip or a fan, neighbours in different colours</span></li>\n"
           "<li id=\"legend-lengths\" hidden><span class=\"ramp lengths\"></span><span>strips and fans, from the "
           "longest "
           "to single triangles</span></li>\n";
    if (hasLeftOver(picture)) {
        out << "<li><span class=\"swatch left-over\"></span><span>left over, in no strip</span></li>\n";
    }
    if (!picture.splitOff.empty()) {
        out << "<li id=\"legend-split-off\"><span class=\"swatch split-off\"></span><span>split off by the half-edge "
               "graph ("
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

std::string colourText(std::uint32_t rgb) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text = "#";
    for (int shift = 20; shift >= 0; shift -= 4) {
        text += digits[rgb >> shift & 15U];
    }
    return text;
}

} // namespace

void writePicture(std::ostream& out, const Picture& picture, bool hidesSteps) {
    out << "<section aria-labelledby=\"picture-title\" id=\"picture\">\n<h2 id=\"picture-title\">Picture</h2>\n";
    if (picture.shownTriangles() == 0) {
        out << "<p class=\"note\">There are no triangles to show.</p>\n</section>\n";
        return;
    }
    if (!picture.isWhole()) {
        out << "<p class=\"warning\" id=\"part\">The picture shows a part: the first "
            << numberHtml(picture.shownTriangles()) << " of " << numberHtml(picture.triangles)
            << " triangles. All numbers are those of the whole model.</p>\n";
    }
    if (picture.hiddenPlacements > 0) {
        out << "<p class=\"warning\" id=\"hidden-placements\">The scene shows meshes so often that "
            << numberHtml(picture.hiddenPlacements) << " of their copies are left out of the picture.</p>\n";
    }
    if (hidesSteps) {
        out << "<p class=\"note\" id=\"hidden-passes\">The passes of the search can be stepped through in models of up "
               "to "
            << numberHtml(SearchSteps::maxTriangles) << " triangles that are shown whole.</p>\n";
    }
    out << stage;
    writeLegend(out, picture);
    out << keys << "</section>\n";
}

void writePictureData(std::ostream& out, const Picture& picture) {
    if (picture.shownTriangles() == 0) {
        return;
    }
    PictureData data = encodePicture(picture);
    const glm::dvec3 home = homeDirection(picture);
    data.facts["home"] = {home.x, home.y, home.z};
    data.facts["leftOver"] = colourText(leftOverColour);
    for (const std::uint32_t colour : partPalette) {
        data.facts["palette"].push_back(colourText(colour));
    }
    const Bytes packed = deflate(data.bytes);
    out << "<script type=\"application/json\" id=\"data-facts\">" << escapeScript(compactText(data.facts))
        << "</script>\n<script type=\"text/plain\" id=\"data-picture\">" << base64(packed.data(), packed.size())
        << "</script>\n";
}

} // namespace vexa::tool
