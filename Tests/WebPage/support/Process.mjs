// Programs that a test starts. None outlives the test's own process, whatever becomes of that.
import { spawn } from "node:child_process";
import { EventEmitter, once } from "node:events";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const root = join(dirname(fileURLToPath(import.meta.url)), "../../..");

const programs = join(root, "build", process.env.RAVIK_PRESET ?? "debug", "bin");

/** The built programs. */
export const ravikProgram = join(programs, "ravik");
export const deviceProgram = join(programs, "modbus_device");
export const examples = join(root, "Examples");

const running = new Set();
process.on("exit", () => running.forEach((child) => child.kill("SIGKILL")));
for (const signal of ["SIGINT", "SIGTERM"]) {
    process.on(signal, () => process.exit(1));
}

export class Process {
    #child;
    #news = new EventEmitter();
    /** What it has printed so far. */
    output = "";

    constructor(program, args, input = "") {
        this.#child = spawn(program, args);
        running.add(this.#child);
        this.ended = once(this.#child, "close").finally(() => {
            running.delete(this.#child);
            this.#news.emit("news");
        });
        for (const stream of [this.#child.stdout, this.#child.stderr]) {
            stream.setEncoding("utf8").on("data", (text) => {
                this.output += text;
                this.#news.emit("news");
            });
        }
        this.#child.stdin.on("error", () => {}).end(input);
    }

    /** Waits until it has printed something that matches, and returns the match. */
    async printed(pattern) {
        while (!pattern.test(this.output)) {
            if (!running.has(this.#child)) {
                throw new Error(`${this.#child.spawnfile} has ended: ${this.output}`);
            }
            await once(this.#news, "news");
        }
        return pattern.exec(this.output);
    }

    signal(signal) {
        this.#child.kill(signal);
    }

    /** By SIGTERM it ends in order. Returns the exit status. */
    async end(signal = "SIGKILL") {
        this.#child.kill(signal);
        await this.ended;
        return this.#child.exitCode;
    }
}

/** Runs `ravik` in a project to its end and returns what it prints; throws where the exit status isn't 0. */
export async function ravik(project, args, input) {
    const run = new Process(ravikProgram, ["--project", project, ...args], input);
    const [status] = await run.ended;
    if (status !== 0) {
        throw new Error(`ravik ${args.join(" ")} ended with ${status}: ${run.output}`);
    }
    return run.output;
}
