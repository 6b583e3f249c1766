// The records that are shown, page by page as one scrolls, and what has been added on top since.
import { useEffect, useRef, useState } from "preact/hooks";
import { readPlain } from "./api";
import type { List } from "./api";
import { revision } from "./live";
import type { HistoryItem } from "./shapes";
import { useStore } from "./store";

export interface Filter {
    recipe?: string | undefined;
    who?: string | undefined;
    /** A date and time, in UTC. */
    since?: string | undefined;
}

export interface Records {
    items: HistoryItem[];
    isRead: boolean;
    hasMore: boolean;
    error: unknown;
    /** Asks for older ones, unless that has been done. */
    more: () => void;
    again: () => void;
}

const pageSize = "200";
const unread = { items: [] as HistoryItem[], next: undefined as string | undefined, isRead: false };

export function useRecords(filter: Filter): Records {
    const [state, setState] = useState(unread);
    const [error, setError] = useState<unknown>();
    const { history } = useStore(revision);
    const asking = useRef<AbortController | undefined>(undefined);
    const shown = useRef("");
    const ask = (cursor: string | undefined, join: (page: List<HistoryItem>) => void) => {
        asking.current?.abort();
        const abort = (asking.current = new AbortController());
        const done = () => asking.current === abort && ((asking.current = undefined), true);
        readPlain<List<HistoryItem>>("/history", { ...filter, limit: pageSize, cursor }, abort.signal).then(
            (page) => (done(), setError(undefined), join(page)),
            (reason: unknown) => done() && !abort.signal.aborted && setError(reason),
        );
    };
    const again = () =>
        ask(undefined, (page) => {
            const isOther = shown.current !== JSON.stringify(filter);
            shown.current = JSON.stringify(filter);
            setState((before) => (isOther ? first(page) : onTop(page, before)));
        });
    const more = () =>
        state.next !== undefined &&
        !asking.current &&
        ask(state.next, (page) =>
            setState(({ items }) => ({ items: [...items, ...page.items], next: page.next ?? undefined, isRead: true })),
        );
    useEffect(again, [filter.recipe, filter.who, filter.since, history]);
    useEffect(() => () => asking.current?.abort(), []);
    return { items: state.items, isRead: state.isRead, hasMore: state.next !== undefined, error, more, again };
}

function first(page: List<HistoryItem>): typeof unread {
    return { items: page.items, next: page.next ?? undefined, isRead: true };
}

/** What is new goes before what is shown, and a record that has come to its end takes its own place. */
function onTop(page: List<HistoryItem>, before: typeof unread): typeof unread {
    const last = page.items.at(-1)?.id ?? 0;
    const older = before.items.filter(({ id }) => id < last);
    const isWhole = page.next === undefined || page.next === null;
    // Where more has been added than a page holds, the rows below would no longer follow on it.
    const isGap = !isWhole && before.items.length > 0 && before.items[0]!.id < last;
    return isGap || isWhole ? first(page) : { ...before, items: [...page.items, ...older], isRead: true };
}
