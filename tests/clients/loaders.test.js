// loaders.gl finds in the tool's output everything that it finds in the models.

import { testFeatures } from './featureOutputs.js';
import { readScene } from './loadersReader.js';

testFeatures({
    readScene,
    // It reads files whatever they require.
    overlooked: ['a required extension that nobody knows'],
});
