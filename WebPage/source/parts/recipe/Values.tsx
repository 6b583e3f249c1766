// The values of a recipe, with what is done to them.
import { useEffect, useMemo, useState } from "preact/hooks";
import { errorText, readExact } from "../../data/api";
import { rows as rowsIn } from "../../data/json";
import { link, useNews } from "../../data/live";
import { may } from "../../data/session";
import type { Row } from "../../data/shapes";
import { Failure, Notice } from "../State";
import { say } from "../status";
import { counted, Text } from "../Text";
import { nestedNames, useNested } from "./book";
import type { Book } from "./book";
import { differenceOf, effective, flat, rowsOf, visible } from "./rows";
import type { ValueRow } from "./rows";
import type { Edits } from "./edits";
import type { RecipeState } from "./useRecipe";
import { CountsText, mostWatched, symbolsOf, useCounts, ValueTable } from "./ValueTable";
import type { Editing } from "./ValueTable";

/** So many rows are shown with all nested recipes open. */
const few = 300;

export function Values({ state, book }: { state: RecipeState; book: Book }) {
    const { edits, key, refused, open, set, isGone, isSaving } = state;
    const rows = useRows(book, edits);
    const all = useMemo(() => flat(rows), [rows]);
    const [search, setSearch] = useState("");
    const [toggled, setToggled] = useState<ReadonlyMap<string, boolean>>(new Map());
    const filter = useFilter(book, all, edits);
    const isAllowed = may("edit") && !isGone && !isSaving;
    const editing = useMemo<Editing>(
        () => ({ edits, key, refused, isAllowed, open, set }),
        [edits, key, refused, isAllowed],
    );
    const isOpen = (row: ValueRow) =>
        search !== "" || filter.keys !== undefined || (toggled.get(row.key) ?? all.length <= few);
    const wants = useMemo(() => wantsOf(search, filter.keys, edits), [search, filter.keys, edits]);
    const shown = visible(rows, isOpen, wants);
    const reveal = (member: string) => {
        if (key !== member) {
            setSearch(member);
            open(member);
        }
    };
    useSaveKey(() => isAllowed && void trySave(state, book, reveal));
    return (
        <>
            <div class="filters values-bar">
                <input
                    type="search"
                    placeholder="Search members  ( / )"
                    aria-label="Search members"
                    value={search}
                    onInput={(event) => setSearch(event.currentTarget.value)}
                />
                <button
                    type="button"
                    aria-pressed={filter.keys !== undefined}
                    disabled={filter.isBusy}
                    onClick={filter.toggle}
                >
                    Only what differs
                </button>
                {filter.hasChanged && (
                    <button type="button" class="quiet" onClick={filter.renew}>
                        Something else differs now: look again
                    </button>
                )}
                {!filter.isLong && <CountsText counts={filter.counts} />}
                {may("edit") && <SaveButtons state={state} onSave={() => void trySave(state, book, reveal)} />}
            </div>
            {filter.error !== "" && <Failure error={filter.error} />}
            <Mistakes editing={editing} reveal={reveal} />
            <ValueTable
                rows={shown}
                all={all}
                isOpen={isOpen}
                editing={editing}
                onToggle={(row, isNowOpen) => setToggled(new Map(toggled).set(row.key, isNowOpen))}
                empty={
                    search !== ""
                        ? "No member fits the search."
                        : filter.keys
                          ? "Nothing differs."
                          : "The type of this recipe has no members."
                }
            />
        </>
    );
}

function useRows(book: Book, edits: Edits): ValueRow[] {
    const names = nestedNames(book, (member) => edits.get(member)?.value);
    const nested = useNested(names);
    return useMemo(() => rowsOf(book, nested, edits), [book, nested, names.join("\n")]);
}

function wantsOf(
    search: string,
    keys: ReadonlySet<string> | undefined,
    edits: Edits,
): ((row: ValueRow) => boolean) | undefined {
    const sought = search.toLowerCase();
    const fits = (text: string | null) => text !== null && text.toLowerCase().includes(sought);
    const isShown = (row: ValueRow) => !keys || keys.has(row.key) || (row.level === 1 && edits.has(row.member.name));
    return sought === "" && !keys
        ? undefined
        : (row) => isShown(row) && (fits(row.member.name) || fits(row.member.symbol));
}

/** Which rows differ, as of a moment: rows that came and went with the values could not be read. */
function useFilter(book: Book, all: ValueRow[], edits: Edits) {
    const [keys, setKeys] = useState<ReadonlySet<string>>();
    const [isBusy, setIsBusy] = useState(false);
    const [error, setError] = useState("");
    const isLong = useMemo(() => symbolsOf(all).length > mostWatched, [all]);
    const counts = useCounts(isLong ? none : all, edits);
    const hasChanged = useNews(
        () => keys !== undefined && !isLong && link.value.isOpen && !isSameSet(keys, differing(all, edits)),
        [keys, all, edits],
    );
    const renew = () => {
        setError("");
        if (!isLong) {
            setKeys(differing(all, edits));
            return;
        }
        // Of so many only those in sight are watched.
        setIsBusy(true);
        readDiffering(book.name, all)
            .then(setKeys, (reason: unknown) => setError(errorText(reason)))
            .finally(() => setIsBusy(false));
    };
    const toggle = () => (keys ? setKeys(undefined) : renew());
    return { keys, isBusy, error, isLong, counts, hasChanged, renew, toggle };
}

const none: ValueRow[] = [];

/** What can't be told may differ, so it is shown too. */
function differing(all: readonly ValueRow[], edits: Edits): Set<string> {
    return new Set(
        all.flatMap((row) => {
            const difference = differenceOf(row, effective(row, edits));
            return difference === "differs" || difference === "unknown" ? row.key : [];
        }),
    );
}

async function readDiffering(recipe: string, all: readonly ValueRow[]): Promise<Set<string>> {
    const answer = await readExact("/comparison", { recipe, with: "controller" });
    const symbols = new Set(rowsIn<Row>(answer.get("rows")).map(({ symbol }) => symbol));
    return new Set(all.flatMap(({ key, member }) => (member.symbol !== null && symbols.has(member.symbol) ? key : [])));
}

function isSameSet(one: ReadonlySet<string>, other: ReadonlySet<string>): boolean {
    return one.size === other.size && [...one].every((key) => other.has(key));
}

function SaveButtons({
    state: { edits, isSaving, isGone, discard },
    onSave,
}: {
    state: RecipeState;
    onSave: () => void;
}) {
    const isIdle = edits.size === 0 || isSaving;
    return (
        <div class={edits.size === 0 ? "actions save idle" : "actions save"}>
            <button type="button" disabled={isIdle} onClick={discard}>
                Discard
            </button>
            <button type="button" class="primary" disabled={isIdle || isGone} title="Ctrl+S" onClick={onSave}>
                {edits.size === 0 ? "Save" : `Save ${counted(edits.size, "change")}`}
            </button>
        </div>
    );
}

async function trySave(
    { edits, save, isSaving }: RecipeState,
    book: Book,
    reveal: (member: string) => void,
): Promise<void> {
    const wrong = [...edits].find(([, { mistake }]) => mistake !== "");
    if (wrong) {
        say(`${wrong[0]}: ${wrong[1].mistake}`);
        reveal(wrong[0]);
    } else if (edits.size > 0 && !isSaving) {
        await save(book, edits);
    }
}

function useSaveKey(save: () => void): void {
    useEffect(() => {
        const onKey = (event: KeyboardEvent) => {
            if (
                (event.ctrlKey || event.metaKey) &&
                event.key.toLowerCase() === "s" &&
                !document.querySelector("dialog[open]")
            ) {
                event.preventDefault();
                save();
            }
        };
        addEventListener("keydown", onKey);
        return () => removeEventListener("keydown", onKey);
    });
}

/** All mistakes but that of the open field, since their rows may be out of sight. */
function Mistakes({
    editing: { edits, refused, key },
    reveal,
}: {
    editing: Editing;
    reveal: (member: string) => void;
}) {
    const own = [...edits].flatMap(([member, { mistake }]) => (mistake ? [[member, mistake] as const] : []));
    const found = [...own, ...refused].filter(([member]) => member !== key);
    return found.length === 0 ? null : (
        <Notice kind="bad">
            {found.slice(0, 5).map(([member, mistake]) => (
                <p>
                    <button type="button" class="quiet" onClick={() => reveal(member)}>
                        <Text>{member}</Text>
                    </button>{" "}
                    <Text>{mistake}</Text>
                </p>
            ))}
            {found.length > 5 && <p>and {found.length - 5} more</p>}
        </Notice>
    );
}
