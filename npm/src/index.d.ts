/** Vertex indices; in strips of `Uint8Array` and `Uint16Array`, 255 and 65535 separate strips. */
export type Indices = Uint8Array | Uint16Array | Uint32Array | readonly number[];
export type IndexArray = Uint8Array | Uint16Array | Uint32Array;
export type IndexArrayType = typeof Uint8Array | typeof Uint16Array | typeof Uint32Array;
/** What separates two strips: `RESTART_INDEX`, or repeated vertices. */
export type Join = 'restart' | 'degenerate';

/** The index that separates two strips in arrays of 32 bits: 4294967295, which is never a vertex. */
export const RESTART_INDEX: 0xffffffff;

export interface SearchOptions {
    /**
     * How hard to search: 0 greedily; 1 joins these strips; 2, the default, plans them around vertices; 3 takes 10 to 20
     * times as long for 1 to 3 % fewer indices; 4 takes the time of `microsecondsPerTriangle`.
     */
    effort?: 0 | 1 | 2 | 3 | 4;
    /** Time of effort 4 for each triangle; 10 unless given. */
    microsecondsPerTriangle?: number;
    /**
     * Passes over the mesh at efforts 3 and 4; 0, the default, for 88. 10 take 3 to 5 times as long as effort 2, for two
     * thirds of what 88 save.
     */
    annealingPasses?: number;
    /** Of the random numbers at efforts 3 and 4; 1 unless given. */
    seed?: number;
    /** Most triangles of a strip; 0, the default, for any number. */
    maxTriangles?: number;
    /** Orders short strips such that they find many of their vertices in a vertex cache, for more indices. */
    forVertexCache?: boolean;
    /** Called with the part of the work that is done, from 0 to 1; false ends the search with the best strips so far. */
    onProgress?: (fraction: number) => boolean | void;
    /** Type of the result; `Uint32Array` unless given. */
    type?: IndexArrayType;
}

export interface StripOptions extends SearchOptions {
    /** `'restart'` unless given. */
    join?: Join;
}

/**
 * Turns triangles into one strip list with few indices, which draws every triangle that is not collapsed (two equal
 * corners) once, in its winding. The same arguments give the same result everywhere; at effort 4 it depends on time.
 *
 * @param triangles three vertices per triangle; not changed
 * @throws an index is not a vertex, their number is not a multiple of 3, an option is out of range, an index does not fit
 *         `type`, or whatever `onProgress` throws
 */
export function strip(triangles: Indices, options?: StripOptions & { type?: typeof Uint32Array }): Uint32Array;
export function strip(triangles: Indices, options: StripOptions & { type: typeof Uint16Array }): Uint16Array;
export function strip(triangles: Indices, options: StripOptions): IndexArray;

/** The same strips one by one, each beginning at an even position. */
export function strips(triangles: Indices, options?: SearchOptions): IndexArray[];

/** The triangles of a strip list with their windings, three vertices each; those with two equal corners are left out. */
export function unstrip(strip: Indices, options?: { type?: IndexArrayType }): IndexArray;

/**
 * A proven lower bound: no strip list of these triangles has fewer indices. With `'degenerate'` it holds for any list,
 * with `'restart'` for lists in which two degenerate triangles never follow one another.
 */
export function minIndexCount(triangles: Indices, options?: {
    join?: Join;
    /** More take longer and prove more; 32 unless given. */
    sweeps?: number;
    /** As in `SearchOptions`; false returns the bound that is proven so far. */
    onProgress?: (fraction: number) => boolean | void;
}): number;

export interface Edges {
    /** Two vertices for each edge, the lower one first, in the order of first occurrence. */
    vertices: Uint32Array;
    /** How many triangles each edge has: 1 at the border, 2 inside, more where the surface branches. */
    triangleCounts: Uint32Array;
}

/** The edges of triangles, each once. */
export function edges(triangles: Indices): Edges;

export interface Statistics {
    indexCount: number;
    vertexCount: number;
    triangleCount: number;
    degenerateCount: number;
    restartCount: number;
    stripCount: number;
    maxStripTriangles: number;
    swapCount: number;
    cacheMisses: number;
    indicesPerTriangle: number;
    /** Vertices transformed per triangle. */
    acmr: number;
    /** Vertices transformed per distinct vertex, at best 1. */
    atvr: number;
}

/** Counts what indices hold, and how often a vertex cache makes the processor transform their vertices. */
export function analyze(indices: Indices, options?: {
    mode?: 'triangles' | 'strip';
    cache?: 'fifo' | 'lru';
    cacheSize?: number;
}): Statistics;

export type AttributeArray =
    Int8Array | Uint8Array | Int16Array | Uint16Array | Int32Array | Uint32Array | Float32Array;

/** Elements of some numbers each; a `BufferAttribute` of three is one. */
export interface Attribute {
    array: AttributeArray;
    itemSize: number;
}

/** Triangles with attributes by name. Positions are called `position`, normals `normal`, tangents `tangent`. */
export interface Mesh {
    /** Without, every three vertices are a triangle. */
    indices?: Indices | null;
    attributes: Record<string, Attribute>;
}

export interface IndexedMesh extends Mesh {
    indices: Uint32Array;
}

/**
 * Joins vertices that are equal in all attributes, bit by bit, or in those of `compare`; with `tolerance`, vertices whose
 * positions are at most so far apart. The first one is kept. `remap` has the new number of each vertex.
 */
export function weld(mesh: Mesh, options?: { tolerance?: number; compare?: string[] }):
    { mesh: IndexedMesh; remap: Uint32Array };

/**
 * Places meshes in one. Positions, normals and tangents are transformed, and a placement that mirrors reverses the
 * winding. `placement` is an affine matrix, column by column, as in WebGL and glTF; without one, a mesh stays where it is.
 *
 * @param options with `fillMissing`, attributes that only some meshes have are zeros in the others; else that is an error
 */
export function merge(instances: { mesh: Mesh; placement?: ArrayLike<number> }[], options?: { fillMissing?: boolean }):
    IndexedMesh;
