// The rows of a recipe's table: its members, below each nested recipe that one's.
import { isSame, NumberText } from "../../data/json";
import type { Json } from "../../data/json";
import { liveValue } from "../../data/live";
import type { Book, MemberInfo, Nested } from "./book";
import type { Edits } from "./edits";

export interface ValueRow {
    key: string;
    level: number;
    member: MemberInfo;
    /** A value of a name that is no member of the type. */
    isStray: boolean;
    stored: Json | undefined;
    /** Of a member that nests a recipe: that one's rows, or why there are none. */
    below: ValueRow[] | undefined;
    problem: string;
}

export function rowsOf(
    book: Book,
    nested: Nested,
    edits: Edits,
    parent = "",
    above: readonly string[] = [],
): ValueRow[] {
    const level = above.length + 1;
    const rows: ValueRow[] = [];
    const known = new Set<string>();
    for (const member of book.members) {
        if (!known.has(member.name)) {
            known.add(member.name);
            const row = rowOf(book, member, parent, level);
            rows.push(member.nestedType === null ? row : withRowsBelow(row, nested, edits, [...above, book.name]));
        }
    }
    for (const name of book.values.keys()) {
        if (!known.has(name)) {
            rows.push({ ...rowOf(book, strayMember(name), parent, level), isStray: true });
        }
    }
    return rows;
}

function rowOf(book: Book, member: MemberInfo, parent: string, level: number): ValueRow {
    return {
        key: parent + member.name,
        level,
        member,
        isStray: false,
        stored: book.values.get(member.name),
        below: undefined,
        problem: "",
    };
}

function withRowsBelow(row: ValueRow, nested: Nested, edits: Edits, above: readonly string[]): ValueRow {
    const name = row.level === 1 ? valueOf(row, edits) : row.stored;
    if (typeof name !== "string" || name === "") {
        return row;
    }
    const book = nested.get(name);
    if (typeof book === "object" && !above.includes(book.name)) {
        return { ...row, below: rowsOf(book, nested, new Map(), row.key + "\n", above) };
    }
    const problem = typeof book === "string" ? book : book ? "It nests itself." : "";
    return { ...row, below: [], problem };
}

function strayMember(name: string): MemberInfo {
    return {
        name,
        type: "",
        symbol: null,
        domain: null,
        default: null,
        nestedType: null,
        enabled: true,
        input: {},
        isFloat: false,
    };
}

/** All rows, those below others too. */
export function flat(rows: readonly ValueRow[]): ValueRow[] {
    return rows.flatMap((row) => (row.below ? [row, ...flat(row.below)] : [row]));
}

/** Those to show: what `wants` and what it stands below, or all that isn't closed. */
export function visible(
    rows: readonly ValueRow[],
    isOpen: (row: ValueRow) => boolean,
    wants: ((row: ValueRow) => boolean) | undefined,
): ValueRow[] {
    return rows.flatMap((row) => {
        const inside = row.below && (wants || isOpen(row)) ? visible(row.below, isOpen, wants) : [];
        return !wants || inside.length > 0 || wants(row) ? [row, ...inside] : [];
    });
}

/** What is stored, or will be; undefined where the recipe has no value of its own. */
export function valueOf(row: ValueRow, edits: Edits): Json | undefined {
    const edit = row.level === 1 ? edits.get(row.member.name) : undefined;
    return edit && edit.mistake === "" ? edit.value : row.stored;
}

/** What an activation writes: without a value of its own the type's default. */
export function effective(row: ValueRow, edits: Edits): Json | undefined {
    return valueOf(row, edits) ?? row.member.default ?? undefined;
}

export type Difference = "same" | "differs" | "unknown" | "";

/** Empty where there is nothing to compare. What isn't current may be anything by now. */
export function differenceOf({ member }: ValueRow, value: Json | undefined): Difference {
    if (!member.symbol || !member.enabled || value === undefined || value === null) {
        return "";
    }
    const live = liveValue(member.symbol, member.domain ?? "");
    return !live?.isCurrent ? "unknown" : agree(value, live.value, member) ? "same" : "differs";
}

const whole = /^-?\d+$/;

interface Width {
    /** Whether the controller keeps 32 bits of it. */
    isFloat: boolean;
    tolerance?: Json;
}

/** As the service judges it: numbers by what they are worth in the controller's width, all else exactly. */
export function agree(stored: Json, live: Json, width: Width): boolean {
    if (stored instanceof NumberText && live instanceof NumberText) {
        return stored.text === live.text || areNear(stored.text, live.text, width);
    }
    return isSame(stored, live);
}

function areNear(one: string, other: string, { isFloat, tolerance }: Width): boolean {
    const off = tolerance instanceof NumberText ? Number(tolerance.text) : 0;
    if (off === 0 && whole.test(one) && whole.test(other)) {
        return BigInt(one) === BigInt(other);
    }
    const [left, right] = isFloat
        ? [Math.fround(Number(one)), Math.fround(Number(other))]
        : [Number(one), Number(other)];
    return left === right || Math.abs(left - right) <= Math.max(off, isFloat ? 2 ** -23 : Number.EPSILON);
}

export interface Counts {
    differs: number;
    unknown: number;
    same: number;
}

export function countsOf(rows: readonly ValueRow[], edits: Edits): Counts {
    const counts: Counts = { differs: 0, unknown: 0, same: 0 };
    for (const row of rows) {
        const difference = differenceOf(row, effective(row, edits));
        if (difference) {
            counts[difference]++;
        }
    }
    return counts;
}
