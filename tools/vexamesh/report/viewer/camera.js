// Where the model is seen from, and the one or two views of it.
import {Box3, PerspectiveCamera, Spherical, Vector3} from 'three';

const homeDirection = new Vector3(0.62, 0.42, 1).normalize();
const narrow = 640;
// How much of a view a model fills.
const filled = 0.86;

// Enough of a large model to know how far it reaches.
const mostLookedAt = 300000;

// The places that a model is fitted into the view by, and a sphere around it.
export function boundsOf(corners) {
    const centre = new Box3().setFromArray(corners).getCenter(new Vector3());
    const step = Math.max(Math.ceil(corners.length / 3 / mostLookedAt), 1);
    const points = [];
    let radius = 0;
    const point = new Vector3();
    for (let i = 0; i < corners.length; i += 3) {
        point.fromArray(corners, i).sub(centre);
        radius = Math.max(radius, point.lengthSq());
        if ((i / 3) % step === 0) {
            points.push(point.x, point.y, point.z);
        }
    }
    return {centre, radius: Math.sqrt(radius) || 1, points: new Float32Array(points)};
}

export class Eye {
    constructor(sphere) {
        this.sphere = sphere;
        this.camera = new PerspectiveCamera(35, 1);
        this.target = new Vector3();
        this.reset(1);
    }

    reset(aspect) {
        this.target.copy(this.sphere.centre);
        this.camera.position.copy(homeDirection).add(this.target);
        this.camera.lookAt(this.target);
        this.camera.position.copy(homeDirection).multiplyScalar(this.distanceThatShowsAll(aspect)).add(this.target);
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

// The rectangles of the views, in CSS pixels from the top left.
export function layout(width, height, isSideBySide) {
    if (!isSideBySide) {
        return [{name: 'after', x: 0, y: 0, width, height}];
    }
    if (width < narrow) {
        const half = Math.floor(height / 2);
        return [
            {name: 'before', x: 0, y: 0, width, height: half},
            {name: 'after', x: 0, y: half, width, height: height - half},
        ];
    }
    const half = Math.floor(width / 2);
    return [
        {name: 'before', x: 0, y: 0, width: half, height},
        {name: 'after', x: half, y: 0, width: width - half, height},
    ];
}
