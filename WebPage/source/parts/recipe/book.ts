// A recipe with the members of its type, and those of the recipes that it nests.
import { useEffect, useRef, useState } from "preact/hooks";
import { errorText, readEntry, readExact } from "../../data/api";
import { fields, isSame } from "../../data/json";
import type { Json, JsonObject } from "../../data/json";
import { revision } from "../../data/live";
import type { Input, Member } from "../../data/shapes";
import { useStore } from "../../data/store";

export interface MemberInfo extends Omit<Member, "input"> {
    input: Input;
    /** The controller keeps it in 32 bits: the last digits of what is stored don't reach it. */
    isFloat: boolean;
}

export interface Book {
    name: string;
    etag: string;
    /** The entry as it stands. */
    value: JsonObject;
    type: string;
    values: JsonObject;
    members: MemberInfo[];
    /** Why the members aren't known. */
    typeError: string;
}

/** Throws Problem. */
export async function readBook(name: string, signal?: AbortSignal): Promise<Book> {
    const { etag, value } = await readEntry("recipe", name, signal);
    return withMembers(bookOf(name, etag, value), signal);
}

export function bookOf(name: string, etag: string, value: JsonObject): Book {
    const type = value.get("recipeTypeName");
    const values = value.get("values");
    return {
        name,
        etag,
        value,
        members: [],
        typeError: "",
        type: typeof type === "string" ? type : "",
        values: values instanceof Map ? values : new Map<string, Json>(),
    };
}

/** A recipe of a type that is missing can still be looked at. */
export async function withMembers(book: Book, signal?: AbortSignal): Promise<Book> {
    try {
        const answer = await readExact("/members", { type: book.type }, signal);
        const list = answer.get("members");
        return { ...book, members: Array.isArray(list) ? list.map(memberOf) : [] };
    } catch (error) {
        if (signal?.aborted) {
            throw error;
        }
        return { ...book, typeError: errorText(error) };
    }
}

const float = /^ravik:general#\/definitions\/REAL(32)?$/;

function memberOf(value: Json): MemberInfo {
    const member = fields<Member & { symbolSchema: Json }>(value);
    const { $ref: reference } = fields<{ $ref?: Json }>(member.symbolSchema);
    return {
        ...member,
        input: fields<Input>(member.input),
        isFloat: typeof reference === "string" && float.test(reference),
    };
}

export function isSameValue(one: Json | undefined, other: Json | undefined): boolean {
    return one === undefined || other === undefined ? one === other : isSame(one, other);
}

/** The names of the recipes that `book` nests, as far as `chosen`, which goes before what is stored, says no other. */
export function nestedNames(book: Book, chosen: (member: string) => Json | undefined = () => undefined): string[] {
    return book.members.flatMap(({ name, nestedType }) => {
        const nested = nestedType === null ? undefined : (chosen(name) ?? book.values.get(name));
        return typeof nested === "string" && nested !== "" ? [nested] : [];
    });
}

/** Or why it can't be read. */
export type Nested = ReadonlyMap<string, Book | string>;
/** So many nested recipes are read without being asked for. */
const most = 60;

/** The recipes named, and all that they nest, read again whenever the configuration changes. */
export function useNested(names: readonly string[]): Nested {
    const { configuration } = useStore(revision);
    const [books, setBooks] = useState<Nested>(new Map());
    const known = useRef({ configuration, books: new Map<string, Book | string>() });
    useEffect(() => {
        const abort = new AbortController();
        if (known.current.configuration !== configuration) {
            known.current = { configuration, books: new Map() };
        }
        void readAll(names, known.current.books, abort.signal).then((read) => read && setBooks(read));
        return () => abort.abort();
    }, [names.join("\n"), configuration]);
    return books;
}

/** Wave by wave, the recipes that were nested in those of the wave before; undefined where nobody waits any more. */
async function readAll(
    names: readonly string[],
    known: Map<string, Book | string>,
    signal: AbortSignal,
): Promise<Nested | undefined> {
    for (let wave = names; wave.length > 0;) {
        const missing = [...new Set(wave)].filter((name) => !known.has(name)).slice(0, most - known.size);
        const read = await Promise.all(
            missing.map((name) => readBook(name, signal).catch((error: unknown) => errorText(error))),
        );
        if (signal.aborted) {
            return undefined;
        }
        read.forEach((book, index) => known.set(missing[index]!, book));
        wave = read.flatMap((book) => (typeof book === "string" ? [] : nestedNames(book)));
    }
    return new Map(known);
}
