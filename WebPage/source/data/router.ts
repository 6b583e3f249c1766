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
    const isElsewhere = path !== place.value.path || query["name"] !== (place.value.query.get("name") ?? undefined);
    if (isElsewhere && !mayLeave()) {
        return;
    }
    history[how === "push" ? "pushState" : "replaceState"](null, "", target);
    place.set(current());
    if (isElsewhere) {
        scrollTo(0, 0);
    }
}

export function startRouter(): void {
    let isGoingBack = false;
    addEventListener("popstate", () => {
        if (isGoingBack) {
            isGoingBack = false;
            return;
        }
        if (location.pathname + location.search !== place.value.path + search() && !mayLeave()) {
            isGoingBack = true;
            history.forward();
            return;
        }
        place.set(current());
    });
    addEventListener("beforeunload", (event) => {
        if (guard?.()) {
            event.preventDefault();
        }
    });
}

function search(): string {
    const text = place.value.query.toString();
    return text ? "?" + text : "";
}
