// Triangles in flat colours. The number of a triangle is that of its first corner, divided by three: corners are not
// shared, so that no attribute is needed for it, nor for the distance from its sides. A texture holds its place in the
// drawing in which a part is selected.
import {GLSL3, ShaderMaterial} from 'three';

const vertex = `
in vec3 tint;
out vec3 vTint;
out vec3 vSeen;
out vec3 vCorner;
flat out int vTriangle;
void main() {
    // Batches with one place are in the coordinates of the scene.
#ifdef USE_INSTANCING
    vec4 seen = modelViewMatrix * instanceMatrix * vec4(position, 1.0);
#else
    vec4 seen = modelViewMatrix * vec4(position, 1.0);
#endif
    int corner = gl_VertexID % 3;
    vTriangle = gl_VertexID / 3;
    vCorner = vec3(corner == 0, corner == 1, corner == 2);
    vSeen = seen.xyz;
    vTint = tint;
    gl_Position = projectionMatrix * seen;
}`;

const surface = `
uniform float wireframe;
uniform ivec2 selected;
uniform highp usampler2D ranks;
in vec3 vTint;
in vec3 vSeen;
in vec3 vCorner;
flat in int vTriangle;
out vec4 pixel;
void main() {
    vec3 normal = normalize(cross(dFdx(vSeen), dFdy(vSeen)));
    float light = 0.66 + 0.34 * abs(normal.z) + 0.07 * normal.y - 0.04 * normal.x;
    vec3 colour = vTint * light;
    if (selected.y > 0) {
        int width = textureSize(ranks, 0).x;
        int rank = int(texelFetch(ranks, ivec2(vTriangle % width, vTriangle / width), 0).x);
        bool isSelected = rank >= selected.x && rank < selected.x + selected.y;
        float grey = dot(colour, vec3(0.3, 0.59, 0.11));
        colour = isSelected ? colour * 1.06 : mix(colour, vec3(mix(grey, 0.62, 0.55)), 0.72);
    }
    vec3 sides = smoothstep(vec3(0.0), fwidth(vCorner) * 1.3, vCorner);
    float line = 1.0 - min(min(sides.x, sides.y), sides.z);
    colour = mix(colour, vec3(0.06, 0.08, 0.12), wireframe * line * 0.75);
    pixel = vec4(colour, 1.0);
}`;

const number = `
flat in int vTriangle;
out vec4 pixel;
void main() {
    int id = vTriangle + 1;
    pixel = vec4(id & 255, (id >> 8) & 255, (id >> 16) & 255, 255) / 255.0;
}`;

const shared = {glslVersion: GLSL3, vertexShader: vertex, side: 2};

export function surfaceMaterial() {
    return new ShaderMaterial({
        ...shared,
        fragmentShader: surface,
        uniforms: {wireframe: {value: 0}, selected: {value: [0, 0]}, ranks: {value: null}},
        // Lines on edges stay in front of the triangles that they belong to.
        polygonOffset: true,
        polygonOffsetFactor: 1,
        polygonOffsetUnits: 1,
    });
}

export function numberMaterial() {
    return new ShaderMaterial({...shared, fragmentShader: number});
}
