// Where the model is seen from, and the one or two views of it.
import {Box3, PerspectiveCamera, Spherical, Vector3} from 'three';

const narrow = 640;
// How much of a view a model fills.
const filled = 0.86;

// Enough of a large model to know how far it reaches.
const mostLookedAt = 300000;

// The places that a model is fitted into the view by, and a sphere around it.
export function boundsOf({batches, corners}) {
    const total = batches.reduce((sum, {count, places}) => sum + 3 * count * (places?.length ?? 1), 0);
    const step = Math.max(Math.ceil(total / mostLookedAt), 1);
    const points = [];
    const box = new Box3();
    const point = new Vector3();
    for (const {first, count, places} of batches) {
        for (const m of places ?? [null]) {
            for (let i = 3 * first; i < 3 * (first + count); ++i) {
                point.fromArray(corners, 3 * i);
                if (m !== null) {
                    const {x, y, z} = point;
                    point.fromArray([0, 1, 2].map((row) => m[row] * x + m[3 + row] * y + m[6 + row] * z + m[9 + row]));
                }
                box.expandByPoint(point);
                if (i % step === 0) {
                    points.push(point.x, point.y, point.z);
                }
            }
        }
    }
    const centre = box.getCenter(new Vector3());
    const offset = centre.toArray();
    const centred = Float32Array.from(points, (value, i) => value - offset[i % 3]);
    return {centre, radius: box.getSize(point).length() / 2 || 1, points: centred};
}

export class Eye {
    // home: where the eye is at first, as seen from the middle of the model
    constructor(sphere, home) {
        this.sphere = sphere;
        this.home = new Vector3(...home);
        this.camera = new PerspectiveCamera(35, 1);
        this.target = new Vector3();
        this.reset(1);
    }

    reset(aspect) {
        this.target.copy(this.sphere.centre);
        this.camera.position.copy(this.home).add(this.target);
        this.camera.lookAt(this.target);
        this.camera.position.copy(this.home).multiplyScalar(this.distanceThatShowsAll(aspect)).add(this.target);
    }

    distanceThatShowsAll(aspect) {
        const {points, radius} = this.sphere;
        const up = Math.tan((this.camera.fov / 2) * (Math.PI / 180)) * filled;
        const across = up * aspect;
        const turned = new Vector3();
        const inverse = this.camera.quaternion.clone().invert();
        let distance = radius * 0.1;
        for (let i = 0; i < points.length; i += 3) {
            turned.fromArray(points, i).applyQuaternion(inverse);
            const needed = Math.max(Math.abs(turned.x) / across, Math.abs(turned.y) / up);
            distance = Math.max(distance, turned.z + needed);
        }
        return distance;
    }

    // Fills as much of a view of another shape as of the one before.
    refit(from, to) {
        const factor = this.distanceThatShowsAll(to) / this.distanceThatShowsAll(from);
        this.camera.position.sub(this.target).multiplyScalar(factor).add(this.target);
    }

    // How many CSS pixels each of so many triangles covers, if half of them face the eye and fill half of its outline.
    pixelsPerTriangle(view, triangles) {
        const distance = this.camera.position.distanceTo(this.target);
        const radius = (view.height / 2) * (this.sphere.radius / distance) / Math.tan((this.camera.fov / 2) * (Math.PI / 180));
        return (Math.PI * radius * radius) / Math.max(triangles, 1);
    }

    // Angles in radians; `zoom` is a factor of the distance.
    turn(aroundUp, towardsUp, zoom = 1) {
        const offset = this.camera.position.clone().sub(this.target);
        const spherical = new Spherical().setFromVector3(offset);
        spherical.theta += aroundUp;
        spherical.phi += towardsUp;
        spherical.radius *= zoom;
        spherical.makeSafe();
        this.camera.position.setFromSpherical(spherical).add(this.target);
        this.camera.lookAt(this.target);
    }

    // Shares of the distance.
    move(right, up) {
        const distance = this.camera.position.distanceTo(this.target);
        const shift = new Vector3(right, up, 0).multiplyScalar(distance).applyQuaternion(this.camera.quaternion);
        this.camera.position.add(shift);
        this.target.add(shift);
    }

    lookThrough(view) {
        const distance = this.camera.position.distanceTo(this.sphere.centre);
        this.camera.aspect = view.width / view.height;
        this.camera.near = Math.max(distance - this.sphere.radius * 1.1, this.sphere.radius / 500);
        this.camera.far = distance + this.sphere.radius * 1.1;
        this.camera.updateProjectionMatrix();
        this.camera.updateMatrixWorld();
        return this.camera;
    }
}

// The rectangles of the two views, in CSS pixels from the top left: beside or below one another, or both in the same
// place and each clipped at the share `wipe` of the width.
export function layout(width, height, [left, right], wipe) {
    if (wipe !== null) {
        const middle = Math.round(width * wipe);
        return [
            {name: 'left', drawing: left, x: 0, y: 0, width, height, clip: {x: 0, width: middle}},
            {name: 'right', drawing: right, x: 0, y: 0, width, height, clip: {x: middle, width: width - middle}},
        ];
    }
    const isNarrow = width < narrow;
    const half = Math.floor((isNarrow ? height : width) / 2);
    const views = isNarrow
        ? [{x: 0, y: 0, width, height: half}, {x: 0, y: half, width, height: height - half}]
        : [{x: 0, y: 0, width: half, height}, {x: half, y: 0, width: width - half, height}];
    return views.map((view, i) => ({
        ...view, name: ['left', 'right'][i], drawing: [left, right][i], clip: {x: view.x, width: view.width},
    }));
}
