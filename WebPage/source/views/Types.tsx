import { useEffect, useMemo, useState } from "preact/hooks";
import { recipes, readRecipes, readTypes, types, want } from "../data/recipes";
import { go, place } from "../data/router";
import { may } from "../data/session";
import type { TypeItem } from "../data/shapes";
import { Store, useStore } from "../data/store";
import { filteredTree, leafOf, treeRows } from "../data/tree";
import type { TreeRow } from "../data/tree";
import { Grid } from "../parts/Grid";
import type { Column } from "../parts/Grid";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { counted, EntryName, Link, Text, Time } from "../parts/Text";
import { NewFolder, NewType } from "../parts/type/NewType";

/** What the user has opened or closed; kept while other views are shown. */
const toggled = new Store<ReadonlyMap<string, boolean>>(new Map());
/** So many types are shown with all folders open. */
const few = 200;

export function Types() {
    const list = useStore(types);
    const { query } = useStore(place);
    const match = query.get("match") ?? "";
    useEffect(() => want(readTypes, types), []);
    useEffect(() => want(readRecipes, recipes), []);
    const found = useMemo(() => filteredTree(list.items, fits(match)), [list.items, match]);
    const typeCount = useMemo(() => list.items.filter(({ kind }) => kind === "type").length, [list.items]);
    if (!list.isRead && list.items.length === 0) {
        return list.error ? <Failure error={list.error} retry={() => void readTypes()} /> : <Loading what="the types" />;
    }
    return (
        <section class="view fill">
            <Head title="Types" note={counted(typeCount, "type")}>{may("edit") && <Making />}</Head>
            <div class="filters" role="search">
                <input
                    type="search" placeholder="Search types  ( / )" aria-label="Search types" value={match}
                    onInput={(event) => go("/types", { match: event.currentTarget.value }, "replace")}
                />
            </div>
            {list.error && <Failure error={list.error} retry={() => void readTypes()} />}
            <TypeTree items={match ? found : list.items} isFiltered={match !== ""} typeCount={typeCount} />
        </section>
    );
}

/** Types whose name, or the name of a type that they inherit from, has the text. */
function fits(match: string): (item: TypeItem) => boolean {
    const text = match.toLowerCase();
    return ({ name, inherits = [] }) => [name, ...inherits].some((each) => each.toLowerCase().includes(text));
}

function Making() {
    const [made, setMade] = useState<"type" | "folder">();
    const close = () => setMade(undefined);
    return (
        <>
            <button type="button" onClick={() => setMade("folder")}>New folder</button>
            <button type="button" class="primary" onClick={() => setMade("type")}>New type</button>
            {made === "type" && <NewType onClose={close} />}
            {made === "folder" && <NewFolder onClose={close} />}
        </>
    );
}

function TypeTree({ items, isFiltered, typeCount }: { items: TypeItem[]; isFiltered: boolean; typeCount: number }) {
    const opened = useStore(toggled);
    const counts = useRecipeCounts();
    const isExpanded = (folder: string) => isFiltered || (opened.get(folder) ?? typeCount <= few);
    const rows = useMemo(() => treeRows(items, isExpanded), [items, opened, isFiltered]);
    const columns = useMemo(() => columnsOf(counts), [counts]);
    const toggle = ({ item }: TreeRow<TypeItem>, expand: boolean) => toggled.set(new Map(opened).set(item.name, expand));
    return (
        <Grid
            label="Types" kind="types" columns={columns} rows={rows} keyOf={({ item }) => item.name}
            branch={({ level, isFolder, isExpanded: open }) => (isFolder ? { level, isExpanded: open } : { level })}
            onOpen={(row) => (row.isFolder ? toggle(row, !row.isExpanded) : go("/type", { name: row.item.name }))} onToggle={toggle}
            empty={isFiltered ? <Empty title="No type fits the search." /> : <NoTypes />}
        />
    );
}

function NoTypes() {
    return (
        <Empty title="There are no types yet.">
            <p>A type says which members its recipes have, and which symbols these are written to.</p>
            {may("edit") && <p>Make the first one, or <Link to="/import">import some</Link>.</p>}
        </Empty>
    );
}

/** How many recipes each type has, as soon as they are read. */
function useRecipeCounts(): ReadonlyMap<string, number> {
    const { items } = useStore(recipes);
    return useMemo(() => {
        const counts = new Map<string, number>();
        for (const { type } of items) {
            if (type !== undefined) {
                counts.set(type, (counts.get(type) ?? 0) + 1);
            }
        }
        return counts;
    }, [items]);
}

function columnsOf(counts: ReadonlyMap<string, number>): Column<TreeRow<TypeItem>>[] {
    return [
        {
            key: "name", title: "Name",
            cell: ({ item, isFolder }) => <span class={isFolder ? "folder" : "type"}><Text>{leafOf(item.name)}</Text></span>,
        },
        {
            key: "inherits", title: "Inherits from",
            cell: ({ item, isFolder }) => isFolder ? <span class="quiet-text">{counted(item.count ?? 0, "entry", "entries")}</span> : <Inherits names={item.inherits ?? []} />,
        },
        { key: "members", title: "Members", right: true, cell: ({ item, isFolder }) => !isFolder && (item.members ?? 0) },
        { key: "recipes", title: "Recipes", right: true, cell: ({ item, isFolder }) => !isFolder && <RecipeCount type={item.name} count={counts.get(item.name) ?? 0} /> },
        {
            key: "changed", title: "Last change",
            cell: ({ item }) => item.changed && <><Time of={item.changed.time} short /> <span class="quiet-text">by <Text>{item.changed.who}</Text></span></>,
        },
    ];
}

function Inherits({ names }: { names: string[] }) {
    return (
        <span class="inherits">
            {names.map((name) => <Link key={name} to="/type" query={{ name }}><EntryName name={name} /></Link>)}
        </span>
    );
}

function RecipeCount({ type, count }: { type: string; count: number }) {
    return count === 0 ? <span class="quiet-text">0</span> : <Link to="/recipes" query={{ type }}>{count}</Link>;
}
