import { useEffect, useMemo, useState } from "preact/hooks";
import { useRecords } from "../data/history";
import { recipes, readRecipes, want } from "../data/recipes";
import { go, place } from "../data/router";
import type { HistoryItem } from "../data/shapes";
import { useStore } from "../data/store";
import { Grid } from "../parts/Grid";
import type { Column } from "../parts/Grid";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { Outcome } from "../parts/Outcome";
import { Text, Time, Who } from "../parts/Text";

const columns: Column<HistoryItem>[] = [
    { key: "time", title: "Time", cell: ({ time }) => <Time of={time} /> },
    { key: "action", title: "Action", cell: ({ action }) => action },
    { key: "asked", title: "Asked", cell: ({ asked }) => <Text>{asked}</Text> },
    { key: "outcome", title: "Outcome", cell: ({ outcome }) => <Outcome of={outcome} /> },
    { key: "who", title: "Who", cell: ({ who }) => <Who of={who} /> },
    { key: "note", title: "Note", cell: ({ note }) => note && <Text>{note}</Text> },
];

/** What was done, newest first. */
export function History() {
    const { query } = useStore(place);
    const value = (name: string) => query.get(name) || undefined;
    const since = value("since");
    const filter = { recipe: value("recipe"), who: whoOf(value("who")), since: since && startOf(since) };
    const { items, isRead, hasMore, error, more, again } = useRecords(filter);
    const isFiltered = Object.values(filter).some(Boolean);
    const onSight = (rows: HistoryItem[]) => rows.at(-1) === items.at(-1) && more();
    return (
        <section class="view fill">
            <Head
                title="History"
                note={
                    isRead
                        ? `${items.length}${hasMore ? " newest" : ""} ${items.length === 1 ? "record" : "records"}`
                        : " "
                }
            />
            <Filters query={query} />
            {error !== undefined && <Failure error={error} retry={again} />}
            {!isRead && error === undefined ? (
                <Loading what="the history" />
            ) : (
                <Grid
                    label="History"
                    kind="history"
                    columns={columns}
                    rows={items}
                    keyOf={({ id }) => String(id)}
                    keep="history"
                    onOpen={({ id }) => go("/record", { id: String(id) })}
                    onSight={onSight}
                    rowClass={({ outcome }) => (outcome === "done" ? "" : "troubled")}
                    empty={
                        <Empty title={isFiltered ? "No record fits." : "Nothing has been done yet."}>
                            {isFiltered && (
                                <button type="button" onClick={() => go("/history", {}, "replace")}>
                                    Show all
                                </button>
                            )}
                        </Empty>
                    }
                />
            )}
        </section>
    );
}

/** A name alone is that of a user. */
function whoOf(text: string | undefined): string | undefined {
    return text && !text.includes(":") ? "user:" + text : text;
}

/** The beginning of a day on this machine's clock. */
function startOf(day: string): string {
    const time = new Date(day + "T00:00:00");
    return Number.isNaN(time.getTime()) ? day : time.toISOString();
}

function Filters({ query }: { query: URLSearchParams }) {
    const { items } = useStore(recipes);
    useEffect(() => want(readRecipes, recipes), []);
    const value = (name: string) => query.get(name) ?? "";
    const set = (name: string, text: string) =>
        go("/history", { ...Object.fromEntries(query), [name]: text }, "replace");
    const offered = useMemo(() => namesLike(items, value("recipe")), [items, value("recipe")]);
    return (
        <div class="filters history-filters" role="search">
            <Late
                type="search"
                label="Recipe"
                placeholder="Recipe  ( / )"
                value={value("recipe")}
                list="history-recipes"
                onChange={(text) => set("recipe", text)}
            />
            <datalist id="history-recipes">
                {offered.map((name) => (
                    <option value={name} />
                ))}
            </datalist>
            <Late
                type="text"
                label="Who"
                placeholder="Who"
                value={value("who")}
                onChange={(text) => set("who", text)}
            />
            <label class="since">
                Since{" "}
                <input
                    type="date"
                    value={value("since")}
                    onChange={(event) => set("since", event.currentTarget.value)}
                />
            </label>
        </div>
    );
}

function namesLike(items: { name: string; kind: string }[], text: string): string[] {
    return items
        .filter(({ name, kind }) => kind === "recipe" && name.includes(text))
        .slice(0, 50)
        .map(({ name }) => name);
}

interface LateProps {
    type: "search" | "text";
    label: string;
    placeholder: string;
    value: string;
    list?: string;
    onChange: (text: string) => void;
}

/** A field whose text counts when nothing has been typed for a moment: names are compared as a whole. */
function Late({ type, label, placeholder, value, list, onChange }: LateProps) {
    const [text, setText] = useState(value);
    useEffect(() => setText(value), [value]);
    useEffect(() => {
        const timer = setTimeout(() => text !== value && onChange(text), 400);
        return () => clearTimeout(timer);
    }, [text]);
    return (
        <input
            type={type}
            aria-label={label}
            placeholder={placeholder}
            value={text}
            list={list}
            autocomplete="off"
            spellcheck={false}
            onInput={(event) => setText(event.currentTarget.value)}
        />
    );
}
