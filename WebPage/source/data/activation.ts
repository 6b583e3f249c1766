// A recipe's plan, and its way into the controllers: one activation at a time, from the press on the button to what came
// of it, through lost answers, a lost link and a reload. What may have been written is never told as failed or as done.
import { Problem, request } from "./api";
import type { Answer } from "./api";
import { count, fields, parse, rows as rowsOf } from "./json";
import type { Json, JsonObject } from "./json";
import { session } from "./session";
import type { Row } from "./shapes";
import { Store } from "./store";

export interface Plan {
    id: string;
    recipe: string;
    rows: Row[];
    /** When it was asked for, by this machine's clock. */
    made: number;
}

/** How long a plan is good, counted from before it was made: the service's own end of it is later. */
export const planLife = 5 * 60_000;

export async function makePlan(recipe: string, signal: AbortSignal): Promise<Plan> {
    const made = Date.now();
    const answer = await request("POST", "/plans", { text: JSON.stringify({ recipe }), signal });
    const members = parse(answer.text) as JsonObject;
    return { id: members.get("id") as string, recipe, rows: rowsOf<Row>(members.get("rows")), made };
}

// What is kept through a reload: enough to ask again, and only by who has asked.
interface Request {
    recipe: string;
    user: string;
    key: string;
    body: string;
    pressed: number;
    size: number;
    id?: number;
}

export interface Outcome {
    /** The number of its record, where there is one. */
    id: number | undefined;
    outcome: string;
    text: string;
    rows: Row[];
    /** Whether there is a record of it, which says nothing of the controllers. */
    isRemembered: boolean;
    isVerified: boolean;
}

export type Stage =
    /** On its way; nothing was answered yet. */
    | { name: "sent" }
    /** The answer was lost, and it is asked for again. */
    | { name: "unknown" }
    /** A total of 0 is one that isn't known. */
    | { name: "running"; done: number; total: number; isCancelling: boolean; isHeard: boolean }
    | { name: "ended"; outcome: Outcome }
    /** Nothing was written, and why. */
    | { name: "refused"; problem: Problem }
    /** What came of it can't be found out. */
    | { name: "lost"; text: string };

export interface Attempt {
    recipe: string;
    id: number | undefined;
    size: number;
    stage: Stage;
}

export const attempt = new Store<Attempt | undefined>(undefined);

export function isUnderWay(made: Attempt | undefined): boolean {
    return made !== undefined && ["sent", "unknown", "running"].includes(made.stage.name);
}

const storageKey = "ravik.activation";
const pace = 300;
/** An answer that takes longer is asked for again; the service begins to write within it, unless devices are slow. */
const patience = 10_000;
/** So long after the press the request may still begin to write. Later nobody expects it: it is only asked after. */
const fresh = 15_000;

let current: Request | undefined;

session.follow(() => {
    if (session.value?.user !== current?.user) {
        current = undefined;
        attempt.set(undefined);
    }
});

/** Writes what the plan says. */
export function activate(plan: Plan, size: number, note: string, verify: boolean): void {
    if (isUnderWay(attempt.value)) {
        return;
    }
    const { recipe, id } = plan;
    const body = JSON.stringify({ recipe, plan: id, ...(note && { note }), ...(!verify && { verify }) });
    const made = { recipe, user: session.value?.user ?? "", key: newKey(), body, pressed: Date.now(), size };
    keep(made);
    void pursue(made, { name: "sent" }, 0);
}

/** Goes on with the activation that was under way, or whose outcome was shown, when the page was loaded anew. */
export function resume(): void {
    const kept = sessionStorage.getItem(storageKey);
    const made = kept ? (JSON.parse(kept) as Request) : undefined;
    if (made && !current && made.user === session.value?.user) {
        void pursue(made, { name: "unknown" }, 1);
    }
}

/** What was not tried yet is not written. What is under way to a device is waited for. */
export async function cancel(): Promise<void> {
    const asked = current;
    if (asked?.id === undefined) {
        return;
    }
    try {
        await request("DELETE", `/activations/${asked.id}`);
    } catch (error) {
        // It has ended meanwhile, and the outcome follows.
        if (!(error instanceof Problem && error.status === 409)) {
            throw error;
        }
    }
    const stage = ongoing();
    if (asked === current && stage) {
        show(asked, { ...stage, isCancelling: true });
    }
}

/** The recipe's outcome was seen. What is under way stays. */
export function forget(recipe: string): void {
    if (attempt.value?.recipe === recipe && !isUnderWay(attempt.value)) {
        current = undefined;
        sessionStorage.removeItem(storageKey);
        attempt.set(undefined);
    }
}

function keep(made: Request): void {
    current = made;
    sessionStorage.setItem(storageKey, JSON.stringify(made));
}

function show(made: Request, stage: Stage): void {
    attempt.set({ recipe: made.recipe, id: made.id, size: made.size, stage });
}

/** Follows it to its end; `tries` is how often it was sent. */
async function pursue(made: Request, stage: Stage, tries: number): Promise<void> {
    current = made;
    show(made, stage);
    while (current === made) {
        const next = made.id === undefined ? await sendAnd(made, tries++) : await look(made);
        if (current !== made) {
            return;
        }
        show(made, next.stage);
        if (!isUnderWay(attempt.value)) {
            settle(next.stage);
            return;
        }
        await new Promise((resolve) => setTimeout(resolve, next.pause));
    }
}

/** Where there is no record, asking once more would find nothing. */
function settle(stage: Stage): void {
    if (stage.name !== "ended" || stage.outcome.id === undefined) {
        sessionStorage.removeItem(storageKey);
    }
}

interface Next {
    stage: Stage;
    pause: number;
}

/** Sends the request, or asks what came of it, under the same key: it is carried out once. */
async function sendAnd(made: Request, tries: number): Promise<Next> {
    try {
        if (tries > 0 && Date.now() - made.pressed > fresh && !(await isKnown(made))) {
            return ended({
                name: "lost",
                text: "The service has no record of it: it did not arrive, or could not be remembered.",
            });
        }
        const answer = await post(made, made.body);
        if (answer.status === 202) {
            made.id = count((parse(answer.text) as JsonObject).get("id"));
            keep(made);
            return running(0, made.size);
        }
        return ended({ name: "ended", outcome: outcomeOf(parse(answer.text) as JsonObject, made, true) });
    } catch (error) {
        return afterFailure(made, error, tries);
    }
}

function post(made: Request, body: string): Promise<Answer> {
    const headers = { "Idempotency-Key": made.key, Prefer: "respond-async" };
    return request("POST", "/activations", { text: body, headers, signal: AbortSignal.timeout(patience) });
}

/**
 * Whether the service knows the key, asked with a request that can write nothing: it names no plan that there is. Of a
 * key that stands for the true one it is told so before the plan is looked for.
 */
async function isKnown(made: Request): Promise<boolean> {
    try {
        await post(made, JSON.stringify({ recipe: made.recipe, plan: "none" }));
    } catch (error) {
        if (error instanceof Problem && error.code === "PLAN_EXPIRED") {
            return false;
        }
        if (!(error instanceof Problem && error.code === "IDEMPOTENCY_KEY_REUSED")) {
            throw error;
        }
    }
    return true;
}

function afterFailure(made: Request, error: unknown, tries: number): Next {
    // An answer without a code is not the service's own, but such as a proxy's.
    if (!(error instanceof Problem) || error.code === "" || error.status === 0) {
        return { stage: { name: "unknown" }, pause: slower(tries) };
    }
    if (error.members.get("rows")) {
        return ended({ name: "ended", outcome: outcomeOf(error.members, made, error.status !== 507) });
    }
    if (error.status === 401) {
        // Who signs in again goes on with it.
        current = undefined;
        return { stage: { name: "unknown" }, pause: 0 };
    }
    if (error.code === "STILL_RUNNING") {
        const id = count(error.members.get("id"));
        if (id > 0) {
            made.id = id;
            keep(made);
        }
        return running(0, 0, slower(tries));
    }
    if (tries > 0 && (error.status === 429 || error.status === 503)) {
        return { stage: { name: "unknown" }, pause: 1000 * Math.max(1, error.retryAfter) };
    }
    // Of the first request it is certain that nothing came of it; of one whose answer was lost it isn't.
    const isCertain = tries === 0 && error.status !== 500;
    return ended(isCertain ? { name: "refused", problem: error } : { name: "lost", text: error.message });
}

function slower(tries: number): number {
    return Math.min(2000, 500 * (tries + 1));
}

/** How far it is. */
async function look(made: Request): Promise<Next> {
    try {
        const answer = await request("GET", `/activations/${made.id}`, { signal: AbortSignal.timeout(patience) });
        const members = parse(answer.text) as JsonObject;
        return members.get("rows")
            ? ended({ name: "ended", outcome: outcomeOf(members, made, true) })
            : running(count(members.get("done")), count(members.get("total")));
    } catch (error) {
        if (error instanceof Problem && error.status === 401) {
            current = undefined;
        }
        if (error instanceof Problem && error.code === "ENTRY_NOT_FOUND") {
            return ended({ name: "lost", text: error.message });
        }
        return { stage: { ...running(0, 0).stage, ...ongoing(), isHeard: false } as Stage, pause: 1000 };
    }
}

function ongoing(): Extract<Stage, { name: "running" }> | undefined {
    const stage = attempt.value?.stage;
    return stage?.name === "running" ? stage : undefined;
}

function running(done: number, total: number, pause = pace): Next {
    return {
        stage: { name: "running", done, total, isCancelling: ongoing()?.isCancelling ?? false, isHeard: true },
        pause,
    };
}

function ended(stage: Stage): Next {
    return { stage, pause: 0 };
}

function outcomeOf(members: JsonObject, made: Request, isRemembered: boolean): Outcome {
    const { id, outcome, text } = fields<{ id: Json; outcome: string; text: string }>(members);
    return {
        id: count(id) || undefined,
        outcome,
        text,
        rows: rowsOf<Row>(members.get("rows")),
        isRemembered,
        isVerified: (JSON.parse(made.body) as { verify?: boolean }).verify !== false,
    };
}

/** One for each press. `crypto.randomUUID` is missing on pages that are served without TLS. */
function newKey(): string {
    return [...crypto.getRandomValues(new Uint8Array(16))].map((byte) => byte.toString(16).padStart(2, "0")).join("");
}
