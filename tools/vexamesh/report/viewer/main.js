import {startViewer} from './viewer.js';

if (document.getElementById('canvas')) {
    startViewer();
}
