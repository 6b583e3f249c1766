import { useEffect, useLayoutEffect, useMemo, useState } from "preact/hooks";
import type { JSX } from "preact";
import { active } from "../data/active";
import { recipes, readRecipes, readTypes, types, want } from "../data/recipes";
import { go, place } from "../data/router";
import { may } from "../data/session";
import type { RecipeItem, TypeItem } from "../data/shapes";
import { Store, useStore } from "../data/store";
import { filteredTree, leafOf, treeRows } from "../data/tree";
import type { TreeRow } from "../data/tree";
import { CopyDialog, DeleteDialog, RenameDialog } from "../parts/EntryDialogs";
import { Grid } from "../parts/Grid";
import type { Column } from "../parts/Grid";
import { Menu } from "../parts/Menu";
import type { MenuItem } from "../parts/Menu";
import { NewFolderDialog, NewRecipeDialog } from "../parts/NewRecipe";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { EntryName, Link, Text, Time, Who, counted } from "../parts/Text";

/** What the user has opened or closed; kept while other views are shown. */
const toggled = new Store<ReadonlyMap<string, boolean>>(new Map());
/** The filter of before, for who comes back by the menu. */
let lastQuery: Record<string, string> = {};
/** So many recipes are shown with all folders open. */
const few = 200;

type Row = TreeRow<RecipeItem>;

export function Recipes() {
    const list = useStore(recipes);
    const { path, query } = useStore(place);
    const [dialog, setDialog] = useState<JSX.Element>();
    useEffect(() => want(readRecipes, recipes), []);
    useEffect(() => want(readTypes, types), []);
    // The start page is this one as well: its address is that of the filter, whose field keeps the focus.
    useLayoutEffect(() => {
        if (path === "/" || query.size === 0) {
            go("/recipes", lastQuery, "replace");
        }
    }, []);
    useEffect(() => void (lastQuery = Object.fromEntries(query)), [query]);
    const rows = useRows(list.items, query);
    const foundCount = useMemo(() => rows.filter(({ isFolder }) => !isFolder).length, [rows]);
    const recipeCount = useMemo(() => list.items.filter(({ kind }) => kind === "recipe").length, [list.items]);
    if (!list.isRead && list.items.length === 0) {
        return list.error ? (
            <Failure error={list.error} retry={() => void readRecipes()} />
        ) : (
            <Loading what="the recipes" />
        );
    }
    const close = () => setDialog(undefined);
    const isFiltered = isFilter(query);
    const found = isFiltered ? `${foundCount} of ` : "";
    return (
        <section class="view fill">
            <Head title="Recipes" note={found + counted(recipeCount, "recipe")}>
                {may("edit") && (
                    <button type="button" onClick={() => setDialog(<NewFolderDialog folder="" onClose={close} />)}>
                        New folder …
                    </button>
                )}
                {may("edit") && (
                    <button
                        type="button"
                        class="primary"
                        onClick={() => setDialog(<NewRecipeDialog folder="" onClose={close} />)}
                    >
                        New recipe …
                    </button>
                )}
            </Head>
            <Filters query={query} />
            {list.error && <Failure error={list.error} retry={() => void readRecipes()} />}
            <RecipeTree rows={rows} query={query} isFiltered={isFiltered} onDialog={setDialog} onClose={close} />
            {dialog}
        </section>
    );
}

// What is shown, in which order

const isFilter = (query: URLSearchParams) => ["match", "type", "activity"].some((name) => query.get(name));

/** The types that are a given one, by inheritance too. */
function typesBelow(items: TypeItem[], type: string): ReadonlySet<string> {
    const below = new Set([type]);
    let size = 0;
    while (size < below.size) {
        size = below.size;
        items.forEach(({ name, inherits }) => inherits?.some((base) => below.has(base)) && below.add(name));
    }
    return below;
}

function useWants(query: URLSearchParams): (item: RecipeItem) => boolean {
    const text = (query.get("match") ?? "").toLowerCase();
    const type = query.get("type") ?? "";
    const activity = query.get("activity") ?? "";
    const { active: standing } = useStore(active);
    const { items } = useStore(types);
    return useMemo(() => {
        const names = new Set(standing.map(({ recipe }) => recipe));
        const fitting = typesBelow(items, type);
        return (item) =>
            (text === "" || item.name.toLowerCase().includes(text)) &&
            (type === "" || fitting.has(item.type ?? "")) &&
            (activity === "" || names.has(item.name) === (activity === "active"));
    }, [text, type, activity, activity === "" ? "" : standing, type === "" ? "" : items]);
}

function useRows(items: RecipeItem[], query: URLSearchParams): Row[] {
    const wants = useWants(query);
    const opened = useStore(toggled);
    const sort = query.get("sort") ?? "";
    const isFiltered = isFilter(query);
    const isExpanded = (folder: string) => isFiltered || (opened.get(folder) ?? items.length <= few);
    const ordered = useMemo(() => (sort === "" ? items : sorted(items, sort)), [items, sort]);
    return useMemo(() => {
        if (sort === "") {
            return treeRows(isFiltered ? filteredTree(items, wants) : items, isExpanded);
        }
        return ordered.filter(wants).map((item) => ({ item, level: 1, isFolder: false, isExpanded: false }));
    }, [ordered, opened, isFiltered ? wants : undefined, sort]);
}

/** The recipes without their folders; what was never changed comes last. */
function sorted(items: RecipeItem[], sort: string): RecipeItem[] {
    const isDown = sort.startsWith("-");
    const keyOf = ({ name, changed }: RecipeItem) =>
        sort.endsWith("changed") ? (changed?.time ?? "") : name.toLowerCase();
    const keyed = items.filter(({ kind }) => kind === "recipe").map((item) => ({ item, key: keyOf(item) }));
    const order = (one: string, other: string) => Number(one > other) - Number(one < other);
    keyed.sort(
        (one, other) =>
            Number(one.key === "") - Number(other.key === "") || (isDown ? -1 : 1) * order(one.key, other.key),
    );
    return keyed.map(({ item }) => item);
}

/** What the next press on a column's title orders by. */
const nextSort: Record<string, Record<string, string>> = {
    name: { "": "name", name: "-name", "-name": "" },
    changed: { "": "-changed", "-changed": "changed", changed: "" },
};

function setQuery(query: URLSearchParams, name: string, value: string): void {
    go("/recipes", { ...Object.fromEntries(query), [name]: value }, "replace");
}

function Filters({ query }: { query: URLSearchParams }) {
    const { items } = useStore(types);
    const value = (name: string) => query.get(name) ?? "";
    const set = (name: string) => (event: Event) => setQuery(query, name, (event.target as HTMLInputElement).value);
    const onKeyDown = (event: KeyboardEvent) => {
        if (event.key === "ArrowDown") {
            event.preventDefault();
            document.querySelector<HTMLElement>(".grid.recipes")?.focus();
        } else if (event.key === "Escape") {
            event.preventDefault();
            setQuery(query, "match", "");
        }
    };
    return (
        <div class="filters recipe-filters" role="search">
            <input
                type="search"
                placeholder="Search recipes  ( / )"
                aria-label="Search recipes"
                value={value("match")}
                onInput={set("match")}
                onKeyDown={onKeyDown}
            />
            <select aria-label="Type" value={value("type")} onChange={set("type")}>
                <option value="">All types</option>
                {items
                    .filter(({ kind }) => kind === "type")
                    .map(({ name }) => (
                        <option key={name} value={name}>
                            {name}
                        </option>
                    ))}
            </select>
            <select aria-label="Activity" value={value("activity")} onChange={set("activity")}>
                <option value="">Active or not</option>
                <option value="active">Active</option>
                <option value="inactive">Not active</option>
            </select>
            <select aria-label="Order" class="order" value={value("sort")} onChange={set("sort")}>
                <option value="">In folders</option>
                <option value="name">By name</option>
                <option value="-changed">Newest first</option>
            </select>
        </div>
    );
}

// The tree

interface TreeProps {
    rows: Row[];
    query: URLSearchParams;
    isFiltered: boolean;
    onDialog: (dialog: JSX.Element) => void;
    onClose: () => void;
}

function RecipeTree({ rows, query, isFiltered, onDialog, onClose }: TreeProps) {
    const { active: standing } = useStore(active);
    const [menu, setMenu] = useState<{ row: Row; place: Element }>();
    const sort = query.get("sort") ?? "";
    const openMenu = may("activate")
        ? (row: Row, at: Element) => hasMenu(row) && setMenu({ row, place: at })
        : undefined;
    const columns = useMemo(() => {
        const sortOf = (key: string) => (sort === key ? "ascending" : sort === "-" + key ? "descending" : "none");
        return columnsOf(new Set(standing.map(({ recipe }) => recipe)), sort !== "", sortOf, openMenu);
    }, [standing, sort]);
    const toggle = ({ item }: Row, expand: boolean) => toggled.set(new Map(toggled.value).set(item.name, expand));
    return (
        <>
            <Grid
                label="Recipes"
                kind="recipes"
                columns={columns}
                rows={rows}
                keyOf={({ item }) => item.name}
                keep="recipes"
                {...(sort === "" && {
                    branch: ({ level, isFolder, isExpanded }: Row) => (isFolder ? { level, isExpanded } : { level }),
                })}
                onOpen={(row) => (row.isFolder ? toggle(row, !row.isExpanded) : go("/recipe", { name: row.item.name }))}
                onToggle={toggle}
                onSort={(key) => setQuery(query, "sort", nextSort[key]?.[sort] ?? nextSort[key]![""]!)}
                {...(openMenu && { onMenu: openMenu })}
                empty={isFiltered ? <NothingFound /> : <NoRecipes />}
            />
            {menu && (
                <Menu
                    label={`What can be done to ${menu.row.item.name}`}
                    items={menuOf(menu.row, onDialog, onClose)}
                    place={menu.place}
                    onClose={() => setMenu(undefined)}
                />
            )}
        </>
    );
}

const hasMenu = ({ isFolder }: Row) => may(isFolder ? "edit" : "activate");

function menuOf(
    { item: { name }, isFolder }: Row,
    onDialog: (dialog: JSX.Element) => void,
    onClose: () => void,
): MenuItem[] {
    const props = { kind: isFolder ? "folder" : "recipe", list: "recipes", name, onClose, onDone: () => {} } as const;
    const edit: MenuItem[] = [
        { title: "Rename or move …", act: () => onDialog(<RenameDialog {...props} />) },
        { title: "Delete …", danger: true, act: () => onDialog(<DeleteDialog {...props} />) },
    ];
    if (isFolder) {
        return [
            {
                title: "New recipe in it …",
                act: () => onDialog(<NewRecipeDialog folder={name + "::"} onClose={onClose} />),
            },
            {
                title: "New folder in it …",
                act: () => onDialog(<NewFolderDialog folder={name + "::"} onClose={onClose} />),
            },
            ...edit,
        ];
    }
    return [
        { title: "Open", act: () => go("/recipe", { name }) },
        { title: "Plan an activation", act: () => go("/plan", { name }) },
        ...(may("edit") ? [{ title: "Copy …", act: () => onDialog(<CopyDialog {...props} />) }, ...edit] : []),
    ];
}

function columnsOf(
    standing: ReadonlySet<string>,
    isFlat: boolean,
    sortOf: (key: string) => NonNullable<Column<Row>["sort"]>,
    openMenu: ((row: Row, place: Element) => unknown) | undefined,
): Column<Row>[] {
    const columns: Column<Row>[] = [
        {
            key: "name",
            title: "Name",
            sort: sortOf("name"),
            cell: ({ item, isFolder }) =>
                isFlat ? (
                    <EntryName name={item.name} />
                ) : (
                    <span class={isFolder ? "folder" : "recipe"}>
                        <Text>{leafOf(item.name)}</Text>
                    </span>
                ),
        },
        {
            key: "activity",
            title: "Activity",
            cell: ({ item }) =>
                standing.has(item.name) && (
                    <span class="state good">
                        <span aria-hidden="true">●</span> active
                    </span>
                ),
        },
        {
            key: "type",
            title: "Type",
            cell: ({ item, isFolder }) =>
                isFolder ? (
                    <span class="quiet-text">{counted(item.count ?? 0, "entry", "entries")}</span>
                ) : (
                    <Text>{item.type ?? ""}</Text>
                ),
        },
        {
            key: "changed",
            title: "Last change",
            sort: sortOf("changed"),
            cell: ({ item }) =>
                item.changed && (
                    <>
                        <Time of={item.changed.time} short />{" "}
                        <span class="quiet-text">
                            by <Who of={item.changed.who} />
                        </span>
                    </>
                ),
        },
    ];
    return !openMenu
        ? columns
        : [
              ...columns,
              {
                  key: "menu",
                  title: <span class="hidden">Actions</span>,
                  cell: (row) =>
                      hasMenu(row) && (
                          <button
                              type="button"
                              class="quiet icon"
                              tabIndex={-1}
                              aria-haspopup="menu"
                              aria-label={`What can be done to ${row.item.name}`}
                              onClick={(event) => openMenu(row, event.currentTarget)}
                          >
                              ⋯
                          </button>
                      ),
              },
          ];
}

function NothingFound() {
    return (
        <Empty title="No recipe fits the search.">
            <button type="button" onClick={() => go("/recipes", {}, "replace")}>
                Show all
            </button>
        </Empty>
    );
}

function NoRecipes() {
    return (
        <Empty title="There are no recipes yet.">
            {may("edit") ? (
                <p>
                    <Link to="/import">Import some</Link>, or make the first one above.
                </p>
            ) : (
                <p>An engineer imports or makes them.</p>
            )}
        </Empty>
    );
}
