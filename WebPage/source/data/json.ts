// JSON that leaves as it came. JSON.parse makes 3.0 a 3 and rounds 9007199254740993, and an object of its making puts
// members named "2" and "1" in another order. Here a number is its source text and an object is a Map.

export class NumberText {
    constructor(readonly text: string) {}
}

/** Text that is sent as it stands: what somebody typed as JSON and `parse` has accepted. */
export class RawText {
    constructor(readonly text: string) {}
}

export type JsonObject = Map<string, Json>;
export type Json = null | boolean | string | NumberText | RawText | Json[] | JsonObject;

const number = /-?(?:0|[1-9]\d*)(?:\.\d+)?(?:[eE][+-]?\d+)?/y;
const blank = /[ \t\n\r]*/y;
const plainString = /"[^"\\\u0000-\u001f]*"/y;
const anyString = /"(?:[^"\\\u0000-\u001f]|\\.)*"/y;
/** Deeper than anything that is configured, and shallow enough for the stack. */
const deepest = 200;

/** Throws SyntaxError. */
export function parse(text: string): Json {
    const reader = new Reader(text);
    const value = reader.value(0);
    reader.end();
    return value;
}

class Reader {
    private at = 0;

    constructor(private readonly text: string) {}

    value(depth: number): Json {
        this.skip(blank);
        switch (this.text[this.at]) {
            case "{":
                return this.object(depth);
            case "[":
                return this.array(depth);
            case '"':
                return this.string();
            case "t":
                return this.word("true", true);
            case "f":
                return this.word("false", false);
            case "n":
                return this.word("null", null);
            default:
                return new NumberText(this.skip(number) || this.fail());
        }
    }

    end(): void {
        this.skip(blank);
        if (this.at < this.text.length) {
            this.fail();
        }
    }

    private object(depth: number): JsonObject {
        const map: JsonObject = new Map();
        this.list(depth, "}", () => {
            this.skip(blank);
            const name = this.string();
            this.expect(":");
            map.set(name, this.value(depth + 1));
        });
        return map;
    }

    private array(depth: number): Json[] {
        const items: Json[] = [];
        this.list(depth, "]", () => items.push(this.value(depth + 1)));
        return items;
    }

    private list(depth: number, end: string, item: () => void): void {
        if (depth >= deepest) {
            throw new SyntaxError("nested too deeply");
        }
        this.at++;
        this.skip(blank);
        if (this.text[this.at] === end) {
            this.at++;
            return;
        }
        for (;;) {
            item();
            this.skip(blank);
            if (this.text[this.at] === end) {
                this.at++;
                return;
            }
            this.expect(",");
        }
    }

    private string(): string {
        const plain = this.skip(plainString);
        return plain ? plain.slice(1, -1) : (JSON.parse(this.skip(anyString) || this.fail()) as string);
    }

    private word<T>(word: string, value: T): T {
        return this.text.startsWith(word, this.at) ? ((this.at += word.length), value) : this.fail();
    }

    private expect(sign: string): void {
        this.skip(blank);
        if (this.text[this.at] !== sign) {
            this.fail();
        }
        this.at++;
    }

    private skip(pattern: RegExp): string {
        pattern.lastIndex = this.at;
        const found = pattern.exec(this.text)?.[0] ?? "";
        this.at += found.length;
        return found;
    }

    private fail(): never {
        const before = this.text.slice(0, this.at).split("\n");
        throw new SyntaxError(`not JSON at line ${before.length}, column ${(before.at(-1)?.length ?? 0) + 1}`);
    }
}

/** With an indentation, such as two blanks, each member stands on a line of its own. */
export function write(value: Json, indentation = "", margin = "\n"): string {
    if (value instanceof NumberText || value instanceof RawText) {
        return value.text;
    }
    if (!(value instanceof Map) && !Array.isArray(value)) {
        return JSON.stringify(value);
    }
    const inner = margin + indentation;
    const items =
        value instanceof Map
            ? [...value].map(
                  ([name, member]) =>
                      JSON.stringify(name) + (indentation ? ": " : ":") + write(member, indentation, inner),
              )
            : value.map((item) => write(item, indentation, inner));
    const [open, close] = value instanceof Map ? "{}" : "[]";
    const isOneLine = !indentation || items.length === 0;
    return isOneLine ? open + items.join(",") + close : open + inner + items.join("," + inner) + margin + close;
}

export function isSame(one: Json, other: Json): boolean {
    return write(one) === write(other);
}

/** What a value is to a reader: texts without quotes, all else as JSON. */
export function shown(value: Json | undefined): string {
    return value === undefined || value === null ? "" : typeof value === "string" ? value : write(value);
}

/** An object of the API's own, with member names that are known: its members, each still as `parse` returned it. */
export function fields<T>(value: Json | undefined): T {
    return (value instanceof Map ? Object.fromEntries(value) : {}) as T;
}

/** The objects of a list of the API's own. */
export function rows<T>(value: Json | undefined): T[] {
    return Array.isArray(value) ? value.map((item) => fields<T>(item)) : [];
}

export function count(value: Json | undefined): number {
    return value instanceof NumberText ? Number(value.text) : 0;
}
