// The names of all recipes and types, kept while the page is open and asked for again when the configuration changes.
import { errorText, readList } from "./api";
import { revision } from "./live";
import { session } from "./session";
import type { RecipeItem, TypeItem } from "./shapes";
import { Store } from "./store";

export interface Listed<T> {
    items: T[];
    isRead: boolean;
    error: string;
}

export const recipes = new Store<Listed<RecipeItem>>({ items: [], isRead: false, error: "" });
export const types = new Store<Listed<TypeItem>>({ items: [], isRead: false, error: "" });

const wanted = new Set<() => Promise<void>>();
let seen = "";

export function startLists(): void {
    revision.follow(() => {
        if (revision.value.configuration !== seen) {
            seen = revision.value.configuration;
            wanted.forEach((read) => void read());
        }
    });
    session.follow(() => {
        recipes.set({ items: [], isRead: false, error: "" });
        types.set({ items: [], isRead: false, error: "" });
    });
}

function reader<T>(path: string, store: Store<Listed<T>>): () => Promise<void> {
    let abort: AbortController | undefined;
    return async () => {
        abort?.abort();
        const mine = (abort = new AbortController());
        const items: T[] = [];
        try {
            await readList<T>(path, {}, (page) => {
                items.push(...page);
                // The first page is shown at once; later ones don't make what stood there before shorter.
                if (!store.value.isRead) {
                    store.set({ items: [...items], isRead: false, error: "" });
                }
            }, mine.signal);
            store.set({ items, isRead: true, error: "" });
        } catch (error) {
            if (!mine.signal.aborted) {
                store.set({ ...store.value, error: errorText(error) });
            }
        }
    };
}

export const readRecipes = reader("/recipes", recipes);
export const readTypes = reader("/types", types);

/** Has the list read now where it wasn't, and from now on whenever it changes. */
export function want(read: () => Promise<void>, store: { value: { isRead: boolean } }): void {
    wanted.add(read);
    if (!store.value.isRead) {
        void read();
    }
}
