// A type as it is edited: each function returns another entry and leaves the one that it was given as it was. What the
// page doesn't know stays, and so does the order.
import { isSame } from "./json";
import type { Json, JsonObject } from "./json";

const membersKey = "members";
const parentsKey = "recipeTypeNames";

export function membersOf(entry: JsonObject): JsonObject {
    const members = entry.get(membersKey);
    return members instanceof Map ? members : new Map();
}

export function memberOf(entry: JsonObject, name: string): JsonObject {
    const member = membersOf(entry).get(name);
    return member instanceof Map ? member : new Map();
}

export function parentsOf(entry: JsonObject): string[] {
    const names = entry.get(parentsKey);
    return Array.isArray(names) ? names.filter((name) => typeof name === "string") : [];
}

/** Whether its options keep the whole type from being written. */
export function isDisabled(entry: JsonObject): boolean {
    const options = entry.get("options");
    return options instanceof Map && options.get("enabled") === "Disabled";
}

export function withParents(entry: JsonObject, names: string[]): JsonObject {
    return entry.has(parentsKey)
        ? new Map(entry).set(parentsKey, names)
        : new Map<string, Json>([[parentsKey, names], ...entry]);
}

/** The member in its place, or behind the others where it is a new one. */
export function withMember(entry: JsonObject, name: string, member: JsonObject): JsonObject {
    return new Map(entry).set(membersKey, new Map(membersOf(entry)).set(name, member));
}

export function withoutMember(entry: JsonObject, name: string): JsonObject {
    return new Map(entry).set(membersKey, new Map([...membersOf(entry)].filter(([each]) => each !== name)));
}

/** The member `by` places further down. */
export function movedMember(entry: JsonObject, name: string, by: number): JsonObject {
    const members = [...membersOf(entry)];
    const from = members.findIndex(([each]) => each === name);
    const [member] = members.splice(from, 1);
    members.splice(Math.max(0, from + by), 0, member!);
    return new Map(entry).set(membersKey, new Map(members));
}

/** The member with `value` under `key`; with undefined, without the key. */
export function withKey(member: JsonObject, key: string, value: Json | undefined): JsonObject {
    const changed = new Map(member);
    if (value === undefined) {
        changed.delete(key);
    } else {
        changed.set(key, value);
    }
    return changed;
}

export type Mark = "" | "new" | "changed" | "removed";

/** What has become of each member of either entry. */
export function marksOf(before: JsonObject, after: JsonObject): Map<string, Mark> {
    const [old, young] = [membersOf(before), membersOf(after)];
    const names = new Set([...old.keys(), ...young.keys()]);
    return new Map([...names].map((name) => [name, markOf(old.get(name), young.get(name))]));
}

function markOf(before: Json | undefined, after: Json | undefined): Mark {
    if (before === undefined || after === undefined) {
        return before === undefined ? "new" : "removed";
    }
    return isSame(before, after) ? "" : "changed";
}

/** A part of a type that was changed by either of two. */
export interface Piece {
    /** The key of the entry, and for members the member's name. */
    key: string;
    member?: string;
    before: Json | undefined;
    theirs: Json | undefined;
    mine: Json | undefined;
    /** Both have changed it, and not to the same. */
    isContested: boolean;
}

export function piecesOf(before: JsonObject, theirs: JsonObject, mine: JsonObject): Piece[] {
    const keys = [...new Set([...before.keys(), ...theirs.keys(), ...mine.keys()])].filter((key) => key !== membersKey);
    const names = new Set([before, theirs, mine].flatMap((entry) => [...membersOf(entry).keys()]));
    const pieces = [
        ...keys.map((key) => ({ key, before: before.get(key), theirs: theirs.get(key), mine: mine.get(key) })),
        ...[...names].map((member) => ({
            key: membersKey,
            member,
            before: membersOf(before).get(member),
            theirs: membersOf(theirs).get(member),
            mine: membersOf(mine).get(member),
        })),
    ];
    return pieces
        .filter((piece) => !isEqual(piece.before, piece.theirs) || !isEqual(piece.before, piece.mine))
        .map((piece) => ({ ...piece, isContested: isContested(piece) }));
}

function isContested({ before, theirs, mine }: Pick<Piece, "before" | "theirs" | "mine">): boolean {
    return !isEqual(before, mine) && !isEqual(before, theirs) && !isEqual(theirs, mine);
}

function isEqual(one: Json | undefined, other: Json | undefined): boolean {
    return one === undefined || other === undefined ? one === other : isSame(one, other);
}

/** Theirs, with those pieces as I have them that `isMine` says. Members stand in my order, unless only theirs is new. */
export function merged(
    before: JsonObject,
    theirs: JsonObject,
    mine: JsonObject,
    isMine: (piece: Piece) => boolean,
): JsonObject {
    const entry = new Map(theirs);
    const members = new Map(membersOf(theirs));
    for (const piece of piecesOf(before, theirs, mine).filter(isMine)) {
        const into = piece.member === undefined ? entry : members;
        const key = piece.member ?? piece.key;
        if (piece.mine === undefined) {
            into.delete(key);
        } else {
            into.set(key, piece.mine);
        }
    }
    const isTheirOrder = isReordered(before, theirs) && !isReordered(before, mine);
    return entry.set(membersKey, isTheirOrder ? members : inOrderOf(membersOf(mine), members));
}

function isReordered(before: JsonObject, after: JsonObject): boolean {
    const [old, young] = [membersOf(before), membersOf(after)];
    const common = (one: JsonObject, other: JsonObject) => [...one.keys()].filter((name) => other.has(name)).join("\n");
    return common(old, young) !== common(young, old);
}

/** What has no place in that order stays behind what it stands behind. */
function inOrderOf(order: JsonObject, members: JsonObject): JsonObject {
    const names = [...order.keys()].filter((name) => members.has(name));
    let previous = "";
    for (const name of members.keys()) {
        if (!order.has(name)) {
            names.splice(names.indexOf(previous) + 1, 0, name);
        }
        previous = name;
    }
    return new Map(names.map((name) => [name, members.get(name)!]));
}
