import { queryText } from "./api";
import { Store } from "./store";

export interface Place {
    path: string;
    query: URLSearchParams;
}

function current(): Place {
    return { path: location.pathname, query: new URLSearchParams(location.search) };
}

export const place = new Store<Place>(current());

/** Asked before a view is left; a text is the question to the user. */
let guard: (() => string) | undefined;

/** Set by a view that holds what isn't saved, until the returned function is called. */
export function guardLeaving(question: () => string): () => void {
    guard = question;
    return () => {
        guard = guard === question ? undefined : guard;
    };
}

function mayLeave(): boolean {
    const question = guard?.() ?? "";
    return question === "" || confirm(question);
}

export function go(
    path: string,
    query: Record<string, string | undefined> = {},
    how: "push" | "replace" = "push",
): void {
    const target = path + queryText(query);
    const leaves = isElsewhere(path, query["name"]);
    if (leaves && !mayLeave()) {
        return;
    }
    turn += how === "push" ? 1 : 0;
    history[how === "push" ? "pushState" : "replaceState"](turn, "", target);
    place.set(current());
    if (leaves) {
        scrollTo(0, 0);
    }
}

/** Whether another view is shown there, or the same one of something else. */
function isElsewhere(path: string, name: string | null | undefined): boolean {
    return path !== place.value.path || (name ?? "") !== (place.value.query.get("name") ?? "");
}

/** How far along the browser's history the place shown stands; each entry keeps its own as its state. */
let turn = 0;

export function startRouter(): void {
    turn = typeof history.state === "number" ? history.state : 0;
    history.replaceState(turn, "");
    addEventListener("popstate", ({ state }) => {
        const to = current();
        if (typeof state !== "number") {
            // A new entry that the browser has made, such as for a link to a part of the page.
            history.replaceState(++turn, "");
        } else if (isElsewhere(to.path, to.query.get("name")) && !mayLeave()) {
            // Whichever way it was gone.
            history.go(turn - state);
            return;
        } else {
            turn = state;
        }
        place.set(to);
    });
    addEventListener("beforeunload", (event) => {
        if (guard?.()) {
            event.preventDefault();
        }
    });
}
