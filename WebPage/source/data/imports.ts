// An import before it is made: what it would change, or what is wrong with it and where.
import { Problem, readPlain, request } from "./api";
import { isSame, parse } from "./json";
import type { Json, JsonObject } from "./json";

export interface Source {
    name: string;
    blob: Blob;
    /** Recipes of one type, a row each; otherwise JSON. */
    isTable: boolean;
}

export type EntryKind = "recipe" | "type" | "folder";

export interface Difference {
    kind: EntryKind;
    name: string;
    state: "new" | "changed";
}

export interface Tally {
    kind: EntryKind;
    new: number;
    changed: number;
    same: number;
}

/** What the service told of an import, made or only looked at. */
export interface Report {
    written: string[];
    removed: string[];
    warnings: { path: string; text: string }[];
    /** Of a table alone. */
    counts?: Omit<Tally, "kind">;
}

export interface Checked {
    /** The configuration that it was held against. */
    revision: string;
    report: Report;
    tallies: Tally[];
    /** Empty for a table, of which the service tells numbers alone. */
    differences: Difference[];
}

export interface Mistake {
    detail: string;
    /** From 1; 0 where it stands at no place of the text. */
    line: number;
    column: number;
    /** The text of the line around the column, and what stands there. */
    before: string;
    at: string;
    after: string;
}

export async function sourceOf(name: string, blob: Blob): Promise<Source> {
    const head = await blob.slice(0, 1000).text();
    const isNamedJson = /\.json$/i.test(name);
    return { name, blob, isTable: !isNamedJson && (/\.csv$/i.test(name) || !/^\s*[[{]/.test(head)) };
}

/** The revision that the configuration has now. */
export async function readRevision(signal?: AbortSignal): Promise<string> {
    return (await readPlain<{ revision: string }>("/recipes", { limit: "1" }, signal)).revision;
}

export function isOutdated(error: unknown): boolean {
    return error instanceof Problem && error.status === 412;
}

async function send(source: Source, query: Record<string, string | undefined>, signal?: AbortSignal): Promise<Report> {
    const ask = { query, blob: source.blob, type: source.isTable ? "text/csv" : "application/json" };
    return JSON.parse((await request("POST", "/imports", signal ? { ...ask, signal } : ask)).text) as Report;
}

/** Only looks. It begins anew where the configuration changes meanwhile, so that all it tells is of one moment. */
export async function check(source: Source, type: string, signal: AbortSignal): Promise<Checked> {
    for (let left = 3; ; left--) {
        try {
            const revision = await readRevision(signal);
            const checked = await checkAt(revision, source, type, signal);
            if (source.isTable || left === 1 || (await readRevision(signal)) === revision) {
                return checked;
            }
        } catch (error) {
            if (left === 1 || !isOutdated(error)) {
                throw error;
            }
        }
    }
}

async function checkAt(revision: string, source: Source, type: string, signal: AbortSignal): Promise<Checked> {
    const report = await send(source, { dryRun: "true", type, revision }, signal);
    if (report.counts) {
        return { revision, report, tallies: [{ kind: "recipe", ...report.counts }], differences: [] };
    }
    const stored = await request("GET", "/exports", { signal });
    return { revision, report, ...compare(parse(await source.blob.text()), parse(stored.text)) };
}

/** Takes it in, if the configuration is still the one that it was checked against. */
export function take(source: Source, type: string, { revision }: Checked, note: string): Promise<Report> {
    return send(source, { type, revision, note });
}

function compare(file: Json, stored: Json): Pick<Checked, "tallies" | "differences"> {
    const tallies: Tally[] = (["recipe", "type", "folder"] as const).map((kind) => ({
        kind,
        new: 0,
        changed: 0,
        same: 0,
    }));
    const differences: Difference[] = [];
    const meet = (kind: EntryKind, name: string, state: "new" | "changed" | "same") => {
        tallies.find((each) => each.kind === kind)![state]++;
        if (state !== "same") {
            differences.push({ kind, name, state });
        }
    };
    for (const [list, kind] of [
        ["recipeTypeList", "type"],
        ["recipeList", "recipe"],
    ] as const) {
        walk(kind, mapIn(file, list), mapIn(stored, list), "", meet);
    }
    return { tallies: tallies.filter((each) => each.new + each.changed + each.same > 0), differences };
}

/** Entries are taken in as a whole, while folders keep what the import doesn't name. */
function walk(
    kind: "recipe" | "type",
    file: JsonObject,
    stored: JsonObject,
    folder: string,
    meet: (kind: EntryKind, name: string, state: "new" | "changed" | "same") => void,
): void {
    for (const [name, value] of file) {
        const there = stored.get(name);
        if (value instanceof Map && !isEntry(kind, value)) {
            meet("folder", folder + name, there === undefined ? "new" : "same");
            walk(kind, value, mapIn(stored, name), `${folder}${name}::`, meet);
        } else {
            meet(kind, folder + name, there === undefined ? "new" : isSame(value, there) ? "same" : "changed");
        }
    }
}

function isEntry(kind: "recipe" | "type", value: JsonObject): boolean {
    return kind === "type" ? value.has("members") : value.has("recipeTypeName") || value.has("values");
}

function mapIn(value: Json, name: string): JsonObject {
    const inner = value instanceof Map ? value.get(name) : undefined;
    return inner instanceof Map ? inner : new Map();
}

/** So many mistakes are shown with the text of their lines. */
export const mostMistakes = 200;
const excerpt = 60;

/** The mistakes that the service found in the source, as far as they are shown. */
export async function mistakesOf(problem: Problem, source: Source): Promise<Mistake[]> {
    const mistakes = problem.errors.slice(0, mostMistakes).map(({ pointer, detail }) => {
        const [, line = "0", column = "0"] = /^line (\d+), column (\d+)$/.exec(pointer) ?? [];
        return { detail, line: Number(line), column: Number(column), before: "", at: "", after: "" };
    });
    return mistakes.some(({ line }) => line > 0) ? withText(mistakes, await source.blob.text()) : mistakes;
}

/** One pass over the text, which may be long and of a single line. */
function withText(mistakes: Mistake[], text: string): Mistake[] {
    const last = mistakes.reduce((most, { line }) => Math.max(most, line), 0);
    const wanted = new Set(mistakes.map(({ line }) => line));
    const spans = new Map<number, [start: number, end: number]>();
    for (let line = 1, start = 0; line <= last && start <= text.length; line++) {
        const found = text.indexOf("\n", start);
        const end = found < 0 ? text.length : found;
        if (wanted.has(line)) {
            spans.set(line, [start, end]);
        }
        start = end + 1;
    }
    return mistakes.map((mistake) => {
        const [start, end] = spans.get(mistake.line) ?? [0, 0];
        const place = Math.min(end, start + Math.max(0, mistake.column - 1));
        return {
            ...mistake,
            before: text.slice(Math.max(start, place - excerpt), place).trimStart(),
            at: text.slice(place, Math.min(end, place + 1)),
            after: text.slice(Math.min(end, place + 1), Math.min(end, place + excerpt)).trimEnd(),
        };
    });
}
