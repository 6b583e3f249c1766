import { useMemo, useState } from "preact/hooks";
import { Problem, request } from "../data/api";
import { fields, parse, rows, write } from "../data/json";
import type { Json, JsonObject } from "../data/json";
import { link } from "../data/live";
import { may } from "../data/session";
import type { Row } from "../data/shapes";
import { useStore } from "../data/store";
import { useAnswer } from "../data/useAnswer";
import { countsText, RowTable } from "./ChangeTable";
import { Dialog } from "./Dialog";
import { Actions, Form, PathList, sayEdited } from "./EntryDialogs";
import { Failure, Loading, Notice } from "./State";
import { counted, Link } from "./Text";

interface RevertProps {
    id: string;
    /** Whether values were written to controllers. */
    isWritten: boolean;
    onClose: () => void;
}

interface Reverted {
    id?: Json;
    outcome?: string;
    counts?: JsonObject;
    rows?: Json;
    written?: Json;
    removed?: Json;
}

/** Takes back what a record tells, when a trial has shown what that does. */
export function RevertDialog({ id, isWritten, onClose }: RevertProps) {
    const [force, setForce] = useState(false);
    const [note, setNote] = useState("");
    const [isBusy, setIsBusy] = useState(false);
    const [error, setError] = useState<unknown>();
    const [outcome, setOutcome] = useState<Reverted>();
    const { isOpen } = useStore(link);
    const post = (more: object, signal?: AbortSignal) =>
        request("POST", `/history/${id}/revert`, {
            text: JSON.stringify({ ...(force && { force }), ...more }),
            ...(signal && { signal }),
        });
    const trial = useAnswer(async (signal) => parse((await post({ dryRun: true }, signal)).text), [id, force]);
    const submit = () => {
        setIsBusy(true);
        setError(undefined);
        post(note ? { note } : {}).then(
            (answer) => {
                if (isWritten) {
                    setOutcome(fields<Reverted>(parse(answer.text)));
                    return;
                }
                onClose();
                sayEdited(`Record ${id} is taken back.`, answer.text);
            },
            (reason: unknown) => {
                // Values that did not come to stand are an outcome, too.
                const hasRows = reason instanceof Problem && reason.members.has("rows");
                setError(hasRows ? undefined : reason);
                setOutcome(hasRows ? fields<Reverted>(reason.members) : undefined);
                setIsBusy(false);
            },
        );
    };
    if (outcome) {
        return (
            <Dialog title={`What came of taking back record ${id}`} onClose={onClose} wide>
                <OutcomeRows outcome={outcome} onClose={onClose} />
            </Dialog>
        );
    }
    const told = trial.answer === undefined ? undefined : fields<Reverted>(trial.answer);
    const action = told && actionOf(told, isWritten);
    return (
        <Dialog title={`Take back record ${id}`} onClose={onClose} wide={isWritten}>
            <Form onSubmit={submit}>
                {trial.error !== undefined ? (
                    <Failure error={trial.error} retry={trial.again} />
                ) : (
                    !told && <Loading what="what it would change" />
                )}
                {told &&
                    (isWritten ? (
                        <RowsToWrite told={told} force={force} onForce={setForce} />
                    ) : (
                        <PlacesToWrite told={told} />
                    ))}
                {action && (
                    <label>
                        Note
                        <input
                            value={note}
                            maxLength={1000}
                            autocomplete="off"
                            onInput={(event) => setNote(event.currentTarget.value)}
                        />
                    </label>
                )}
                {error !== undefined && <Failure error={error} />}
                {!isOpen && (
                    <Notice kind="warn">The link is lost. Nothing can be taken back until it is there again.</Notice>
                )}
                <Actions onClose={onClose}>
                    {action && (
                        <button type="submit" class="primary" disabled={isBusy || !isOpen}>
                            {isBusy ? "Taking back …" : action}
                        </button>
                    )}
                </Actions>
            </Form>
        </Dialog>
    );
}

const texts = (value: Json | undefined) => (Array.isArray(value) ? value.map(String) : []);
const toWrite = (told: Reverted) => rows<Row>(told.rows).filter(({ state }) => state === "differs");

/** What the button will do; empty where there is nothing to do. */
function actionOf(told: Reverted, isWritten: boolean): string {
    if (!isWritten) {
        const [written, removed] = [texts(told.written).length, texts(told.removed).length];
        const parts = [written > 0 && `write ${counted(written, "place")}`, removed > 0 && `remove ${removed}`]
            .filter(Boolean)
            .join(", ");
        return parts && parts[0]!.toUpperCase() + parts.slice(1);
    }
    const changes = toWrite(told);
    const domains = [...new Set(changes.map(({ domain }) => domain))];
    const names = domains.length < 2 ? domains.join() : `${domains.slice(0, -1).join(", ")} and ${domains.at(-1)}`;
    return changes.length > 0 ? `Write ${counted(changes.length, "value")} to ${names}` : "";
}

function RowsToWrite({ told, force, onForce }: { told: Reverted; force: boolean; onForce: (force: boolean) => void }) {
    const all = useMemo(() => rows<Row>(told.rows), [told.rows]);
    const stays = all.length - toWrite(told).length;
    const isForceable = all.some(({ state, value }) => state === "not written" && value !== null);
    return (
        <>
            <p>
                The controllers get back what stood in them before.{" "}
                {stays > 0 && counted(stays, "value stays as it is.", "values stay as they are.")}
            </p>
            {may("edit") && (force || isForceable) && (
                <label class="check">
                    <input type="checkbox" checked={force} onChange={(event) => onForce(event.currentTarget.checked)} />
                    Write also where something else stands by now
                </label>
            )}
            <RowTable label="To write" rows={all} isTrial />
        </>
    );
}

function PlacesToWrite({ told }: { told: Reverted }) {
    const written = texts(told.written);
    const removed = texts(told.removed);
    return (
        <>
            {written.length > 0 && (
                <>
                    <p>Gets back what stood there before:</p>
                    <PathList paths={written} />
                </>
            )}
            {removed.length > 0 && (
                <>
                    <p>Did not stand there before, and goes:</p>
                    <PathList paths={removed} />
                </>
            )}
            {written.length + removed.length === 0 && (
                <p>All stands as it did before. There is nothing to take back.</p>
            )}
        </>
    );
}

function OutcomeRows({ outcome, onClose }: { outcome: Reverted; onClose: () => void }) {
    const all = useMemo(() => rows<Row>(outcome.rows), [outcome]);
    const isDone = outcome.outcome === "done";
    const id = outcome.id === undefined || outcome.id === null ? "" : write(outcome.id);
    return (
        <div class="form">
            <Notice kind={isDone ? "good" : "bad"}>
                <p>{countsText(outcome.counts ?? new Map())}</p>
                {id && (
                    <Link to="/record" query={{ id }}>
                        Record {id}
                    </Link>
                )}
            </Notice>
            <RowTable label="Written back" rows={all} />
            <div class="actions">
                <button type="button" class="primary" onClick={onClose}>
                    Close
                </button>
            </div>
        </div>
    );
}
