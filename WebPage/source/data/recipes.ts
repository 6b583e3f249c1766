// The names of all recipes and types, kept while the page is open and asked for again when the configuration changes.
import { errorText, Problem, readList } from "./api";
import { link, revision } from "./live";
import { session } from "./session";
import type { RecipeItem, TypeItem } from "./shapes";
import { Store } from "./store";

export interface Listed<T> {
    items: T[];
    isRead: boolean;
    error: string;
}

const unread = { items: [], isRead: false, error: "" };
/** Between two readings: with many edits a second the list follows at its own pace. */
const pause = 1000;

class KeptList<T> {
    readonly store = new Store<Listed<T>>(unread);
    users = 0;
    isStale = true;
    /** Of the configuration that the list is of. */
    revision = "";
    private isReading = false;

    constructor(private readonly path: string) {}

    /** While a reading is under way one more follows it, which sees what the first may have missed. */
    readonly read = async (): Promise<void> => {
        this.isStale = true;
        if (this.isReading) {
            return;
        }
        this.isReading = true;
        while (this.isStale) {
            this.isStale = false;
            await this.readOnce();
            await new Promise((done) => setTimeout(done, pause));
        }
        this.isReading = false;
    };

    private async readOnce(): Promise<void> {
        const items: T[] = [];
        try {
            await readList<T>(this.path, {}, (page, revision) => {
                this.revision = items.length === 0 ? revision : this.revision;
                items.push(...page);
                // The first page is shown at once; later ones don't make what stood there before shorter.
                if (!this.store.value.isRead) {
                    this.store.set({ items: [...items], isRead: false, error: "" });
                }
            });
            this.store.set({ items, isRead: true, error: "" });
        } catch (error) {
            // The entry at the end of a page may go before the next one is asked for; and what fails with the link
            // may be told only when that is back.
            const status = error instanceof Problem ? error.status : undefined;
            this.isStale ||= status === 410 || (status === 0 && link.value.isOpen);
            this.store.set({ ...this.store.value, error: this.isStale ? "" : errorText(error) });
        }
    }
}

const recipeList = new KeptList<RecipeItem>("/recipes");
const typeList = new KeptList<TypeItem>("/types");
const lists = [recipeList, typeList];

export const recipes = recipeList.store;
export const types = typeList.store;
export const readRecipes = recipeList.read;
export const readTypes = typeList.read;

export function startLists(): void {
    revision.follow(() => {
        lists.forEach((list) => (list.isStale ||= list.revision !== revision.value.configuration));
        readStale();
    });
    link.follow(() => {
        lists.forEach((list) => (list.isStale ||= link.value.isOpen && list.store.value.error !== ""));
        readStale();
    });
    document.addEventListener("visibilitychange", readStale);
    session.follow(() =>
        lists.forEach((list) => {
            list.isStale = true;
            list.store.set(unread);
        }),
    );
}

/** What nobody looks at is left until somebody does. */
function readStale(): void {
    for (const { isStale, users, read } of lists) {
        if (isStale && users > 0 && !document.hidden) {
            void read();
        }
    }
}

/** Has the list read now where it wasn't, and whenever it changes until the returned function is called. */
export function want(read: () => Promise<void>, store: { value: { error: string } }): () => void {
    const list = lists.find((each) => each.read === read)!;
    list.users++;
    if (list.isStale || store.value.error) {
        void read();
    }
    return () => void list.users--;
}
