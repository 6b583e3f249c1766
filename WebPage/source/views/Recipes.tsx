import { useEffect, useMemo } from "preact/hooks";
import { active } from "../data/active";
import { recipes, readRecipes, readTypes, types, want } from "../data/recipes";
import { go, place } from "../data/router";
import type { RecipeItem } from "../data/shapes";
import { Store, useStore } from "../data/store";
import { filteredTree, leafOf, treeRows } from "../data/tree";
import type { TreeRow } from "../data/tree";
import { Grid } from "../parts/Grid";
import type { Column } from "../parts/Grid";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { counted, Text, Time } from "../parts/Text";

/** What the user has opened or closed; kept while other views are shown. */
const toggled = new Store<ReadonlyMap<string, boolean>>(new Map());
/** So many recipes are shown with all folders open. */
const few = 200;

export function Recipes() {
    const list = useStore(recipes);
    const { query } = useStore(place);
    useEffect(() => {
        want(readRecipes, recipes as Store<never>);
        want(readTypes, types as Store<never>);
    }, []);
    const filter = useFilter(query);
    const shown = useMemo(() => filteredTree(list.items, filter.wants), [list.items, filter]);
    const recipeCount = useMemo(() => list.items.filter(({ kind }) => kind === "recipe").length, [list.items]);
    if (!list.isRead && list.items.length === 0) {
        return list.error ? <Failure error={list.error} retry={() => void readRecipes()} /> : <Loading what="the recipes" />;
    }
    return (
        <section class="view fill">
            <Head title="Recipes" note={counted(recipeCount, "recipe")} />
            <Filters />
            <RecipeTree items={filter.isSet ? shown : list.items} isFiltered={filter.isSet} recipeCount={recipeCount} />
        </section>
    );
}

interface Filter {
    isSet: boolean;
    wants: (item: RecipeItem) => boolean;
}

function useFilter(query: URLSearchParams): Filter {
    const text = (query.get("match") ?? "").toLowerCase();
    const type = query.get("type") ?? "";
    const activity = query.get("activity") ?? "";
    const { active: standing } = useStore(active);
    return useMemo(() => {
        const names = new Set(standing.map(({ recipe }) => recipe));
        return {
            isSet: text !== "" || type !== "" || activity !== "",
            wants: (item) =>
                (text === "" || item.name.toLowerCase().includes(text)) && (type === "" || item.type === type) &&
                (activity === "" || names.has(item.name) === (activity === "active")),
        };
    }, [text, type, activity, activity === "" ? "" : standing]);
}

function Filters() {
    const { query } = useStore(place);
    const { items } = useStore(types);
    const value = (name: string) => query.get(name) ?? "";
    const set = (name: string) => (event: Event) => {
        const { value: text } = event.target as HTMLInputElement;
        go("/recipes", { ...Object.fromEntries(query), [name]: text }, "replace");
    };
    return (
        <div class="filters" role="search">
            <input type="search" placeholder="Search recipes  ( / )" aria-label="Search recipes" value={value("match")} onInput={set("match")} />
            <select aria-label="Type" value={value("type")} onChange={set("type")}>
                <option value="">All types</option>
                {items.filter(({ kind }) => kind === "type").map(({ name }) => <option value={name}>{name}</option>)}
            </select>
            <select aria-label="Activity" value={value("activity")} onChange={set("activity")}>
                <option value="">Active or not</option>
                <option value="active">Active</option>
                <option value="inactive">Not active</option>
            </select>
        </div>
    );
}

function RecipeTree({ items, isFiltered, recipeCount }: { items: RecipeItem[]; isFiltered: boolean; recipeCount: number }) {
    const opened = useStore(toggled);
    const { active: standing } = useStore(active);
    const isExpanded = (folder: string) => isFiltered || (opened.get(folder) ?? recipeCount <= few);
    const rows = useMemo(() => treeRows(items, isExpanded), [items, opened, isFiltered]);
    const columns = useMemo(() => columnsOf(new Set(standing.map(({ recipe }) => recipe))), [standing]);
    const toggle = ({ item }: TreeRow<RecipeItem>, expand: boolean) => toggled.set(new Map(opened).set(item.name, expand));
    return (
        <Grid
            label="Recipes" kind="recipes" columns={columns} rows={rows} keyOf={({ item }) => item.name}
            branch={({ level, isFolder, isExpanded: open }) => (isFolder ? { level, isExpanded: open } : { level })}
            onOpen={(row) => (row.isFolder ? toggle(row, !row.isExpanded) : go("/recipe", { name: row.item.name }))} onToggle={toggle}
            empty={isFiltered ? <Empty title="No recipe fits the search." /> : <Empty title="There are no recipes yet."><p>Import some, or make the first one.</p></Empty>}
        />
    );
}

function columnsOf(standing: ReadonlySet<string>): Column<TreeRow<RecipeItem>>[] {
    return [
        { key: "name", title: "Name", cell: ({ item, isFolder }) => <span class={isFolder ? "folder" : "recipe"}><Text>{leafOf(item.name)}</Text></span> },
        { key: "activity", title: "Activity", cell: ({ item }) => standing.has(item.name) && <span class="state good"><span aria-hidden="true">●</span> active</span> },
        { key: "type", title: "Type", cell: ({ item, isFolder }) => (isFolder ? <span class="quiet-text">{counted(item.count ?? 0, "entry", "entries")}</span> : <Text>{item.type ?? ""}</Text>) },
        { key: "changed", title: "Last change", cell: ({ item }) => item.changed && <><Time of={item.changed.time} short /> <span class="quiet-text">by <Text>{item.changed.who}</Text></span></> },
    ];
}
