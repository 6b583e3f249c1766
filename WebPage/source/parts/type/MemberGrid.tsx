import { useMemo } from "preact/hooks";
import { rangeText } from "../../data/input";
import { shown } from "../../data/json";
import { types } from "../../data/recipes";
import { useStore } from "../../data/store";
import { Grid } from "../Grid";
import type { Column } from "../Grid";
import { Empty } from "../State";
import { EntryName, Link, Text, ValueText } from "../Text";
import type { MemberRow } from "./member_rows";

interface MemberGridProps {
    rows: MemberRow[];
    isFiltered: boolean;
    /** Where the members can be edited. */
    edit?: { onOpen: (name: string) => void; onMove: (name: string, by: number) => void } | undefined;
}

export function MemberGrid({ rows, isFiltered, edit }: MemberGridProps) {
    const isType = useIsType();
    const columns = [...factColumns(isType), ...(edit && !isFiltered ? [orderColumn(rows, edit.onMove)] : [])];
    return (
        <Grid
            label="Members"
            kind="members"
            columns={columns}
            rows={rows}
            keyOf={({ name, from }) => `${from}\n${name}`}
            rowClass={({ from }) => (from ? "inherited" : "")}
            {...(edit && { onOpen: (row: MemberRow) => row.from === "" && edit.onOpen(row.name) })}
            empty={
                isFiltered ? (
                    <Empty title="No member fits the search." />
                ) : (
                    <Empty title="This type has no members yet.">
                        {edit && <p>Add the first one, or choose a type to inherit from.</p>}
                    </Empty>
                )
            }
        />
    );
}

/** Whether there is such a type; true as long as that isn't known. */
function useIsType(): (name: string) => boolean {
    const { items, isRead } = useStore(types);
    const names = useMemo(() => new Set(items.filter(({ kind }) => kind === "type").map(({ name }) => name)), [items]);
    return (name) => !isRead || names.has(name);
}

const factColumns = (isType: (name: string) => boolean): Column<MemberRow>[] => [
    { key: "name", title: "Member", cell: (row) => <Name row={row} /> },
    { key: "symbol", title: "Symbol or nested type", cell: (row) => <Stands row={row} isType={isType} /> },
    {
        key: "default",
        title: "Default",
        right: true,
        cell: ({ value, input }) => <ValueText value={value} unit={input.unit} />,
    },
    {
        key: "range",
        title: "Range",
        cell: ({ input }) => (
            <span class="quiet-text">
                <bdi>{formText(input)}</bdi>
            </span>
        ),
    },
    {
        key: "enabled",
        title: "Enabled",
        cell: ({ isEnabled }) => (
            <span class={isEnabled ? "state good" : "state warn"}>
                <span aria-hidden="true">{isEnabled ? "●" : "○"}</span> {isEnabled ? "yes" : "no"}
            </span>
        ),
    },
    {
        key: "from",
        title: "From",
        cell: ({ from }) =>
            from ? (
                <Link to="/type" query={{ name: from }}>
                    <EntryName name={from} />
                </Link>
            ) : (
                <span class="quiet-text">this type</span>
            ),
    },
];

const markSigns = { "": "", new: "+ new", changed: "✎ changed", removed: "" };

function Name({ row: { name, mark, mistake, isEnabled } }: { row: MemberRow }) {
    return (
        <>
            <Text>{name}</Text>
            {!isEnabled && (
                <span class="state warn mark narrow-only">
                    <span aria-hidden="true">○</span> not enabled
                </span>
            )}
            {mark && <span class="mark">{markSigns[mark]}</span>}
            {mistake && (
                <span class="state bad mark" title={mistake}>
                    <span aria-hidden="true">✕</span> <bdi>{mistake}</bdi>
                </span>
            )}
        </>
    );
}

function Stands({
    row: { symbol, isMapped, nestedType },
    isType,
}: {
    row: MemberRow;
    isType: (name: string) => boolean;
}) {
    return (
        <>
            {symbol && <Text>{symbol}</Text>}
            {symbol && isMapped === false && <Missing what="symbol" />}
            {nestedType && (
                <>
                    <span class="quiet-text">type</span>{" "}
                    <Link to="/type" query={{ name: nestedType }}>
                        <EntryName name={nestedType} />
                    </Link>
                </>
            )}
            {nestedType && !isType(nestedType) && <Missing what="type" />}
        </>
    );
}

function Missing({ what }: { what: string }) {
    return (
        <span class="state bad mark">
            <span aria-hidden="true">✕</span> no such {what}
        </span>
    );
}

function formText(input: MemberRow["input"]): string {
    if (input.choices) {
        return input.choices.map((choice) => shown(choice)).join(", ");
    }
    return (
        rangeText(input) ||
        { boolean: "true or false", string: "text", integer: "whole number", number: "number", other: "" }[
            input.type ?? "other"
        ]
    );
}

function orderColumn(rows: MemberRow[], onMove: (name: string, by: number) => void): Column<MemberRow> {
    const own = rows.filter(({ from }) => from === "");
    const [first, last] = [own[0]?.name, own.at(-1)?.name];
    const arrow = ({ name }: MemberRow, by: number) => (
        <button
            type="button"
            class="quiet icon"
            aria-label={`Move ${name} ${by < 0 ? "up" : "down"}`}
            disabled={name === (by < 0 ? first : last)}
            onClick={() => onMove(name, by)}
        >
            {by < 0 ? "↑" : "↓"}
        </button>
    );
    return {
        key: "order",
        title: "Order",
        cell: (row) =>
            row.from === "" && (
                <>
                    {arrow(row, -1)}
                    {arrow(row, 1)}
                </>
            ),
    };
}
