import type { Checked, Difference, EntryKind, Mistake, Report, Tally } from "../data/imports";
import { Grid } from "./Grid";
import type { Column } from "./Grid";
import { Notice } from "./State";
import { counted, EntryName, Text } from "./Text";

const states: Record<Difference["state"], [sign: string, kind: string]> = {
    new: ["+", "good"],
    changed: ["≠", "warn"],
};

const columns: Column<Difference>[] = [
    {
        key: "state",
        title: "State",
        cell: ({ state }) => (
            <span class={"state " + states[state][1]}>
                <span aria-hidden="true">{states[state][0]}</span> {state}
            </span>
        ),
    },
    { key: "kind", title: "What", cell: ({ kind }) => kind },
    { key: "name", title: "Name", cell: ({ name }) => <EntryName name={name} /> },
];

/** What an import would change. */
export function Preview({ tallies, differences, report }: Checked) {
    return (
        <>
            <dl class="tallies">
                {tallies.map((tally) => (
                    <div>
                        <dt>{plural(tally.kind)}</dt>
                        <dd>
                            <strong>{tally.new}</strong> new
                        </dd>
                        {tally.kind !== "folder" && (
                            <dd>
                                <strong>{tally.changed}</strong> changed
                            </dd>
                        )}
                        <dd>
                            <strong>{tally.same}</strong> {tally.kind === "folder" ? "there already" : "the same"}
                        </dd>
                    </div>
                ))}
            </dl>
            {differences.length > 0 && (
                <Grid
                    label="What would change"
                    kind="import-changes"
                    columns={columns}
                    rows={differences}
                    keyOf={({ kind, name }) => `${kind} ${name}`}
                />
            )}
            <Besides report={report} tense="would be" />
        </>
    );
}

/** What is written and removed beside what the import itself holds, and what to look after. */
export function Besides({ report, tense }: { report: Report; tense: "would be" | "was" }) {
    const { written, removed, warnings } = report;
    return (
        <>
            {written.length > 0 && <Paths title={`Also ${tense} written`} paths={written} />}
            {removed.length > 0 && <Paths title={`Also ${tense} removed`} paths={removed} />}
            {warnings.length > 0 && (
                <Notice kind="warn">
                    <p>To be looked after:</p>
                    <ul>
                        {warnings.slice(0, most).map(({ path, text }) => (
                            <li>
                                <Text>{path}</Text>: <Text>{text}</Text>
                            </li>
                        ))}
                    </ul>
                    <More count={warnings.length} />
                </Notice>
            )}
        </>
    );
}

const most = 200;

function Paths({ title, paths }: { title: string; paths: string[] }) {
    return (
        <details class="besides">
            <summary>
                {title}: {counted(paths.length, "entry", "entries")}
            </summary>
            <ul>
                {paths.slice(0, most).map((path) => (
                    <li>
                        <EntryName name={path} />
                    </li>
                ))}
            </ul>
            <More count={paths.length} />
        </details>
    );
}

function More({ count }: { count: number }) {
    return count > most ? <p>and {count - most} more</p> : null;
}

export function Mistakes({ mistakes, count }: { mistakes: Mistake[]; count: number }) {
    return (
        <>
            <Notice kind="bad">
                <p>Nothing can be taken in: there {count === 1 ? "is a mistake" : `are ${count} mistakes`}.</p>
            </Notice>
            <ol class="mistakes">
                {mistakes.map(({ detail, line, column, before, at, after }) => (
                    <li>
                        {line > 0 && (
                            <span class="place">
                                line {line}, column {column}
                            </span>
                        )}
                        <p class="pre">
                            <Text>{detail}</Text>
                        </p>
                        {before + at + after !== "" && (
                            <code class="excerpt">
                                <bdi>
                                    {before}
                                    <mark>{at || " "}</mark>
                                    {after}
                                </bdi>
                            </code>
                        )}
                    </li>
                ))}
            </ol>
            {count > mistakes.length && <p>and {count - mistakes.length} more</p>}
        </>
    );
}

/** What an import changes in a few words, such as "12 recipes and 3 types"; empty where nothing. */
export function changedText(tallies: Tally[]): string {
    const parts = tallies
        .map((tally) => ({ kind: tally.kind, count: tally.new + tally.changed }))
        .filter(({ count }) => count > 0)
        .map(({ kind, count }) => counted(count, kind));
    const last = parts.pop() ?? "";
    return parts.length > 0 ? `${parts.join(", ")} and ${last}` : last;
}

function plural(kind: EntryKind): string {
    return { recipe: "Recipes", type: "Types", folder: "Folders" }[kind];
}
