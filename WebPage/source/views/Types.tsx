import { useEffect, useMemo, useState } from "preact/hooks";
import type { JSX } from "preact";
import { recipes, readRecipes, readTypes, types, want } from "../data/recipes";
import { go, place } from "../data/router";
import { may } from "../data/session";
import type { TypeItem } from "../data/shapes";
import { Store, useStore } from "../data/store";
import { filteredTree, leafOf, treeRows } from "../data/tree";
import type { TreeRow } from "../data/tree";
import { CopyDialog, DeleteDialog, RenameDialog } from "../parts/EntryDialogs";
import { Grid } from "../parts/Grid";
import type { Column } from "../parts/Grid";
import { Menu } from "../parts/Menu";
import type { MenuItem } from "../parts/Menu";
import { SearchField } from "../parts/SearchField";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { EntryName, Link, Text, Time, Who, counted } from "../parts/Text";
import { NewFolder, NewType } from "../parts/type/NewType";

/** What the user has opened or closed; kept while other views are shown. */
const toggled = new Store<ReadonlyMap<string, boolean>>(new Map());
/** So many types are shown with all folders open. */
const few = 200;

type Row = TreeRow<TypeItem>;

export function Types() {
    const list = useStore(types);
    const { query } = useStore(place);
    const match = query.get("match") ?? "";
    useEffect(() => want(readTypes, types), []);
    useEffect(() => want(readRecipes, recipes), []);
    const [dialog, setDialog] = useState<JSX.Element>();
    const found = useMemo(() => filteredTree(list.items, fits(match)), [list.items, match]);
    const typeCount = useMemo(() => list.items.filter(({ kind }) => kind === "type").length, [list.items]);
    if (!list.isRead && list.items.length === 0) {
        return list.error ? (
            <Failure error={list.error} retry={() => void readTypes()} />
        ) : (
            <Loading what="the types" />
        );
    }
    const close = () => setDialog(undefined);
    return (
        <section class="view fill">
            <Head title="Types" note={counted(typeCount, "type")}>
                {may("edit") && (
                    <button type="button" onClick={() => setDialog(<NewFolder folder="" onClose={close} />)}>
                        New folder …
                    </button>
                )}
                {may("edit") && (
                    <button
                        type="button"
                        class="primary"
                        onClick={() => setDialog(<NewType folder="" onClose={close} />)}
                    >
                        New type …
                    </button>
                )}
            </Head>
            <div class="filters" role="search">
                <SearchField what="types" value={match} onInput={(text) => go("/types", { match: text }, "replace")} />
            </div>
            {list.error && <Failure error={list.error} retry={() => void readTypes()} />}
            <TypeTree
                items={match ? found : list.items}
                isFiltered={match !== ""}
                typeCount={typeCount}
                onDialog={setDialog}
                onClose={close}
            />
            {dialog}
        </section>
    );
}

/** Types whose name, or the name of a type that they inherit from, has the text. */
function fits(match: string): (item: TypeItem) => boolean {
    const text = match.toLowerCase();
    return ({ name, inherits = [] }) => [name, ...inherits].some((each) => each.toLowerCase().includes(text));
}

interface TreeProps {
    items: TypeItem[];
    isFiltered: boolean;
    typeCount: number;
    onDialog: (dialog: JSX.Element) => void;
    onClose: () => void;
}

function TypeTree({ items, isFiltered, typeCount, onDialog, onClose }: TreeProps) {
    const opened = useStore(toggled);
    const counts = useRecipeCounts();
    const [menu, setMenu] = useState<{ row: Row; place: Element }>();
    const openMenu = may("edit") ? (row: Row, place: Element) => setMenu({ row, place }) : undefined;
    const isExpanded = (folder: string) => isFiltered || (opened.get(folder) ?? typeCount <= few);
    const rows = useMemo(() => treeRows(items, isExpanded), [items, opened, isFiltered]);
    const columns = useMemo(() => columnsOf(counts, openMenu), [counts]);
    const toggle = ({ item }: Row, expand: boolean) => toggled.set(new Map(toggled.value).set(item.name, expand));
    return (
        <>
            <Grid
                label="Types"
                kind="types"
                columns={columns}
                rows={rows}
                keyOf={({ item }) => item.name}
                keep="types"
                branch={({ level, isFolder, isExpanded: open }) => (isFolder ? { level, isExpanded: open } : { level })}
                onOpen={(row) => (row.isFolder ? toggle(row, !row.isExpanded) : go("/type", { name: row.item.name }))}
                onToggle={toggle}
                {...(openMenu && { onMenu: openMenu })}
                empty={isFiltered ? <Empty title="No type fits the search." /> : <NoTypes />}
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

function menuOf(
    { item: { name }, isFolder }: Row,
    onDialog: (dialog: JSX.Element) => void,
    onClose: () => void,
): MenuItem[] {
    const props = { kind: isFolder ? "folder" : "type", list: "types", name, onClose, onDone: () => {} } as const;
    const first: MenuItem[] = isFolder
        ? [
              { title: "New type in it …", act: () => onDialog(<NewType folder={name + "::"} onClose={onClose} />) },
              {
                  title: "New folder in it …",
                  act: () => onDialog(<NewFolder folder={name + "::"} onClose={onClose} />),
              },
          ]
        : [
              { title: "Open", act: () => go("/type", { name }) },
              { title: "Copy …", act: () => onDialog(<CopyDialog {...props} />) },
          ];
    return [
        ...first,
        { title: "Rename or move …", act: () => onDialog(<RenameDialog {...props} />) },
        { title: "Delete …", danger: true, act: () => onDialog(<DeleteDialog {...props} />) },
    ];
}

function NoTypes() {
    return (
        <Empty title="There are no types yet.">
            <p>A type says which members its recipes have, and which symbols these are written to.</p>
            {may("edit") && (
                <p>
                    Make the first one, or <Link to="/import">import some</Link>.
                </p>
            )}
        </Empty>
    );
}

/** How many recipes each type has, by inheritance too, as soon as they are read. */
function useRecipeCounts(): ReadonlyMap<string, number> {
    const { items } = useStore(recipes);
    const { items: all } = useStore(types);
    return useMemo(() => {
        const parents = new Map(all.map(({ name, inherits = [] }) => [name, inherits]));
        const lines = new Map<string, ReadonlySet<string>>();
        const counts = new Map<string, number>();
        for (const { type } of items) {
            if (type !== undefined) {
                const line = lines.get(type) ?? lineOf(type, parents);
                lines.set(type, line);
                line.forEach((each) => counts.set(each, (counts.get(each) ?? 0) + 1));
            }
        }
        return counts;
    }, [items, all]);
}

/** The type, and all that it inherits from. */
function lineOf(type: string, parents: ReadonlyMap<string, readonly string[]>): ReadonlySet<string> {
    const line = new Set([type]);
    // A set that grows is walked to its new end.
    line.forEach((each) => parents.get(each)?.forEach((parent) => line.add(parent)));
    return line;
}

function columnsOf(
    counts: ReadonlyMap<string, number>,
    openMenu: ((row: Row, place: Element) => void) | undefined,
): Column<Row>[] {
    const columns: Column<Row>[] = [
        {
            key: "name",
            title: "Name",
            cell: ({ item, isFolder }) => (
                <span class={isFolder ? "folder" : "type"}>
                    <Text>{leafOf(item.name)}</Text>
                </span>
            ),
        },
        {
            key: "inherits",
            title: "Inherits from",
            cell: ({ item, isFolder }) =>
                isFolder ? (
                    <span class="quiet-text">{counted(item.count ?? 0, "entry", "entries")}</span>
                ) : (
                    <Inherits names={item.inherits ?? []} />
                ),
        },
        {
            key: "members",
            title: "Members",
            right: true,
            cell: ({ item, isFolder }) => !isFolder && (item.members ?? 0),
        },
        {
            key: "recipes",
            title: "Recipes",
            right: true,
            cell: ({ item, isFolder }) =>
                !isFolder && <RecipeCount type={item.name} count={counts.get(item.name) ?? 0} />,
        },
        {
            key: "changed",
            title: "Last change",
            cell: ({ item: { changed } }) =>
                changed && (
                    <>
                        <Time of={changed.time} short />{" "}
                        <span class="quiet-text">
                            by <Who of={changed.who} />
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
                  cell: (row) => (
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

function Inherits({ names }: { names: string[] }) {
    return (
        <span class="inherits">
            {names.map((name) => (
                <Link key={name} to="/type" query={{ name }}>
                    <EntryName name={name} />
                </Link>
            ))}
        </span>
    );
}

function RecipeCount({ type, count }: { type: string; count: number }) {
    return count === 0 ? (
        <span class="quiet-text">0</span>
    ) : (
        <Link to="/recipes" query={{ type }}>
            {count}
        </Link>
    );
}
