import { fields, parse, write } from "./json";
import type { Json, JsonObject } from "./json";

const base = "/api/v1";
const csrfKey = "ravik.csrf";

/** Kept for this origin, so that other tabs and the next visit go on with the same session. */
export const csrf = {
    get: (): string => localStorage.getItem(csrfKey) ?? "",
    set: (value: string): void => localStorage.setItem(csrfKey, value),
    clear: (): void => localStorage.removeItem(csrfKey),
};

/** What the service refused, or `status` 0 where it could not be asked. */
export class Problem extends Error {
    constructor(
        readonly status: number,
        readonly code: string,
        detail: string,
        readonly members: JsonObject = new Map(),
        readonly etag = "",
        /** After how many seconds it is worth trying again; 0 where the service did not say. */
        readonly retryAfter = 0,
    ) {
        super(detail);
    }

    /** The mistakes, each with the place that it stands at. */
    get errors(): { pointer: string; detail: string }[] {
        const list = this.members.get("errors");
        return Array.isArray(list) ? list.map((item) => fields(item)) : [];
    }
}

export interface Answer {
    status: number;
    etag: string;
    text: string;
    location: string;
}

export interface Ask {
    query?: Record<string, string | undefined>;
    /** A text is sent as it stands. */
    body?: Json;
    text?: string;
    /** A file is sent as it stands, without being read first. */
    blob?: Blob;
    type?: string;
    headers?: Record<string, string>;
    signal?: AbortSignal;
}

let sessionEnded: () => void = () => {};

/** Has `listener` called whenever the service no longer knows the session. */
export function onSessionEnd(listener: () => void): void {
    sessionEnded = listener;
}

/** Throws Problem. */
export async function request(method: string, path: string, ask: Ask = {}): Promise<Answer> {
    const response = await sent(method, path, ask);
    const text = await response.text().catch(() => {
        throw unreachable();
    });
    if (response.ok) {
        const { headers } = response;
        return {
            status: response.status,
            etag: headers.get("ETag") ?? "",
            text,
            location: headers.get("Location") ?? "",
        };
    }
    const problem = problemOf(response, text);
    // A wrong password ends no session.
    if (problem.status === 401 && problem.code !== "AUTH_FAILED") {
        sessionEnded();
    }
    throw problem;
}

function sent(method: string, path: string, ask: Ask): Promise<Response> {
    const headers: Record<string, string> = { ...ask.headers };
    if (csrf.get()) {
        headers["X-CSRF-Token"] = csrf.get();
    }
    const body = ask.blob ?? ask.text ?? (ask.body === undefined ? undefined : write(ask.body));
    if (body !== undefined) {
        headers["Content-Type"] = ask.type ?? "application/json";
    }
    const init: RequestInit = { method, headers, cache: "no-store" };
    if (body !== undefined) {
        init.body = body;
    }
    if (ask.signal) {
        init.signal = ask.signal;
    }
    return fetch(address(path, ask.query), init).catch((error: unknown) => {
        throw ask.signal?.aborted ? error : unreachable();
    });
}

/** A name is always a parameter: in a path, browsers would fold `.` and `..` away. */
export function address(path: string, query: Ask["query"] = {}): string {
    return base + path + queryText(query);
}

export function queryText(query: Record<string, string | undefined>): string {
    const parts = Object.entries(query).flatMap(([name, value]) =>
        value === undefined || value === "" ? [] : [`${name}=${encodeURIComponent(value)}`],
    );
    return parts.length > 0 ? "?" + parts.join("&") : "";
}

function unreachable(): Problem {
    return new Problem(0, "UNREACHABLE", "The service can't be reached.");
}

function problemOf(response: Response, text: string): Problem {
    let members: JsonObject = new Map();
    try {
        const value = parse(text);
        members = value instanceof Map ? value : members;
    } catch {
        // Not from the service, such as the page of a proxy.
    }
    const detail = members.get("detail");
    const code = members.get("code");
    return new Problem(
        response.status,
        typeof code === "string" ? code : "",
        typeof detail === "string" ? detail : `The service answered ${response.status} ${response.statusText}`,
        members,
        response.headers.get("ETag") ?? "",
        Number(response.headers.get("Retry-After")) || 0,
    );
}

/** For answers with values of recipes in them. */
export async function readExact(path: string, query: Ask["query"] = {}, signal?: AbortSignal): Promise<JsonObject> {
    const answer = await request("GET", path, signal ? { query, signal } : { query });
    return parse(answer.text) as JsonObject;
}

/** For answers without values of recipes: small numbers and texts alone. */
export async function readPlain<T>(path: string, query: Ask["query"] = {}, signal?: AbortSignal): Promise<T> {
    const answer = await request("GET", path, signal ? { query, signal } : { query });
    return JSON.parse(answer.text) as T;
}

export interface List<T> {
    items: T[];
    next?: string | null;
    revision?: string;
}

/** All pages of a list, `each` called as they come. */
export async function readList<T>(
    path: string,
    query: Ask["query"],
    each: (items: T[], revision: string) => void,
    signal?: AbortSignal,
): Promise<void> {
    let cursor: string | undefined;
    do {
        const page: List<T> = await readPlain(path, { limit: "2000", ...query, cursor }, signal);
        each(page.items, page.revision ?? "");
        cursor = page.next ?? undefined;
    } while (cursor);
}

export interface Entry {
    name: string;
    etag: string;
    value: JsonObject;
}

export async function readEntry(kind: "recipe" | "type", name: string, signal?: AbortSignal): Promise<Entry> {
    const answer = await request("GET", "/" + kind, signal ? { query: { name }, signal } : { query: { name } });
    return { name, etag: answer.etag, value: parse(answer.text) as JsonObject };
}

export function errorText(error: unknown): string {
    return error instanceof Error ? error.message : String(error);
}
