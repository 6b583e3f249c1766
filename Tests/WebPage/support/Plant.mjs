import assert from "node:assert/strict";
import { rmSync } from "node:fs";
import { cp, mkdtemp, readFile, writeFile } from "node:fs/promises";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { Device } from "./Device.mjs";
import { examples, Process, ravik, ravikProgram } from "./Process.mjs";

export const roles = ["viewer", "operator", "engineer", "admin"];
/** Users are called as their role is. */
export const password = "wheat and rye";

/** The bottling line of the examples on two devices. */
async function bottlingLine(folder, { filler, packer }) {
    const settings = await readFile(join(examples, "modbus/ravik.json"), "utf8");
    const onPorts = settings.replace('": 1502', `": ${filler.port}`).replace('": 1503', `": ${packer.port}`);
    await writeFile(join(folder, "ravik.json"), onPorts);
    await cp(join(examples, "plant/recipes.json"), join(folder, "recipes.json"));
}

/** A service in a folder of its own, its two devices, and a user and a token for each role. */
export class Plant {
    #folder;
    #service;
    #tokens = {};

    /** `project` writes ravik.json and recipes.json; where anything fails everything that was started ends. */
    static async start(project = bottlingLine) {
        const plant = new Plant();
        try {
            await plant.#start(project);
            return plant;
        } catch (error) {
            await plant.end();
            throw error;
        }
    }

    async #start(project) {
        this.#folder = await mkdtemp(join(tmpdir(), "ravik-page-"));
        process.on("exit", () => this.#removeFolder());
        this.filler = await Device.start("--live");
        this.packer = await Device.start("--live", "--refuse", "900-903");
        await project(this.#folder, this);
        await this.ravik("import", join(this.#folder, "recipes.json"));
        for (const role of [...roles].reverse()) {
            await ravik(this.#folder, ["user", "add", role, "--role", role], password + "\n");
            const answer = await this.ravik("token", "add", role, "--role", role, "--json");
            this.#tokens[role] = JSON.parse(answer).value.token;
        }
        await this.startService("127.0.0.1:0");
    }

    async end() {
        await this.#service?.end();
        await this.filler?.switchOff();
        await this.packer?.switchOff();
        this.#removeFolder();
    }

    #removeFolder() {
        // A service that was just killed may still make files.
        rmSync(this.#folder, { recursive: true, force: true, maxRetries: 10 });
    }

    ravik(...args) {
        return ravik(this.#folder, args);
    }

    /** Without an address, where it listened before. */
    async startService(listen = `127.0.0.1:${this.port}`) {
        this.#service = new Process(ravikProgram, ["--project", this.#folder, "serve", "--listen", listen]);
        this.port = Number((await this.#service.printed(/Listening on http:\/\/127\.0\.0\.1:(\d+)/))[1]);
    }

    /** In order, which takes as long as an activation runs; returns the exit status. */
    endService() {
        return this.#service.end("SIGTERM");
    }

    /** Asks the service itself, as a program does that has a role's token. */
    async ask(role, method, path, { query = {}, body, headers = {} } = {}) {
        const type = body === undefined ? {} : { "Content-Type": "application/json" };
        const parameters = Object.entries(query).map(([name, value]) => `${name}=${encodeURIComponent(value)}`);
        const answer = await fetch(`http://127.0.0.1:${this.port}/api/v1${path}?${parameters.join("&")}`, {
            method,
            headers: { Authorization: `Bearer ${this.#tokens[role]}`, ...type, ...headers },
            body: body === undefined || typeof body === "string" ? body : JSON.stringify(body),
        });
        const text = await answer.text();
        const told = answer.headers.get("Content-Type")?.includes("json") ? JSON.parse(text) : undefined;
        return { status: answer.status, etag: answer.headers.get("ETag"), text, body: told };
    }

    /** Changes members of a recipe behind the page's back. `values` may be JSON text. */
    async edit(role, recipe, values) {
        const { etag } = await this.ask(role, "GET", "/recipe", { query: { name: recipe } });
        const text = typeof values === "string" ? values : JSON.stringify(values);
        const headers = { "If-Match": etag, "Content-Type": "application/merge-patch+json" };
        return this.ask(role, "PATCH", "/recipe", { query: { name: recipe }, body: `{"values": ${text}}`, headers });
    }

    /** As the operator, and verified. */
    async activate(recipe, note = "") {
        const headers = { "Idempotency-Key": crypto.randomUUID() };
        const answer = await this.ask("operator", "POST", "/activations", { body: { recipe, note }, headers });
        assert.equal(answer.status, 201, answer.text);
        return answer.body;
    }
}
