// What stands behind the tabs of a recipe beside its values.
import { useState } from "preact/hooks";
import { readPlain } from "../../data/api";
import type { List } from "../../data/api";
import { revision } from "../../data/live";
import { go } from "../../data/router";
import type { HistoryItem } from "../../data/shapes";
import { useStore } from "../../data/store";
import { useAnswer } from "../../data/useAnswer";
import { Grid } from "../Grid";
import type { Column } from "../Grid";
import { PathLink } from "../PathLink";
import { Outcome } from "../Outcome";
import { Empty, Failure, Loading } from "../State";
import { Link, Text, Time, Who } from "../Text";

interface Use {
    path: string;
    kind: string;
}

export function Uses({ name }: { name: string }) {
    const { configuration } = useStore(revision);
    const { answer, error, again } = useAnswer(
        (signal) => readPlain<{ uses: Use[] }>("/uses", { recipe: name }, signal),
        [name, configuration],
    );
    if (error !== undefined || !answer) {
        return error === undefined ? <Loading what="where it is used" /> : <Failure error={error} retry={again} />;
    }
    const columns: Column<Use>[] = [
        { key: "path", title: "Used by", cell: ({ path }) => <PathLink path={path} /> },
        { key: "kind", title: "As", cell: ({ kind }) => kind },
    ];
    return (
        <Grid
            label="Where used"
            kind="uses"
            columns={columns}
            rows={answer.uses}
            keyOf={({ path, kind }) => path + "\n" + kind}
            empty={
                <Empty title="No other recipe uses it.">
                    <p>It can be renamed and deleted without a change elsewhere.</p>
                </Empty>
            }
        />
    );
}

const columnsOfHistory: Column<HistoryItem>[] = [
    {
        key: "time",
        title: "Time",
        cell: ({ id, time }) => (
            <Link to="/record" query={{ id: String(id) }}>
                <Time of={time} />
            </Link>
        ),
    },
    { key: "who", title: "Who", cell: ({ who }) => <Who of={who} /> },
    { key: "action", title: "Action", cell: ({ action }) => action },
    {
        key: "asked",
        title: "Asked",
        cell: ({ asked, note }) => (
            <>
                <Text>{asked}</Text>
                {note && (
                    <span class="quiet-text">
                        {" "}
                        <Text>{note}</Text>
                    </span>
                )}
            </>
        ),
    },
    {
        key: "outcome",
        title: "Outcome",
        cell: ({ outcome, text }) => (
            <span title={text}>
                <Outcome of={outcome} />
            </span>
        ),
    },
];
const page = 100;

export function Past({ name }: { name: string }) {
    const { history } = useStore(revision);
    const [limit, setLimit] = useState(page);
    const { answer, error, again } = useAnswer(
        (signal) => readPlain<List<HistoryItem>>("/history", { recipe: name, limit: String(limit) }, signal),
        [name, history, limit],
    );
    if (error !== undefined || !answer) {
        return error === undefined ? <Loading what="its history" /> : <Failure error={error} retry={again} />;
    }
    return (
        <>
            <Grid
                label="History"
                kind="past"
                columns={columnsOfHistory}
                rows={answer.items}
                keyOf={({ id }) => String(id)}
                onOpen={({ id }) => go("/record", { id: String(id) })}
                empty={<Empty title="Nothing has been done to it yet." />}
            />
            {answer.next && limit < 10_000 && (
                <button type="button" onClick={() => setLimit(Math.min(10_000, limit * 10))}>
                    Older ones
                </button>
            )}
        </>
    );
}
