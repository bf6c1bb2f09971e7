// Where the model is seen from, and the one or two views of it.
import {Box3, PerspectiveCamera, Spherical, Vector3} from 'three';

const homeDirection = new Vector3(0.62, 0.42, 1).normalize();
const narrow = 640;

export function modelSphere(corners) {
    const box = new Box3().setFromArray(corners);
    const centre = box.getCenter(new Vector3());
    let radius = 0;
    const point = new Vector3();
    for (let i = 0; i < corners.length; i += 3) {
        radius = Math.max(radius, point.fromArray(corners, i).distanceToSquared(centre));
    }
    return {centre, radius: Math.sqrt(radius) || 1};
}

export class Eye {
    constructor(sphere) {
        this.sphere = sphere;
        this.camera = new PerspectiveCamera(35, 1);
        this.target = new Vector3();
        this.reset(1);
    }

    reset(aspect) {
        const angle = (this.camera.fov / 2) * (Math.PI / 180);
        const across = Math.atan(Math.tan(angle) * Math.min(aspect, 1));
        const distance = (this.sphere.radius / Math.sin(across)) * 1.02;
        this.target.copy(this.sphere.centre);
        this.camera.position.copy(homeDirection).multiplyScalar(distance).add(this.target);
        this.camera.lookAt(this.target);
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
