// All symbols, kept while the page is open: names to search, and what a form has to know of each.
import { errorText, readExact, request } from "./api";
import { fields, parse, rows, write } from "./json";
import type { Json } from "./json";
import { link, liveValue } from "./live";
import { session } from "./session";
import type { Listed } from "./recipes";
import type { Input } from "./shapes";
import { Store } from "./store";

export interface SymbolItem {
    name: string;
    domain: string;
    mapping: string;
    input: Input;
}

/** Items of a page: parsing one stays far below what anybody notices. */
const pageSize = "500";
const unread: Listed<SymbolItem> = { items: [], isRead: false, error: "" };

export const symbols = new Store<Listed<SymbolItem>>(unread);

/** Most symbols have the same few forms, of which one each is kept. */
const inputs = new Map<string, Input>();
let byName: ReadonlyMap<string, SymbolItem> = new Map();
let reading: AbortController | undefined;
let isWanted = false;

/** Has the list read where it wasn't, and again whenever the service may have been started anew. */
export function wantSymbols(): void {
    if (!isWanted) {
        isWanted = true;
        let wasOpen = link.value.isOpen;
        link.follow(() => {
            if (link.value.isOpen && !wasOpen) {
                void readSymbols();
            }
            wasOpen = link.value.isOpen;
        });
        session.follow(() => symbols.set(unread));
    }
    if (!symbols.value.isRead) {
        void readSymbols();
    }
}

export async function readSymbols(): Promise<void> {
    reading?.abort();
    const { signal } = (reading = new AbortController());
    const items: SymbolItem[] = [];
    let cursor: string | undefined;
    try {
        do {
            const page = await readExact("/symbols", { limit: pageSize, cursor }, signal);
            items.push(...rows<SymbolItem>(page.get("items")).map(itemOf));
            const next = page.get("next");
            cursor = typeof next === "string" ? next : undefined;
            // The first page is shown at once; later ones don't make what stood there before shorter.
            if (!symbols.value.isRead && items.length <= Number(pageSize)) {
                symbols.set({ items: [...items], isRead: false, error: "" });
            }
        } while (cursor);
        byName = new Map(items.map((item) => [item.name, item]));
        symbols.set({ items, isRead: true, error: "" });
    } catch (error) {
        if (!signal.aborted) {
            symbols.set({ ...symbols.value, error: errorText(error) });
        }
    }
}

function itemOf({ name, domain, mapping, input }: Omit<SymbolItem, "input"> & { input?: unknown }): SymbolItem {
    return { name, domain, mapping, input: inputOf(input as Json | undefined) };
}

/** What a form has to know, as the service tells it. */
export function inputOf(told: Json | undefined): Input {
    const text = write(told ?? null);
    const known = inputs.get(text) ?? { type: "other", ...fields<Input>(told) };
    inputs.set(text, known);
    return known;
}

/** Once the list is read. */
export function symbolOf(name: string): SymbolItem | undefined {
    return byName.get(name);
}

export interface Filter {
    match: string;
    domain: string;
}

export function filteredSymbols(items: SymbolItem[], { match, domain }: Filter): SymbolItem[] {
    const text = match.toLowerCase();
    return text === "" && domain === ""
        ? items
        : items.filter((item) => (domain === "" || item.domain === domain) && item.name.toLowerCase().includes(text));
}

/** Throws Problem; returns what the service has to say besides. */
export async function writeSymbol(name: string, value: Json, note: string): Promise<string> {
    const body = new Map<string, Json>([["value", value], ...(note ? [["note", note] as const] : [])]);
    const answer = await request("PUT", "/symbol", { query: { name }, body });
    return fields<{ text?: string }>(parse(answer.text)).text ?? "";
}

/** How far the symbol's value can be believed, in a word, and why. */
export function qualityOf({ name, domain }: SymbolItem): string {
    const live = liveValue(name, domain);
    if (!live) {
        return "";
    }
    return live.isCurrent ? "good" : live.text || (link.value.isOpen ? "late" : "link lost");
}
