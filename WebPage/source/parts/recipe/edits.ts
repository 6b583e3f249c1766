// What somebody has changed and not yet saved, and how it goes together with what others saved meanwhile.
import { parse, RawText } from "../../data/json";
import type { Json, JsonObject } from "../../data/json";
import type { Typed } from "../../data/input";
import { isSameValue } from "./book";
import type { Book } from "./book";

export interface Edit {
    /** Undefined: the recipe is to have no value of its own. */
    value: Json | undefined;
    /** As it was typed. */
    text: string;
    /** Where there is one, `value` isn't meant. */
    mistake: string;
}

export type Edits = ReadonlyMap<string, Edit>;

export const leftOut: Edit = { value: undefined, text: "", mistake: "" };

export function typedEdit(typed: Typed, text: string): Edit {
    return "mistake" in typed
        ? { value: undefined, text, mistake: typed.mistake }
        : { value: plain(typed.value), text, mistake: "" };
}

function plain(value: Json): Json {
    return value instanceof RawText ? parse(value.text) : value;
}

/** `edits` with another one for the member; what is as it was stored is no edit. */
export function withEdit(edits: Edits, member: string, stored: Json | undefined, edit: Edit | undefined): Edits {
    const next = new Map(edits);
    if (!edit || (edit.mistake === "" && isSameValue(edit.value, stored))) {
        next.delete(member);
    } else {
        next.set(member, edit);
    }
    return next;
}

export interface Change {
    method: "PATCH" | "PUT";
    body: JsonObject;
}

/** What to send. A patch would mix an object with the one that stands there, so these are sent in the whole entry. */
export function changeOf(book: Book, edits: Edits): Change {
    if (![...edits.values()].some(({ value }) => value instanceof Map)) {
        const values: JsonObject = new Map([...edits].map(([member, { value }]) => [member, value ?? null]));
        return { method: "PATCH", body: new Map([["values", values]]) };
    }
    const values: JsonObject = new Map(book.values);
    for (const [member, { value }] of edits) {
        if (value === undefined) {
            values.delete(member);
        } else {
            values.set(member, value);
        }
    }
    return { method: "PUT", body: new Map(book.value).set("values", values) };
}

export interface Theirs {
    member: string;
    before: Json | undefined;
    theirs: Json | undefined;
    /** Where both have changed it to something else. */
    mine?: Edit;
}

/** What others changed between `before` and `now`; where that is what was meant here too nothing clashes. */
export function changesBetween(before: Book, now: Book, edits: Edits): Theirs[] {
    const members = new Set([...before.values.keys(), ...now.values.keys()]);
    const changes: Theirs[] = [];
    for (const member of members) {
        const change = { member, before: before.values.get(member), theirs: now.values.get(member) };
        const mine = edits.get(member);
        if (!isSameValue(change.before, change.theirs)) {
            changes.push(
                mine && (mine.mistake || !isSameValue(mine.value, change.theirs)) ? { ...change, mine } : change,
            );
        }
    }
    return changes;
}

/** My edits on top of what stands there now: without those that say the same, and those that give way to theirs. */
export function rebased(edits: Edits, now: Book, givesWay: (member: string) => boolean): Edits {
    return new Map(
        [...edits].filter(
            ([member, { value, mistake }]) =>
                !givesWay(member) && (mistake !== "" || !isSameValue(value, now.values.get(member))),
        ),
    );
}
