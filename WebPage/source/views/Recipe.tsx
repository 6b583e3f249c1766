import { useState } from "preact/hooks";
import { active } from "../data/active";
import { readPlain } from "../data/api";
import type { List } from "../data/api";
import { write } from "../data/json";
import { link, revision } from "../data/live";
import { go, place } from "../data/router";
import { may } from "../data/session";
import type { HistoryItem } from "../data/shapes";
import { useStore } from "../data/store";
import { useAnswer } from "../data/useAnswer";
import { CopyDialog, DeleteDialog, RenameDialog } from "../parts/EntryDialogs";
import { MenuButton } from "../parts/Menu";
import type { MenuItem } from "../parts/Menu";
import { StoreDialog, UpdateDialog } from "../parts/recipe/ActionDialogs";
import type { Book } from "../parts/recipe/book";
import { CompareDialog } from "../parts/recipe/CompareDialog";
import { Conflict } from "../parts/recipe/Conflict";
import type { Edits } from "../parts/recipe/edits";
import { Past, Uses } from "../parts/recipe/Sections";
import { useRecipe } from "../parts/recipe/useRecipe";
import type { RecipeState } from "../parts/recipe/useRecipe";
import { Values } from "../parts/recipe/Values";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading, Notice } from "../parts/State";
import { EntryName, Link, Time, Who } from "../parts/Text";

export function Recipe() {
    const { query } = useStore(place);
    const name = query.get("name") ?? "";
    return name === "" ? (
        <Empty title="No recipe is named.">
            <Link to="/recipes">To the recipes</Link>
        </Empty>
    ) : (
        <OneRecipe key={name} name={name} />
    );
}

type Action = "store" | "update" | "compare" | "copy" | "rename" | "delete";

function OneRecipe({ name }: { name: string }) {
    const state = useRecipe(name);
    const [action, setAction] = useState<Action>();
    const { query } = useStore(place);
    const tab = query.get("tab") ?? "";
    const { book, error } = state;
    if (!book) {
        return (
            <section class="view">
                <Head title={<EntryName name={name} />} />
                {error === undefined ? (
                    <Loading what="the recipe" />
                ) : (
                    <>
                        <Failure error={error} retry={state.again} />
                        <Link to="/recipes">To the recipes</Link>
                    </>
                )}
            </section>
        );
    }
    return (
        <section class="view fill recipe-view">
            <Head title={<EntryName name={name} />} note={<About book={book} />}>
                {!state.isGone && <Actions name={name} hasEdits={state.edits.size > 0} act={setAction} />}
            </Head>
            <Notices state={state} book={book} />
            <Tabs name={name} tab={tab} />
            {tab === "uses" ? (
                <Uses name={name} />
            ) : tab === "history" ? (
                <Past name={name} />
            ) : (
                <Values state={state} book={book} />
            )}
            <ActionDialog action={action} book={book} state={state} onClose={() => setAction(undefined)} />
            {state.isConflict && state.newer && (
                <Conflict
                    before={book}
                    now={state.newer}
                    edits={state.edits}
                    isSaving={state.isSaving}
                    onClose={() => state.look(false)}
                    onGoOn={(edits) => state.rebase(state.newer!, edits)}
                    onSave={(edits) => void state.save(state.newer!, edits)}
                />
            )}
        </section>
    );
}

/** What kind of recipe it is, whether it stands in the controllers, and who changed it last. */
function About({ book }: { book: Book }) {
    const changed = useLastChange(book.name);
    return (
        <span class="about">
            <span>
                Type{" "}
                <Link to="/type" query={{ name: book.type }}>
                    <EntryName name={book.type} />
                </Link>
            </span>
            <Activity name={book.name} />
            {changed && (
                <span>
                    Changed{" "}
                    <Link to="/record" query={{ id: String(changed.id) }}>
                        <Time of={changed.time} short />
                    </Link>{" "}
                    by <Who of={changed.who} />
                </span>
            )}
        </span>
    );
}

function Activity({ name }: { name: string }) {
    const state = useStore(active);
    const { isOpen } = useStore(link);
    const standing = state.active.find(({ recipe }) => recipe === name);
    const unread = state.unread.find(({ recipe }) => recipe === name);
    if (!isOpen || !state.isKnown || unread) {
        return <span title={unread?.text || state.error}>Whether it is active is not known</span>;
    }
    return standing ? (
        <span>
            <span class="state good">
                <span aria-hidden="true">●</span> Active
            </span>
            {standing.since !== null && (
                <>
                    {" "}
                    since <Time of={standing.since} />
                </>
            )}
            {standing.by !== null && (
                <>
                    {" "}
                    by <Who of={standing.by} />
                </>
            )}
        </span>
    ) : (
        <span>Not active</span>
    );
}

function useLastChange(name: string): HistoryItem | undefined {
    const { history } = useStore(revision);
    const { answer } = useAnswer(
        (signal) => readPlain<List<HistoryItem>>("/history", { recipe: name, limit: "100" }, signal),
        [name, history],
    );
    return answer?.items.find(({ action, outcome }) => action !== "activation" && outcome === "done");
}

function Actions({ name, hasEdits, act }: { name: string; hasEdits: boolean; act: (action: Action) => void }) {
    const { isOpen } = useStore(link);
    const unsaved = hasEdits ? "Save or discard the changes first" : undefined;
    const item = (action: Action, title: string, more: Partial<MenuItem> = {}): MenuItem => ({
        title,
        act: () => act(action),
        ...more,
    });
    const edits = [
        item("store", "Store what the controllers hold …", {
            hindrance: unsaved ?? (isOpen ? undefined : "The link is lost"),
        }),
        item("update", "Bring into line with its type …", { hindrance: unsaved }),
        item("copy", "Copy …"),
        item("rename", "Rename or move …", { hindrance: unsaved }),
        item("delete", "Delete …", { danger: true }),
    ];
    return (
        <>
            {may("activate") && (
                <button
                    type="button"
                    class="primary"
                    disabled={!isOpen}
                    title={isOpen ? undefined : "The link is lost: nothing can be activated"}
                    onClick={() => go("/plan", { name })}
                >
                    Look at the plan
                </button>
            )}
            <MenuButton
                title="More"
                items={[item("compare", "Compare with another recipe …"), ...(may("edit") ? edits : [])]}
            />
        </>
    );
}

interface ActionDialogProps {
    action: Action | undefined;
    book: Book;
    state: RecipeState;
    onClose: () => void;
}

function ActionDialog({ action, book, state: { again }, onClose }: ActionDialogProps) {
    const entry = { kind: "recipe", list: "recipes", name: book.name, onClose } as const;
    const follow = (newName?: string) => newName !== undefined && go("/recipe", { name: newName });
    switch (action) {
        case "store":
            return <StoreDialog book={book} onClose={onClose} onDone={again} />;
        case "update":
            return <UpdateDialog book={book} onClose={onClose} onDone={again} />;
        case "compare":
            return <CompareDialog book={book} onClose={onClose} />;
        case "copy":
            return <CopyDialog {...entry} onDone={follow} />;
        case "rename":
            return <RenameDialog {...entry} onDone={follow} />;
        case "delete":
            return <DeleteDialog {...entry} onDone={() => go("/recipes")} />;
        default:
            return null;
    }
}

/** What is to be known before anything else is done here. */
function Notices({ state, book }: { state: RecipeState; book: Book }) {
    const { isGone, newer, isConflict, edits, error, saveError, look, again } = state;
    return (
        <>
            {isGone && <Gone edits={edits} />}
            {newer && !isConflict && !isGone && (
                <Notice kind="warn">
                    <p>Somebody else has saved this recipe meanwhile. What you changed is still here.</p>
                    <button type="button" onClick={() => look(true)}>
                        Look at their changes
                    </button>
                </Notice>
            )}
            {book.typeError !== "" && (
                <Notice kind="warn">
                    <p>Its type can't be read, so its members aren't known: {book.typeError}</p>
                </Notice>
            )}
            {error !== undefined && <Failure error={error} retry={again} />}
            {saveError !== undefined && state.refused.size === 0 && !isGone && <Failure error={saveError} />}
        </>
    );
}

function Gone({ edits }: { edits: Edits }) {
    const text = write(
        new Map(
            [...edits].map(([member, { value, mistake, text: typed }]) => [member, mistake ? typed : (value ?? null)]),
        ),
        "  ",
    );
    return (
        <Notice kind="bad">
            <p>This recipe is no longer there: it was deleted or renamed meanwhile.</p>
            {edits.size > 0 && (
                <label>
                    What you changed and had not saved
                    <textarea class="mono" readOnly rows={Math.min(8, edits.size + 2)} value={text} />
                </label>
            )}
            <Link to="/recipes">To the recipes</Link>
        </Notice>
    );
}

function Tabs({ name, tab }: { name: string; tab: string }) {
    const all = [
        ["", "Values"],
        ["uses", "Where used"],
        ["history", "History"],
    ] as const;
    return (
        <div class="tabs" role="group" aria-label="Parts of the recipe">
            {all.map(([key, title]) => (
                <Link to="/recipe" query={{ name, tab: key }} current={tab === key}>
                    {title}
                </Link>
            ))}
        </div>
    );
}
