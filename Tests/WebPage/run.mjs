// Runs the tests of the page: node run.mjs [PATTERN…], those alone whose names match one of the patterns. They use the
// programs that were built with the preset RAVIK_PRESET (debug).
import { existsSync, readdirSync } from "node:fs";
import { dirname, join } from "node:path";
import { run } from "node:test";
import { spec } from "node:test/reporters";
import { fileURLToPath } from "node:url";
import { deviceProgram, ravikProgram } from "./support/Process.mjs";

const here = dirname(fileURLToPath(import.meta.url));
for (const path of ["/usr/bin/chromium", join(here, "node_modules/playwright-core"), ravikProgram, deviceProgram]) {
    if (!existsSync(path)) {
        console.error(`${path} is missing; './dev test page' installs and builds what these tests need.`);
        process.exit(1);
    }
}

// Whatever ends this ends the processes of the files.
const end = new AbortController();
process.on("exit", () => end.abort());
let count = 0;
const tests = run({
    files: readdirSync(here)
        .filter((name) => name.endsWith("_test.mjs"))
        .map((name) => join(here, name)),
    concurrency: 2,
    signal: end.signal,
    // For all tests of a file.
    timeout: 150_000,
    testNamePatterns: process.argv.slice(2).map((pattern) => new RegExp(pattern)),
});
tests.on("test:pass", ({ skip }) => (count += skip ? 0 : 1));
tests.on("test:fail", () => {
    ++count;
    process.exitCode = 1;
});
tests.on("end", () => {
    if (count === 0) {
        console.error("No test was run.");
        process.exitCode = 1;
    }
});
tests.compose(spec).pipe(process.stdout);
