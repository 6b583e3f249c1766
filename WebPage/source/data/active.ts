// The recipes that stand in the controllers. To tell them takes a reading of the devices, so it is done when there is a
// reason, and not by a clock: requests of an idle page would keep its session alive for ever.
import { Problem, readPlain } from "./api";
import { revision } from "./live";
import { session } from "./session";
import type { Active } from "./shapes";
import { Store } from "./store";

export interface ActiveState extends Active {
    /** When it was asked for, in milliseconds of Date.now(); 0 before the first answer. */
    asked: number;
    isAsking: boolean;
    error: string;
}

export const active = new Store<ActiveState>({ active: [], unread: [], asked: 0, isAsking: false, error: "" });

const enough = 15_000;
let isWanted = false;

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
    // Somebody is there: what another panel or the machine itself has done meanwhile is looked up.
    for (const sign of ["pointerdown", "keydown", "visibilitychange"]) {
        document.addEventListener(sign, () => Date.now() - active.value.asked > enough && refreshActive(), {
            passive: true,
        });
    }
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
        active.set({ ...answer, active: sorted, asked: Date.now(), isAsking: false, error: "" });
    } catch (error) {
        const text = error instanceof Problem ? error.message : String(error);
        active.set({ ...active.value, asked: Date.now(), isAsking: false, error: text });
    }
    if (isWanted) {
        isWanted = false;
        void refreshActive();
    }
}

export function isActive(recipe: string): boolean {
    return active.value.active.some((each) => each.recipe === recipe);
}
