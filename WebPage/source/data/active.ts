// The recipes that stand in the controllers. To tell them takes a reading of the devices, so it is done when there is a
// reason, and not by a clock: requests of an idle page would keep its session alive for ever.
import { errorText, readEntry, readExact, readPlain } from "./api";
import { rows } from "./json";
import { isSilentDomain, link, onNews, revision, watch } from "./live";
import { session } from "./session";
import type { Active, Member } from "./shapes";
import { Store } from "./store";

export interface ActiveState extends Active {
    /** When it was answered, in milliseconds of Date.now(); 0 before the first answer. */
    asked: number;
    isAsking: boolean;
    /** False where it may be otherwise by now. */
    isKnown: boolean;
    error: string;
}

export const active = new Store<ActiveState>({
    active: [],
    unread: [],
    asked: 0,
    isAsking: false,
    isKnown: false,
    error: "",
});

const enough = 15_000;
let isWanted = false;

/** Of each domain that something active stands in, a symbol that is watched to notice when it no longer answers. */
const watched = new Map<string, string>();
const looked = new Set<string>();
const mostLooked = 50;

export function startActive(): void {
    session.follow(refreshActive);
    let seen = "";
    revision.follow(() => {
        const { activity, configuration } = revision.value;
        if (seen !== activity + " " + configuration) {
            seen = activity + " " + configuration;
            refreshActive();
        }
    });
    let standing = "";
    onNews(() => {
        const silent = [...watched].filter(([domain, symbol]) => isSilentDomain(symbol, domain));
        const now = [link.value.isOpen, ...silent].join("\n");
        if (now !== standing) {
            standing = now;
            active.set({ ...active.value, isKnown: false });
            refreshActive();
        }
    });
    active.follow(watchDomains);
    // Somebody is there: what another panel or the machine itself has done meanwhile is looked up.
    for (const sign of ["pointerdown", "keydown", "visibilitychange"]) {
        document.addEventListener(sign, () => isOld() && refreshActive(), { passive: true });
    }
}

function isOld(): boolean {
    return !active.value.isKnown || Date.now() - active.value.asked > enough;
}

/** Asks once more behind a question that is under way, which may have missed what has just changed. */
export async function refreshActive(): Promise<void> {
    if (!session.value || document.hidden) {
        return;
    }
    if (active.value.isAsking) {
        isWanted = true;
        return;
    }
    active.set({ ...active.value, isAsking: true });
    try {
        const answer = await readPlain<Active>("/active");
        // What was activated last comes first; what stands as a part of it has no record of its own.
        const sorted = answer.active.sort((one, other) => (other.since ?? "").localeCompare(one.since ?? ""));
        active.set({ ...answer, active: sorted, asked: Date.now(), isAsking: false, isKnown: true, error: "" });
    } catch (error) {
        active.set({ ...active.value, isAsking: false, isKnown: false, error: errorText(error) });
    }
    if (isWanted) {
        isWanted = false;
        void refreshActive();
    }
}

async function watchDomains(): Promise<void> {
    for (const { recipe } of active.value.active.slice(0, mostLooked)) {
        if (!looked.has(recipe)) {
            looked.add(recipe);
            await watchDomainsOf(recipe).catch(() => looked.delete(recipe));
        }
    }
}

async function watchDomainsOf(recipe: string): Promise<void> {
    const { value } = await readEntry("recipe", recipe);
    const answer = await readExact("/members", { type: value.get("recipeTypeName") as string });
    for (const { symbol, domain } of rows<Member>(answer.get("members"))) {
        if (symbol && domain && !watched.has(domain)) {
            watched.set(domain, symbol);
            watch([symbol]);
        }
    }
}

export function isActive(recipe: string): boolean {
    return active.value.active.some((each) => each.recipe === recipe);
}
