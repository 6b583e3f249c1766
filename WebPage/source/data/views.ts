// The views, each read when it is first gone to: who works with one waits for no other.
import type { JSX } from "preact";
import { useEffect, useState } from "preact/hooks";

type View = () => JSX.Element | null;

const readers: Record<string, () => Promise<View>> = {
    "/operator": () => import("../views/Operator").then(({ Operator }) => Operator),
    "/recipes": () => import("../views/Recipes").then(({ Recipes }) => Recipes),
    "/recipe": () => import("../views/Recipe").then(({ Recipe }) => Recipe),
    "/plan": () => import("../views/Plan").then(({ Plan }) => Plan),
    "/active": () => import("../views/Active").then(({ Active }) => Active),
    "/symbols": () => import("../views/Symbols").then(({ Symbols }) => Symbols),
    "/types": () => import("../views/Types").then(({ Types }) => Types),
    "/type": () => import("../views/Type").then(({ Type }) => Type),
    "/import": () => import("../views/Import").then(({ Import }) => Import),
    "/history": () => import("../views/History").then(({ History }) => History),
    "/record": () => import("../views/Record").then(({ Record }) => Record),
    "/check": () => import("../views/Check").then(({ Check }) => Check),
    "/users": () => import("../views/Users").then(({ Users }) => Users),
};
const read = new Map<string, View>();

interface ViewState {
    /** Undefined until it is read. */
    Shown: View | undefined;
    error: Error | undefined;
    again: () => void;
}

/** The view at a path. A failed attempt to read one is not tried again by browsers, so `again` begins anew. */
export function useView(path: string): ViewState {
    const [failed, setFailed] = useState("");
    const [, setRead] = useState("");
    useEffect(() => {
        const reader = readers[path];
        if (reader && !read.has(path)) {
            reader().then(
                (view) => {
                    read.set(path, view);
                    setRead(path);
                },
                () => setFailed(path),
            );
        }
    }, [path]);
    const error =
        failed === path
            ? new Error("This view can't be read. The service can't be reached, or has been renewed.")
            : undefined;
    return { Shown: read.get(path), error, again: () => location.reload() };
}
