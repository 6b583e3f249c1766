import { useEffect, useState } from "preact/hooks";
import { Problem } from "../data/api";
import { check, isOutdated, mistakesOf, readRevision, take } from "../data/imports";
import type { Checked, Mistake, Report, Source } from "../data/imports";
import { revision } from "../data/live";
import { readTypes, types, want } from "../data/recipes";
import { may } from "../data/session";
import { Store, useStore } from "../data/store";
import { Export, tableName } from "../parts/Export";
import { Besides, changedText, Mistakes, Preview } from "../parts/ImportReport";
import { ImportSource } from "../parts/ImportSource";
import { Head } from "../parts/Shell";
import { Failure, Notice } from "../parts/State";
import { say } from "../parts/status";
import { Link, Text } from "../parts/Text";

type Stage =
    | { is: "checking" }
    | { is: "checked"; checked: Checked }
    | { is: "wrong"; mistakes: Mistake[]; count: number }
    | { is: "failed"; error: unknown };

export function Import() {
    const [source, setSource] = useState<Source>();
    const [done, setDone] = useState<{ text: string; report: Report }>();
    useEffect(() => want(readTypes, types as Store<never>), []);
    const begin = (chosen: Source) => {
        setDone(undefined);
        setSource(chosen);
    };
    const end = (text: string, report: Report) => {
        say(`Imported ${text}.`);
        setSource(undefined);
        setDone({ text, report });
    };
    return (
        <section class="view import">
            <Head title="Import and export" />
            {may("edit") && (
                <section class="card" aria-labelledby="import">
                    <h2 id="import">Import</h2>
                    {done && (
                        <Notice kind="good">
                            <p>
                                Imported {done.text}. <Link to="/recipes">To the recipes</Link> ·{" "}
                                <Link to="/history">To the history</Link>
                            </p>
                            <Besides report={done.report} tense="was" />
                        </Notice>
                    )}
                    {source ? (
                        <Chosen key={source} source={source} onOther={() => setSource(undefined)} onDone={end} />
                    ) : (
                        <ImportSource onSource={begin} />
                    )}
                </section>
            )}
            <Export />
        </section>
    );
}

interface ChosenProps {
    source: Source;
    onOther: () => void;
    onDone: (text: string, report: Report) => void;
}

function Chosen({ source, onOther, onDone }: ChosenProps) {
    const { items } = useStore(types);
    const [type, setType] = useState(() => items.find(({ name }) => tableName(name) === source.name)?.name ?? "");
    const { stage, isMoved, again, follow } = useCheck(source, type);
    return (
        <>
            <div class="source">
                <p>
                    <strong>
                        <Text>{source.name}</Text>
                    </strong>{" "}
                    <span class="quiet-text">
                        {source.isTable ? "table" : "JSON"}, {sizeText(source.blob.size)}
                    </span>
                </p>
                <button type="button" onClick={onOther}>
                    Another one
                </button>
            </div>
            {source.isTable && (
                <label>
                    Type of the recipes in the table
                    <select value={type} onChange={(event) => setType(event.currentTarget.value)}>
                        <option value="">Choose a type</option>
                        {items
                            .filter(({ kind }) => kind === "type")
                            .map(({ name }) => (
                                <option value={name}>{name}</option>
                            ))}
                    </select>
                </label>
            )}
            {isMoved && stage?.is === "checked" && (
                <Notice kind="warn">
                    <p>The configuration has changed meanwhile. This is what the import would change now.</p>
                </Notice>
            )}
            {stage?.is === "checking" && (
                <p class="loading" role="status">
                    Checking {source.name} …
                </p>
            )}
            {stage?.is === "checked" && <Take {...{ source, type, follow, onDone }} checked={stage.checked} />}
            {stage?.is === "wrong" && <Mistakes mistakes={stage.mistakes} count={stage.count} />}
            {stage?.is === "failed" && <Refused error={stage.error} retry={again} />}
        </>
    );
}

interface Check {
    stage: Stage | undefined;
    /** Whether the configuration has changed since the first look. */
    isMoved: boolean;
    again: () => void;
    /** Looks anew since the configuration has changed. */
    follow: () => void;
}

/** Checks the source at once, and anew whenever the configuration has changed. */
function useCheck(source: Source, type: string): Check {
    const [stage, setStage] = useState<Stage>();
    const [turn, setTurn] = useState(0);
    const [isMoved, setIsMoved] = useState(false);
    const { configuration } = useStore(revision);
    useEffect(() => {
        if (source.isTable && type === "") {
            setStage(undefined);
            return undefined;
        }
        const abort = new AbortController();
        setStage({ is: "checking" });
        void stageOf(source, type, abort.signal).then((next) => abort.signal.aborted || setStage(next));
        return () => abort.abort();
    }, [source, type, turn]);
    const again = () => setTurn((before) => before + 1);
    const follow = () => {
        setIsMoved(true);
        again();
    };
    useEffect(() => {
        if (stage?.is === "checked") {
            const { checked } = stage;
            readRevision().then(
                (now) => now !== checked.revision && follow(),
                () => {},
            );
        }
    }, [configuration]);
    return { stage, isMoved, again, follow };
}

async function stageOf(source: Source, type: string, signal: AbortSignal): Promise<Stage> {
    try {
        return { is: "checked", checked: await check(source, type, signal) };
    } catch (error) {
        const hasMistakes = error instanceof Problem && error.errors.length > 0;
        return hasMistakes
            ? { is: "wrong", mistakes: await mistakesOf(error, source), count: error.errors.length }
            : { is: "failed", error };
    }
}

interface TakeProps extends Omit<ChosenProps, "onOther"> {
    type: string;
    checked: Checked;
    follow: () => void;
}

function Take({ source, type, checked, follow, onDone }: TakeProps) {
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const what = changedText(checked.tallies);
    const submit = async (event: SubmitEvent) => {
        event.preventDefault();
        const note = String(new FormData(event.target as HTMLFormElement).get("note") ?? "");
        setIsBusy(true);
        setError(undefined);
        try {
            onDone(what, await take(source, type, checked, note));
        } catch (reason) {
            setIsBusy(false);
            isOutdated(reason) ? follow() : setError(reason);
        }
    };
    return (
        <>
            <Preview {...checked} />
            {what === "" ? (
                <Notice kind="info">
                    <p>Nothing would change: all of it stands there already.</p>
                </Notice>
            ) : (
                <form class="take" onSubmit={submit}>
                    <label>
                        Note for the history
                        <input name="note" maxLength={500} autocomplete="off" />
                    </label>
                    <button type="submit" class="primary" disabled={isBusy}>
                        {isBusy ? "Importing …" : `Import ${what}`}
                    </button>
                </form>
            )}
            {error !== undefined && <Refused error={error} />}
        </>
    );
}

const advice: Record<number, string> = {
    413: "It is too long for one import. Split it, and import the parts one after the other.",
    429: "One import runs at a time. Try again in a moment.",
    507: "Nothing was taken in.",
};

function Refused({ error, retry }: { error: unknown; retry?: () => void }) {
    const text = error instanceof Problem ? advice[error.status] : undefined;
    return (
        <>
            {retry ? <Failure error={error} retry={retry} /> : <Failure error={error} />}
            {text && <p>{text}</p>}
        </>
    );
}

function sizeText(bytes: number): string {
    return bytes < 1024
        ? `${bytes} bytes`
        : bytes < 1048576
          ? `${Math.round(bytes / 1024)} KiB`
          : `${(bytes / 1048576).toFixed(1)} MiB`;
}
