// The table of a recipe: what is stored beside what the controllers hold, edited in place.
import type { ComponentChildren } from "preact";
import { useMemo, useState } from "preact/hooks";
import type { Json } from "../../data/json";
import { shown } from "../../data/json";
import { link, useNews, useWatch } from "../../data/live";
import { useStore } from "../../data/store";
import { Grid } from "../Grid";
import type { Column } from "../Grid";
import { Live } from "../Live";
import { State } from "../State";
import { counted, EntryName, Link, Text, ValueText } from "../Text";
import { CellEditor } from "./CellEditor";
import type { Edit, Edits } from "./edits";
import { countsOf, differenceOf, effective, flat, valueOf } from "./rows";
import type { Counts, ValueRow } from "./rows";

export interface Editing {
    edits: Edits;
    /** The key of the row whose field is open. */
    key: string;
    /** What the service found wrong, by member. */
    refused: ReadonlyMap<string, string>;
    isAllowed: boolean;
    open: (key: string) => void;
    /** The field's value; `undefined` takes the edit back. */
    set: (row: ValueRow, edit: Edit | undefined) => void;
}

interface ValueTableProps {
    rows: ValueRow[];
    /** All rows, of which `rows` are those that are shown. */
    all: ValueRow[];
    isOpen: (row: ValueRow) => boolean;
    onToggle: (row: ValueRow, isOpen: boolean) => void;
    editing: Editing;
    empty: string;
}

/** More than this are not watched all at once, but only those in sight. */
export const mostWatched = 2000;

export function ValueTable({ rows, all, isOpen, onToggle, editing, empty }: ValueTableProps) {
    const [inSight, setInSight] = useState<readonly ValueRow[]>([]);
    const symbols = useMemo(() => symbolsOf(all), [all]);
    const watched = useMemo(() => (symbols.length > mostWatched ? symbolsOf(inSight) : symbols), [symbols, inSight]);
    useWatch(watched);
    const columns = useMemo(() => columnsOf(editing), [editing]);
    const openField = (row: ValueRow) =>
        editing.isAllowed && isEditable(row) ? editing.open(row.key) : row.below && onToggle(row, !isOpen(row));
    // Where nothing is nested, nothing is indented.
    const hasNested = rows.some(({ below }) => below);
    const branch = (row: ValueRow) =>
        row.below ? { level: row.level, isExpanded: isOpen(row) } : { level: row.level };
    return (
        <Grid
            label="Values"
            kind="values"
            columns={columns}
            rows={rows}
            keyOf={(row) => row.key}
            {...(hasNested && { branch })}
            rowClass={(row) => rowClass(row, editing)}
            onEdit={openField}
            onToggle={onToggle}
            onSight={(now) => symbols.length > mostWatched && setInSight(now)}
            empty={<p class="empty">{empty}</p>}
        />
    );
}

export function symbolsOf(rows: readonly ValueRow[]): string[] {
    return [...new Set(rows.flatMap(({ member }) => member.symbol ?? []))];
}

/** What a nested recipe holds is edited there, since others may nest it too. */
function isEditable(row: ValueRow): boolean {
    return row.level === 1;
}

function rowClass(row: ValueRow, { edits, key }: Editing): string {
    const isEdited = row.level === 1 && edits.has(row.member.name);
    return [key === row.key ? "editing" : "", isEdited ? "edited" : "", row.member.enabled ? "" : "disabled"]
        .filter(Boolean)
        .join(" ");
}

function columnsOf(editing: Editing): Column<ValueRow>[] {
    return [
        { key: "member", title: "Member", cell: (row) => <Member row={row} /> },
        { key: "symbol", title: "Symbol", cell: ({ member }) => member.symbol && <Text>{member.symbol}</Text> },
        { key: "stored", title: "Stored", right: true, cell: (row) => <Stored row={row} editing={editing} /> },
        {
            key: "live",
            title: "In the controller",
            right: true,
            cell: ({ member }) =>
                member.symbol && <Live symbol={member.symbol} domain={member.domain ?? ""} unit={member.input.unit} />,
        },
        {
            key: "difference",
            title: "Difference",
            cell: (row) =>
                row.below ? (
                    <Below rows={row.below} edits={editing.edits} />
                ) : (
                    <Difference row={row} value={effective(row, editing.edits)} />
                ),
        },
    ];
}

function Member({ row: { member, isStray, problem } }: { row: ValueRow }) {
    return (
        <>
            <span class={member.nestedType === null ? "member" : "member nests"}>
                <Text>{member.name}</Text>
            </span>
            {!member.enabled && (
                <span class="badge" title="Its type has it switched off: it is not written">
                    off
                </span>
            )}
            {isStray && (
                <span class="badge warn" title="Its type has no such member: it is not written">
                    not in the type
                </span>
            )}
            {problem && (
                <span class="badge warn" title={problem}>
                    can't be read
                </span>
            )}
        </>
    );
}

function Stored({ row, editing }: { row: ValueRow; editing: Editing }) {
    const { edits, key, refused, isAllowed, open } = editing;
    const edit = row.level === 1 ? edits.get(row.member.name) : undefined;
    const mistake = edit?.mistake || (row.level === 1 && refused.get(row.member.name)) || "";
    if (key === row.key) {
        return <CellEditor key={key} row={row} edit={edit} mistake={mistake} editing={editing} />;
    }
    const canEdit = isAllowed && isEditable(row);
    const onClick = (event: MouseEvent) => {
        const isLink = event.target instanceof Element && event.target.closest("a");
        if (!isLink && !getSelection()?.toString()) {
            open(row.key);
        }
    };
    return (
        <div class={canEdit ? "stored editable" : "stored"} onClick={canEdit ? onClick : undefined}>
            {edit && (
                <span class="mark" title={`Not saved yet. Before: ${shown(row.stored) || "nothing"}`}>
                    <span aria-hidden="true">✎</span>
                    <span class="hidden">edited</span>
                </span>
            )}
            {mistake && (
                <span class="mark bad" title={mistake}>
                    <span aria-hidden="true">✕</span>
                    <span class="hidden">{mistake}</span>
                </span>
            )}
            {edit?.mistake ? <Text>{edit.text}</Text> : <StoredValue row={row} value={valueOf(row, edits)} />}
        </div>
    );
}

function StoredValue({ row: { member }, value }: { row: ValueRow; value: Json | undefined }) {
    const isNested = member.nestedType !== null && typeof value === "string";
    // An update leaves an empty name where no recipe has been chosen yet.
    const isSet = value !== undefined && value !== null && !(isNested && value === "");
    if (isNested && isSet) {
        return (
            <Link to="/recipe" query={{ name: value }}>
                <EntryName name={value} />
            </Link>
        );
    }
    if (!isSet && member.default !== null) {
        return (
            <span class="default">
                <span class="badge">default</span> <ValueText value={member.default} unit={member.input.unit} />
            </span>
        );
    }
    return isSet ? <ValueText value={value} unit={member.input.unit} /> : <span class="nothing">not set</span>;
}

function Difference({ row, value }: { row: ValueRow; value: Json | undefined }) {
    const difference = useNews(() => differenceOf(row, value), [row, value]);
    return difference === "unknown" ? <Unknown /> : difference && <State state={difference} />;
}

function Unknown({ children }: { children?: ComponentChildren }) {
    return (
        <span class="state bad" title="What the controller holds is not known now">
            <span aria-hidden="true">?</span> {children ?? "unknown"}
        </span>
    );
}

/** What is found below a row, in short. */
function Below({ rows, edits }: { rows: readonly ValueRow[]; edits: Edits }) {
    const values = useMemo(() => flat(rows), [rows]);
    const { differs, unknown, same } = useCounts(values, edits);
    return differs > 0 ? (
        <span class="state warn">
            <span aria-hidden="true">≠</span> {differs} {differs === 1 ? "differs" : "differ"}
        </span>
    ) : unknown > 0 ? (
        <Unknown>{unknown} unknown</Unknown>
    ) : (
        same > 0 && <State state="same" />
    );
}

/** Told again only when they have changed. */
export function useCounts(rows: readonly ValueRow[], edits: Edits): Counts {
    const text = useNews(() => Object.values(countsOf(rows, edits)).join(" "), [rows, edits]);
    const [differs = 0, unknown = 0, same = 0] = text.split(" ").map(Number);
    return { differs, unknown, same };
}

/** In words, for the head of the view. */
export function CountsText({ counts: { differs, unknown, same } }: { counts: Counts }) {
    const { isOpen } = useStore(link);
    return (
        <span class="counts" role="status">
            {isOpen
                ? `${counted(differs, "differs", "differ")}, ${same} same${unknown ? `, ${unknown} unknown` : ""}`
                : "Differences are not known: the link is lost."}
        </span>
    );
}
