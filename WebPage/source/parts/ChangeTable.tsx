// What an edit changed, and what was written to controllers: one row for each place or symbol.
import type { ComponentChildren } from "preact";
import { useState } from "preact/hooks";
import { write } from "../data/json";
import type { Json } from "../data/json";
import type { Row } from "../data/shapes";
import { Dialog } from "./Dialog";
import { Grid } from "./Grid";
import type { Column } from "./Grid";
import { PathLink } from "./PathLink";
import { State } from "./State";
import { Text, ValueText } from "./Text";

export interface Place {
    domain: string;
    path: string;
    before?: Json;
    after?: Json;
}

/** A whole entry is long: in a row it is shown by its beginning. */
function Short({ value }: { value: Json | undefined }) {
    const isWhole = value instanceof Map || Array.isArray(value);
    if (value instanceof Map && value.size === 0) {
        return <span class="nothing">(empty)</span>;
    }
    return isWhole ? (
        <code>
            <Text>{write(value).slice(0, 200)}</Text>
        </code>
    ) : (
        <ValueText value={value} />
    );
}

const placeColumns: Column<Place>[] = [
    { key: "place", title: "Place", cell: ({ path }) => <PathLink path={path} /> },
    { key: "before", title: "Before", right: true, cell: ({ before }) => <Short value={before} /> },
    { key: "after", title: "After", right: true, cell: ({ after }) => <Short value={after} /> },
];

export function PlaceTable({ places }: { places: Place[] }) {
    const [shown, setShown] = useState<Place>();
    return (
        <>
            <Grid
                label="Changes"
                kind="places"
                columns={placeColumns}
                rows={places}
                keyOf={({ domain, path }) => `${domain} ${path}`}
                onOpen={setShown}
            />
            {shown && (
                <Dialog title="What was changed" onClose={() => setShown(undefined)} wide>
                    <p>
                        <PathLink path={shown.path} />
                    </p>
                    <div class="sides">
                        <Side title="Before" value={shown.before} nothing="Nothing stood there." />
                        <Side title="After" value={shown.after} nothing="Nothing stands there." />
                    </div>
                </Dialog>
            )}
        </>
    );
}

function Side({ title, value, nothing }: { title: ComponentChildren; value: Json | undefined; nothing: string }) {
    return (
        <section>
            <h3>{title}</h3>
            {value === undefined ? (
                <p class="quiet-text">{nothing}</p>
            ) : (
                <pre class="pre" tabIndex={0}>
                    {write(value, "  ")}
                </pre>
            )}
        </section>
    );
}

const rowColumns: Column<Row>[] = [
    { key: "symbol", title: "Symbol", cell: ({ symbol }) => <Text>{symbol}</Text> },
    { key: "member", title: "Member", cell: ({ member }) => <Text>{member}</Text> },
    { key: "before", title: "Before", right: true, cell: ({ before }) => <Short value={before} /> },
    { key: "value", title: "Written", right: true, cell: ({ value }) => <Short value={value} /> },
    { key: "after", title: "Read back", right: true, cell: ({ after }) => <Short value={after} /> },
    { key: "state", title: "State", cell: ({ state, text }) => <RowState state={state} text={text} /> },
];

function RowState({ state, text }: { state: string; text: string }) {
    return (
        <>
            <State state={state} />
            {text && (
                <>
                    {" "}
                    <Text>{text}</Text>
                </>
            )}
        </>
    );
}

/** Of a trial nothing has been read back yet: its rows tell what stands there now, and what would. */
const trialColumns = rowColumns
    .filter(({ key }) => key !== "after")
    .map((column) => ({ ...column, title: { before: "Now", value: "Then" }[column.key] ?? column.title }));

export function RowTable({ label, rows, isTrial }: { label: string; rows: Row[]; isTrial?: boolean }) {
    const [shown, setShown] = useState<Row>();
    const columns = isTrial ? trialColumns : rowColumns;
    return (
        <>
            <Grid
                label={label}
                kind={isTrial ? "trial" : "changes"}
                columns={columns}
                rows={rows}
                keyOf={({ symbol }) => symbol}
                onOpen={setShown}
            />
            {shown && (
                <Dialog title={shown.symbol} onClose={() => setShown(undefined)} wide>
                    <p class="pre">
                        <RowState state={shown.state} text={shown.text} />
                    </p>
                    <div class="sides">
                        {columns
                            .filter(({ right }) => right)
                            .map(({ key, title }) => (
                                <Side title={title} value={shown[key as "before"] ?? undefined} nothing="Not known." />
                            ))}
                    </div>
                </Dialog>
            )}
        </>
    );
}

/** The counts of states that are not zero, as text. */
export function countsText(counts: ReadonlyMap<string, Json>): string {
    return [...counts]
        .map(([state, number]) => `${write(number)} ${state}`)
        .filter((text) => !text.startsWith("0 "))
        .join(", ");
}
