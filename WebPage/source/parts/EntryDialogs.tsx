// What is done to an entry as a whole, the same wherever it is offered. `onDone` is told of what was done, with the new
// name where there is one, when the dialog has been closed.
import type { ComponentChildren } from "preact";
import { useEffect, useId, useMemo, useRef, useState } from "preact/hooks";
import { errorText, Problem, request } from "../data/api";
import { write } from "../data/json";
import { recipes, readRecipes, readTypes, types, want } from "../data/recipes";
import { useStore } from "../data/store";
import { leafOf } from "../data/tree";
import { useAnswer } from "../data/useAnswer";
import { Dialog } from "./Dialog";
import { PathLink } from "./PathLink";
import { Failure, Notice } from "./State";
import { say } from "./status";
import { counted, Text } from "./Text";

export interface EntryDialogProps {
    kind: "recipe" | "type" | "folder";
    list: "recipes" | "types";
    name: string;
    onClose: () => void;
    onDone: (newName?: string) => void;
}

interface Edited {
    written: string[];
    removed: string[];
    warnings: { text?: string }[];
}

const words = { recipe: "recipe", type: "recipe type", folder: "folder" };
const pathOf = (list: string, name: string) => `${list === "recipes" ? "recipeList" : "recipeTypeList"}::${name}`;

/** Says what was done, and what the service has warned of. */
export function sayEdited(done: string, answer: string): void {
    const { warnings = [] } = JSON.parse(answer) as Partial<Edited>;
    say([done, ...warnings.map(({ text }) => text ?? "")].join(" "));
}

/** Another name, in another folder if need be; every reference goes along. */
export function RenameDialog(props: EntryDialogProps) {
    const { kind, list, name, onClose, onDone } = props;
    const [newName, setNewName] = useState(name);
    const { standing, edit } = useEdit(props);
    const move = { from: pathOf(list, name), to: pathOf(list, newName) };
    const preview = useDryRun(move, newName === name || newName === "");
    const submit = () =>
        edit.run(async (tag) => {
            const answer = await request("POST", "/moves", {
                text: JSON.stringify(move),
                headers: { "If-Match": tag },
            });
            onClose();
            sayEdited(`${name} is ${newName} now.`, answer.text);
            onDone(newName);
        });
    const others = preview.edited?.written.length ?? 0;
    return (
        <Dialog title={`Rename or move the ${words[kind]}`} onClose={onClose}>
            <Form onSubmit={submit}>
                <NameField
                    label="Name"
                    value={newName}
                    onInput={setNewName}
                    mistake={preview.mistake}
                    hint="Folders stand before it: Folder::Name"
                />
                <p class="note" aria-live="polite">
                    {preview.edited &&
                        (others === 0
                            ? "Nothing else names it."
                            : `${counted(others, "place")} elsewhere will name it anew.`)}
                </p>
                <PathList paths={preview.edited?.written ?? []} />
                <Trouble edit={edit} standing={standing} />
                <Actions onClose={onClose}>
                    <button type="submit" class="primary" disabled={!preview.edited || edit.isBusy || !edit.tag}>
                        {others === 0 ? "Rename" : `Rename, and write ${counted(others, "reference")}`}
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

/** Another entry with the same text. Folders are not copied. */
export function CopyDialog(props: EntryDialogProps) {
    const { kind, name, onClose, onDone } = props;
    const [newName, setNewName] = useState(`${name} copy`);
    const { standing, edit } = useEdit(props);
    const submit = () =>
        edit.run(async () => {
            const { text } = await request("GET", "/" + kind, { query: { name } });
            const answer = await request("PUT", "/" + kind, {
                query: { name: newName },
                text,
                headers: { "If-None-Match": "*" },
            });
            onClose();
            sayEdited(`${newName} is made, as a copy of ${name}.`, answer.text);
            onDone(newName);
        });
    const input = (text: string) => {
        setNewName(text);
        edit.clear();
    };
    const isNamed = isOfName(edit.error);
    return (
        <Dialog title={`Copy the ${words[kind]}`} onClose={onClose}>
            <Form onSubmit={submit}>
                <p>
                    A copy of <Text>{name}</Text>, by the name of:
                </p>
                <NameField
                    label="Name"
                    value={newName}
                    onInput={input}
                    mistake={isNamed ? nameMistake(edit.error) : ""}
                    hint="Folders stand before it: Folder::Name"
                />
                {!isNamed && <Trouble edit={edit} standing={standing} />}
                <Actions onClose={onClose}>
                    <button type="submit" class="primary" disabled={newName === "" || edit.isBusy}>
                        Copy
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

/** Takes the entry away, when it has been shown what goes with it. */
export function DeleteDialog(props: EntryDialogProps) {
    const { kind, list, name, onClose, onDone } = props;
    const { standing, edit } = useEdit(props);
    const uses = useUses(props);
    const holds = useHeld(kind, list, name);
    const submit = () =>
        edit.run(async (tag) => {
            const query = kind === "folder" ? { name, list } : { name };
            const answer = await request("DELETE", "/" + kind, { query, headers: { "If-Match": tag } });
            onClose();
            sayEdited(`${name} is deleted.`, answer.text);
            onDone();
        });
    const { recipes: gone = 0, paths = [] } = uses.answer ?? {};
    const load = [kind === "folder" && holds, gone > 0 && counted(gone, "recipe")].filter(Boolean).join(" and ");
    return (
        <Dialog title={`Delete the ${words[kind]}`} onClose={onClose}>
            <Form onSubmit={submit}>
                {kind === "folder" && (
                    <p>
                        The folder <Text>{name}</Text> holds {holds || "nothing"}.
                    </p>
                )}
                {gone > 0 && (
                    <p>
                        {counted(gone, "recipe is", "recipes are")} of {kind === "type" ? "this type" : "these types"}{" "}
                        and will go too.
                    </p>
                )}
                {uses.answer && (
                    <p>
                        {paths.length === 0
                            ? "Nothing else names it."
                            : `${counted(paths.length, "place names", "places name")} it and will name nothing:`}
                    </p>
                )}
                <PathList paths={paths} />
                {uses.error !== undefined && <Failure error={uses.error} retry={uses.again} />}
                <Trouble edit={edit} standing={standing} />
                <Actions onClose={onClose}>
                    <button type="submit" class="danger" disabled={!edit.tag || !uses.answer || edit.isBusy}>
                        Delete {kind === "folder" && "the folder "}
                        <Text>{leafOf(name)}</Text>
                        {load && ` with ${load}`}
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

// What the dialogs consist of

interface Edit {
    tag: string;
    error: unknown;
    isBusy: boolean;
    run: (edit: (tag: string) => Promise<void>) => void;
    clear: () => void;
}

type Standing = ReturnType<typeof useStanding>;

/** The entry as it stood when the dialog opened: its tag is the condition of what is done. */
function useStanding({ kind, list, name }: EntryDialogProps) {
    const query = kind === "folder" ? { name, list } : { name };
    return useAnswer((signal) => request("GET", "/" + kind, { query, signal }), [kind, list, name]);
}

function useEdit(props: EntryDialogProps): { standing: Standing; edit: Edit } {
    const standing = useStanding(props);
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const isChanged = error instanceof Problem && error.status === 412 && error.etag !== "";
    const tag = isChanged ? error.etag : (standing.answer?.etag ?? "");
    const run = (edit: (tag: string) => Promise<void>) => {
        setIsBusy(true);
        edit(tag).catch((reason: unknown) => {
            setError(reason);
            setIsBusy(false);
        });
    };
    return { standing, edit: { tag, error, isBusy, run, clear: () => setError(undefined) } };
}

/** What went wrong. Where somebody was faster, what stands there now. */
function Trouble({ edit: { error }, standing }: { edit: Edit; standing: Standing }) {
    if (!(error instanceof Problem) || error.status !== 412) {
        const shown = error ?? standing.error;
        return shown === undefined ? null : (
            <Failure error={shown} {...(error === undefined && { retry: standing.again })} />
        );
    }
    const current = error.members.get("current");
    return (
        <Notice kind="warn">
            <p>Somebody has changed it meanwhile. This stands there now:</p>
            <pre class="standing" tabIndex={0}>
                {current === undefined ? error.message : write(current, "  ")}
            </pre>
            <p>Nothing was done. The button goes on with it as it is now.</p>
        </Notice>
    );
}

interface DryRun {
    edited?: Edited;
    mistake: string;
}

/** What a move would write, asked for when nothing has been typed for a moment. */
function useDryRun(move: { from: string; to: string }, isOff: boolean): DryRun {
    const [state, setState] = useState<DryRun>({ mistake: "" });
    useEffect(() => {
        setState({ mistake: "" });
        if (isOff) {
            return undefined;
        }
        const abort = new AbortController();
        const timer = setTimeout(() => {
            const text = JSON.stringify({ ...move, dryRun: true });
            request("POST", "/moves", { text, signal: abort.signal }).then(
                (answer) => setState({ edited: JSON.parse(answer.text) as Edited, mistake: "" }),
                (error: unknown) => abort.signal.aborted || setState({ mistake: nameMistake(error) }),
            );
        }, 250);
        return () => {
            clearTimeout(timer);
            abort.abort();
        };
    }, [move.from, move.to, isOff]);
    return state;
}

interface Uses {
    paths: string[];
    /** Recipes of a type, which go with it. */
    recipes: number;
}

/**
 * What names an entry or anything in a folder, as a trial of moving it tells. /uses knows no folders, and counts recipes
 * that stay: those of types that inherit from the one that goes.
 */
function useUses({ list, name }: EntryDialogProps) {
    return useAnswer<Uses>(
        async (signal) => {
            const from = pathOf(list, name);
            const text = JSON.stringify({ from, to: pathOf(list, `moved ${Date.now()}`), dryRun: true });
            const answer = await request("POST", "/moves", { text, signal });
            const outside = (JSON.parse(answer.text) as Edited).written.filter((path) => !path.startsWith(from + "::"));
            const paths = outside.filter((path) => !path.endsWith("::recipeTypeName"));
            return { paths, recipes: outside.length - paths.length };
        },
        [list, name],
    );
}

/** The recipes or types in a folder, counted. */
function useHeld(kind: string, list: "recipes" | "types", name: string): string {
    const lists: Record<string, { name: string; kind: string }[]> = {
        recipes: useStore(recipes).items,
        types: useStore(types).items,
    };
    const items = lists[list]!;
    useEffect(() => (list === "recipes" ? want(readRecipes, recipes) : want(readTypes, types)), [list]);
    return useMemo(() => {
        const held = items.filter((item) => item.kind !== "folder" && item.name.startsWith(name + "::"));
        return kind === "folder" && held.length > 0 ? counted(held.length, list === "recipes" ? "recipe" : "type") : "";
    }, [items, kind, name]);
}

export function PathList({ paths }: { paths: string[] }) {
    const most = 50;
    return paths.length === 0 ? null : (
        <ul class="paths" tabIndex={0}>
            {paths.slice(0, most).map((path) => (
                <li key={path}>
                    <PathLink path={path} />
                </li>
            ))}
            {paths.length > most && <li>and {paths.length - most} more</li>}
        </ul>
    );
}

export function Form({ onSubmit, children }: { onSubmit: () => void; children: ComponentChildren }) {
    const submit = (event: Event) => {
        event.preventDefault();
        onSubmit();
    };
    return (
        <form class="form" onSubmit={submit}>
            {children}
        </form>
    );
}

export function Actions({ onClose, children }: { onClose: () => void; children: ComponentChildren }) {
    return (
        <div class="actions">
            <button type="button" onClick={onClose}>
                Cancel
            </button>
            {children}
        </div>
    );
}

interface NameFieldProps {
    label: string;
    value: string;
    onInput: (text: string) => void;
    mistake: string;
    hint?: string;
}

/** The full name of an entry; what stands behind its folders is marked, to be typed over. */
export function NameField({ label, value, onInput, mistake, hint }: NameFieldProps) {
    const field = useRef<HTMLInputElement>(null);
    const id = useId();
    useEffect(() => field.current?.setSelectionRange(value.length - leafOf(value).length, value.length), []);
    return (
        <div class="field">
            <label>
                {label}
                <input
                    ref={field}
                    value={value}
                    required
                    autofocus
                    autocomplete="off"
                    spellcheck={false}
                    aria-invalid={mistake !== ""}
                    aria-describedby={id}
                    onInput={(event) => onInput(event.currentTarget.value)}
                />
            </label>
            <p id={id} class={mistake ? "mistake" : "hint"} role={mistake ? "alert" : undefined}>
                {mistake || hint}
            </p>
        </div>
    );
}

/** Whether what went wrong is due to the name that was chosen. */
export function isOfName(error: unknown): boolean {
    return error instanceof Problem && ["UNIQUE", "ID_IN_USE", "INVALID_PATH"].includes(error.code);
}

export function nameMistake(error: unknown): string {
    return error instanceof Problem && ["UNIQUE", "ID_IN_USE"].includes(error.code)
        ? "This name is taken."
        : errorText(error);
}
