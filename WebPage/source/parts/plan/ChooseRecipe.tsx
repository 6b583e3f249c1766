import { useEffect, useMemo, useState } from "preact/hooks";
import { active } from "../../data/active";
import { link } from "../../data/live";
import { readRecipes, recipes, want } from "../../data/recipes";
import { go, place } from "../../data/router";
import { may, session } from "../../data/session";
import type { RecipeItem } from "../../data/shapes";
import { useStore } from "../../data/store";
import { leafOf, parentOf } from "../../data/tree";
import { Empty, Failure, Loading } from "../State";
import { counted, EntryName, Text } from "../Text";

const folderKey = "ravik.operator.folder";
/** In the address, the folder above all: without a folder the panel's own is shown. */
const root = "::";
/** From so many on there is a search field. */
const many = 24;
/** So many buttons at a time, however many recipes there are. */
const most = 200;

/** Large buttons for the recipes of a folder. A touch chooses one; looking at its plan is another one, elsewhere. */
export function ChooseRecipe({ onLook }: { onLook: (recipe: string) => void }) {
    const list = useStore(recipes);
    const { query } = useStore(place);
    const [chosen, setChosen] = useState("");
    const [match, setMatch] = useState("");
    useEffect(() => want(readRecipes, recipes as never), []);
    const asked = query.get("folder");
    const folder = folderOf(asked ?? localStorage.getItem(folderKey) ?? "");
    useEffect(() => (asked === null ? undefined : localStorage.setItem(folderKey, folder)), [asked]);
    const under = useMemo(() => itemsUnder(list.items, folder), [list.items, folder]);
    const shown = useMemo(() => matching(under, folder, match), [under, folder, match]);
    const item = shown.find(({ kind, name }) => kind === "recipe" && name === chosen);
    if (!list.isRead && list.items.length === 0) {
        return list.error ? (
            <Failure error={list.error} retry={() => void readRecipes()} />
        ) : (
            <Loading what="the recipes" />
        );
    }
    const openFolder = (to: string) => {
        setChosen("");
        setMatch("");
        go("/operator", { folder: to || root });
    };
    return (
        <>
            <ChosenBar item={item} onLook={onLook} />
            <div class="operator-line">
                <FolderPath folder={folder} onOpen={openFolder} />
                {under.length > many && (
                    <input
                        type="search"
                        aria-label="Search recipes"
                        placeholder="Search recipes"
                        value={match}
                        onInput={(event) => setMatch(event.currentTarget.value)}
                    />
                )}
            </div>
            <RecipeButtons
                key={folder + "\n" + match}
                items={shown}
                chosen={chosen}
                isSearched={match !== ""}
                onChoose={setChosen}
                onOpen={openFolder}
            />
        </>
    );
}

function folderOf(text: string): string {
    return text === root ? "" : text;
}

function itemsUnder(items: readonly RecipeItem[], folder: string): RecipeItem[] {
    return folder === "" ? [...items] : items.filter(({ name }) => name.startsWith(folder + "::"));
}

/** What stands in the folder itself, or of all below it the recipes that fit the search. */
function matching(under: readonly RecipeItem[], folder: string, match: string): RecipeItem[] {
    const text = match.toLowerCase();
    return text === ""
        ? under.filter(({ name }) => parentOf(name) === folder)
        : under.filter(({ name, kind }) => kind === "recipe" && name.toLowerCase().includes(text));
}

/** It stands above the buttons and takes its place from the beginning, so that a choice moves nothing. */
function ChosenBar({ item, onLook }: { item: RecipeItem | undefined; onLook: (recipe: string) => void }) {
    const { isOpen } = useStore(link);
    const mayActivate = may("activate");
    return (
        <div class="chosen-bar">
            <div class="chosen" aria-live="polite">
                {item ? (
                    <>
                        <h1>
                            <Text>{leafOf(item.name)}</Text>
                        </h1>
                        <p class="quiet-text">
                            <Text>{item.type ?? ""}</Text>
                        </p>
                    </>
                ) : (
                    <>
                        <h1>Recipes</h1>
                        <p class="quiet-text">Touch one to choose it.</p>
                    </>
                )}
            </div>
            {mayActivate ? (
                <button
                    type="button"
                    class="primary look"
                    disabled={!item || !isOpen}
                    onClick={() => item && onLook(item.name)}
                >
                    Look at the plan
                </button>
            ) : (
                <p class="quiet-text">The role {session.value?.role} may not activate.</p>
            )}
        </div>
    );
}

function FolderPath({ folder, onOpen }: { folder: string; onOpen: (folder: string) => void }) {
    const parts = folder === "" ? [] : folder.split("::");
    return (
        <div class="folder-path" role="group" aria-label="Folder">
            {folder !== "" && (
                <button type="button" onClick={() => onOpen(parentOf(folder))}>
                    <span aria-hidden="true">↑</span> Up
                </button>
            )}
            <button type="button" class="quiet" disabled={folder === ""} onClick={() => onOpen("")}>
                All recipes
            </button>
            {parts.map((part, index) => (
                <button
                    type="button"
                    class="quiet"
                    disabled={index === parts.length - 1}
                    onClick={() => onOpen(parts.slice(0, index + 1).join("::"))}
                >
                    <span aria-hidden="true">/ </span>
                    <Text>{part}</Text>
                </button>
            ))}
        </div>
    );
}

interface RecipeButtonsProps {
    items: RecipeItem[];
    chosen: string;
    isSearched: boolean;
    onChoose: (recipe: string) => void;
    onOpen: (folder: string) => void;
}

function RecipeButtons({ items, chosen, isSearched, onChoose, onOpen }: RecipeButtonsProps) {
    const [limit, setLimit] = useState(most);
    const standing = useStore(active);
    const { isOpen } = useStore(link);
    const isKnown = isOpen && standing.isKnown;
    const names = useMemo(() => new Set(standing.active.map(({ recipe }) => recipe)), [standing.active]);
    if (items.length === 0) {
        return isSearched ? (
            <Empty title="No recipe fits the search." />
        ) : (
            <Empty title="There is no recipe here.">
                <p>Choose another folder.</p>
            </Empty>
        );
    }
    return (
        <div class="recipe-buttons">
            {items.slice(0, limit).map((item) =>
                item.kind === "folder" ? (
                    <button
                        type="button"
                        class="recipe-button of-folder"
                        key={item.name}
                        onClick={() => onOpen(item.name)}
                    >
                        <span class="name">
                            <Text>{leafOf(item.name)}</Text>
                        </span>
                        <span class="quiet-text">
                            {counted(item.count ?? 0, "entry", "entries")} <span aria-hidden="true">▸</span>
                        </span>
                    </button>
                ) : (
                    <button
                        type="button"
                        class="recipe-button"
                        key={item.name}
                        aria-pressed={item.name === chosen}
                        onClick={() => onChoose(item.name)}
                    >
                        <span class="name">
                            {isSearched ? <EntryName name={item.name} /> : <Text>{leafOf(item.name)}</Text>}
                        </span>
                        <span class="marks">
                            <span class="quiet-text">
                                <Text>{item.type ?? ""}</Text>
                            </span>
                            {names.has(item.name) && <ActiveMark isKnown={isKnown} />}
                        </span>
                    </button>
                ),
            )}
            {items.length > limit && (
                <button type="button" class="recipe-button more" onClick={() => setLimit(limit + most)}>
                    {counted(items.length - limit, "more", "more")}
                </button>
            )}
        </div>
    );
}

function ActiveMark({ isKnown }: { isKnown: boolean }) {
    return isKnown ? (
        <span class="state good">
            <span aria-hidden="true">●</span> active
        </span>
    ) : (
        <span class="state quiet">
            <span aria-hidden="true">○</span> was active
        </span>
    );
}
