// Console output of a reader counts as a finding.

/// Calls a reader and fails if it warns of anything.
///
/// \param isExpected whether a warning is harmless
export async function readAttentively(read, file, isExpected = () => false) {
    const { warn, error } = console;
    const messages = [];
    console.warn = console.error = (...words) => messages.push(words.join(' '));
    try {
        const parts = await read(file);
        const unexpected = messages.filter((line) => !isExpected(line));
        if (unexpected.length > 0) {
            throw new Error(`warnings while reading: ${unexpected.join('; ')}`);
        }
        return parts;
    } finally {
        Object.assign(console, { warn, error });
    }
}
