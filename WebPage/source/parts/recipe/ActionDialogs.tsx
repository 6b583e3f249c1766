// What is done to a recipe as a whole, beyond what is done to any entry.
import type { ComponentChildren } from "preact";
import { useMemo, useState } from "preact/hooks";
import { request } from "../../data/api";
import { parse, rows, shown } from "../../data/json";
import type { Json, JsonObject } from "../../data/json";
import type { Row } from "../../data/shapes";
import { useAnswer } from "../../data/useAnswer";
import { Dialog } from "../Dialog";
import { Failure, Loading, Notice } from "../State";
import { say } from "../status";
import { counted, EntryName, Text } from "../Text";
import type { Book } from "./book";
import { readComparison, RowTable } from "./Differences";

interface ActionProps {
    book: Book;
    onClose: () => void;
    onDone: () => void;
}

interface TaskDialogProps {
    title: string;
    wide?: boolean;
    /** What the button says; empty where there is nothing more to do. */
    button: string;
    isOff?: boolean;
    task: () => Promise<void>;
    onClose: () => void;
    children: ComponentChildren;
}

/** A dialog with something to do, and what went wrong with that. */
function TaskDialog({ title, wide, button, isOff, task, onClose, children }: TaskDialogProps) {
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const run = () => {
        setIsBusy(true);
        setError(undefined);
        task()
            .catch(setError)
            .finally(() => setIsBusy(false));
    };
    return (
        <Dialog title={title} onClose={onClose} wide={wide === true}>
            <div class="form">
                {children}
                {error !== undefined && <Failure error={error} />}
                <div class="actions">
                    <button type="button" onClick={onClose}>
                        {button ? "Cancel" : "Close"}
                    </button>
                    {button && (
                        <button type="button" class="primary" disabled={isOff || isBusy} onClick={run}>
                            {button}
                        </button>
                    )}
                </div>
            </div>
        </Dialog>
    );
}

/** Takes the controllers' values into the recipe, when it has been shown what that changes. */
export function StoreDialog({ book, onClose, onDone }: ActionProps) {
    const { answer, error, again } = useAnswer(
        (signal) => readComparison(book.name, "controller", signal),
        [book.etag],
    );
    const own = useMemo(() => ownRows(book, answer?.rows ?? []), [book, answer]);
    const unread = own.filter(({ state }) => state === "unread");
    const values = counted(own.length, "value");
    const store = async () => {
        const text = JSON.stringify({ recipe: book.name });
        await request("POST", "/readings", { text, headers: { "If-Match": book.etag } });
        say(`${values} stored as the controllers held them.`);
        onClose();
        onDone();
    };
    return (
        <TaskDialog
            title="Store what the controllers hold"
            wide
            button={`Store ${values}`}
            isOff={own.length === 0 || unread.length > 0}
            task={store}
            onClose={onClose}
        >
            <p>
                Into <EntryName name={book.name} /> itself; recipes that it nests stay as they are.
            </p>
            {!answer && error === undefined && <Loading what="the controllers" />}
            {error !== undefined && <Failure error={error} retry={again} />}
            {answer && own.length === 0 && (
                <Notice kind="good">
                    <p>The recipe holds what the controllers hold.</p>
                </Notice>
            )}
            {unread.length > 0 && (
                <Notice kind="bad">
                    <p>{counted(unread.length, "value")} can't be read, so nothing can be stored.</p>
                </Notice>
            )}
            {own.length > 0 && (
                <RowTable rows={own} columns={["stored", "live"]} titles={["Stored now", "In the controller"]} />
            )}
        </TaskDialog>
    );
}

/** Of what an activation writes, what stands in the recipe itself. */
function ownRows(book: Book, all: Row[]): Row[] {
    const symbols = new Set(
        book.members.flatMap(({ name, symbol }) => (symbol !== null && book.values.has(name) ? symbol : [])),
    );
    return all.filter(({ symbol }) => symbols.has(symbol));
}

interface Updated {
    recipe: string;
    state: string;
    text: string;
    /** What was done to values, each in a text. */
    info: Json;
}

/** Adds what the type has and the recipe hasn't, and takes away what the type hasn't. */
export function UpdateDialog({ book, onClose, onDone }: ActionProps) {
    const [answer, setAnswer] = useState<JsonObject>();
    const update = async () => {
        const { text } = await request("POST", "/updates", { text: JSON.stringify({ recipe: book.name }) });
        setAnswer(parse(text) as JsonObject);
        onDone();
    };
    return (
        <TaskDialog
            title="Bring into line with its type"
            button={answer ? "" : "Bring into line"}
            task={update}
            onClose={onClose}
        >
            <p>
                Members that the type <Text>{book.type}</Text> has are added with their defaults; values of members that
                it doesn't have are taken away, and those of another type are reset.
            </p>
            {rows<Updated>(answer?.get("rows")).map(({ recipe, state, text, info }) => (
                <Notice kind={state === "failed" ? "bad" : "good"}>
                    <p>
                        <EntryName name={recipe} />: {state === "same" ? "it was in line already" : state}
                    </p>
                    {[text, ...(Array.isArray(info) ? info.map(shown) : [])].map(
                        (line) =>
                            line && (
                                <p>
                                    <Text>{line}</Text>
                                </p>
                            ),
                    )}
                </Notice>
            ))}
        </TaskDialog>
    );
}
