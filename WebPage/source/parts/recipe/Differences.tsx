// What the service tells of the differences between a recipe and something else.
import { readExact } from "../../data/api";
import { fields, rows } from "../../data/json";
import type { Counts, Row } from "../../data/shapes";
import { Grid } from "../Grid";
import type { Column } from "../Grid";
import { Empty, State } from "../State";
import { Text, ValueText } from "../Text";

interface Comparison {
    counts: Counts;
    rows: Row[];
}

/** With another recipe, or with the "controller". */
export async function readComparison(recipe: string, other: string, signal: AbortSignal): Promise<Comparison> {
    const answer = await readExact("/comparison", { recipe, with: other }, signal);
    return { counts: fields<Counts>(answer.get("counts")), rows: rows<Row>(answer.get("rows")) };
}

interface RowTableProps {
    rows: Row[];
    columns: ["stored", "live" | "other"];
    titles: [string, string];
}

/** A row for each symbol. */
export function RowTable({ rows: listed, columns: [one, two], titles }: RowTableProps) {
    const columns: Column<Row>[] = [
        { key: "member", title: "Member", cell: ({ member }) => <Text>{member}</Text> },
        { key: "symbol", title: "Symbol", cell: ({ symbol }) => <Text>{symbol}</Text> },
        { key: "one", title: titles[0], right: true, cell: (row) => <ValueText value={row[one]} /> },
        { key: "two", title: titles[1], right: true, cell: (row) => <ValueText value={row[two]} /> },
        {
            key: "state",
            title: "Difference",
            cell: ({ state, text }) => (
                <span title={text}>
                    <State state={state} />
                </span>
            ),
        },
    ];
    return (
        <Grid
            label="Differences"
            kind="differences"
            columns={columns}
            rows={listed}
            keyOf={({ symbol, member }) => symbol + "\n" + member}
            empty={<Empty title="Nothing differs." />}
        />
    );
}
