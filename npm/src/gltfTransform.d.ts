import type { Transform } from '@gltf-transform/core';
import type { SearchOptions } from './index.js';

export interface StripTransformOptions extends Omit<SearchOptions, 'type'> {
    /** Turns lists into strips also where that takes more indices. */
    all?: boolean;
}

/**
 * Turns the triangle lists of a document into strips where these take fewer indices. Strips are joined by repeated
 * vertices, which any reader draws; triangles with two equal corners are left out.
 */
export function strip(options?: StripTransformOptions): Transform;

/** Turns the triangle strips of a document into lists. */
export function unstrip(): Transform;
