// What a reader says on the console is a finding too.

/// Calls a reader; it fails when the reader warns of something.
export async function readAttentively(read, file) {
    const { warn, error } = console;
    const said = [];
    console.warn = console.error = (...words) => said.push(words.join(' '));
    try {
        const parts = await read(file);
        if (said.length > 0) {
            throw new Error(`warnings while reading: ${said.join('; ')}`);
        }
        return parts;
    } finally {
        Object.assign(console, { warn, error });
    }
}
