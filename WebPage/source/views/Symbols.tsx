import { useEffect, useMemo, useState } from "preact/hooks";
import { link, useWatch } from "../data/live";
import { go, place } from "../data/router";
import { useStore } from "../data/store";
import { filteredSymbols, readSymbols, symbolOf, symbols, wantSymbols } from "../data/symbols";
import type { SymbolItem } from "../data/symbols";
import { Grid } from "../parts/Grid";
import type { Column } from "../parts/Grid";
import { Live } from "../parts/Live";
import { SearchField } from "../parts/SearchField";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { Quality } from "../parts/symbols/Quality";
import { SymbolDialog } from "../parts/symbols/SymbolDialog";
import { counted, Text } from "../parts/Text";

export function Symbols() {
    const list = useStore(symbols);
    const { query } = useStore(place);
    const match = query.get("match") ?? "";
    const domain = query.get("domain") ?? "";
    const shown = useMemo(() => filteredSymbols(list.items, { match, domain }), [list.items, match, domain]);
    const [opened, setOpened] = useState<SymbolItem>();
    useEffect(wantSymbols, []);
    if (!list.isRead && list.items.length === 0) {
        return list.error ? (
            <Failure error={list.error} retry={() => void readSymbols()} />
        ) : (
            <Loading what="the symbols" />
        );
    }
    const isFiltered = match !== "" || domain !== "";
    const note = counted(list.items.length, "symbol") + (isFiltered ? `, ${shown.length} shown` : "");
    return (
        <section class="view fill">
            <Head title="Symbols" note={list.isRead ? note : "Reading the symbols …"} />
            <Filters items={list.items} match={match} domain={domain} />
            {list.error && <Failure error={list.error} retry={() => void readSymbols()} />}
            <SymbolGrid rows={shown} isFiltered={isFiltered} onOpen={setOpened} />
            {opened && <SymbolDialog symbol={symbolOf(opened.name) ?? opened} onClose={() => setOpened(undefined)} />}
        </section>
    );
}

function Filters({ items, match, domain }: { items: SymbolItem[]; match: string; domain: string }) {
    const domains = useMemo(() => [...new Set(items.map((item) => item.domain))].sort(), [items]);
    const set = (changed: { match?: string; domain?: string }) =>
        go("/symbols", { match, domain, ...changed }, "replace");
    return (
        <div class="filters" role="search">
            <SearchField what="symbols" value={match} onInput={(text) => set({ match: text })} />
            <select aria-label="Domain" value={domain} onChange={(event) => set({ domain: event.currentTarget.value })}>
                <option value="">All domains</option>
                {domains.map((name) => (
                    <option value={name}>{name}</option>
                ))}
            </select>
        </div>
    );
}

/** So long rows have to stay in sight before their values are asked for. */
const settling = 150;

function SymbolGrid({
    rows,
    isFiltered,
    onOpen,
}: {
    rows: SymbolItem[];
    isFiltered: boolean;
    onOpen: (row: SymbolItem) => void;
}) {
    const [inSight, setInSight] = useState<SymbolItem[]>([]);
    const [watched, setWatched] = useState<string[]>([]);
    useEffect(() => {
        const timer = setTimeout(
            () => setWatched(inSight.map(({ name }) => name)),
            watched.length === 0 ? 0 : settling,
        );
        return () => clearTimeout(timer);
    }, [inSight]);
    useWatch(watched);
    useStore(link);
    return (
        <Grid
            label="Symbols"
            kind="symbols"
            columns={columns}
            rows={rows}
            keyOf={({ name }) => name}
            keep="symbols"
            onOpen={onOpen}
            onSight={setInSight}
            empty={
                isFiltered ? (
                    <Empty title="No symbol fits the search." />
                ) : (
                    <Empty title="There are no symbols yet.">
                        <p>
                            They stand in <code>ravik.json</code> under <code>"symbols"</code>, each with its domain and
                            address. The service reads them at its start.
                        </p>
                    </Empty>
                )
            }
        />
    );
}

const columns: Column<SymbolItem>[] = [
    { key: "name", title: "Name", cell: ({ name }) => <Text>{name}</Text> },
    {
        key: "value",
        title: "In the controller",
        right: true,
        cell: ({ name, domain, input }) => <Live symbol={name} domain={domain} unit={input.unit} />,
    },
    { key: "quality", title: "Quality", cell: (symbol) => <Quality symbol={symbol} /> },
    { key: "domain", title: "Domain", cell: ({ domain }) => <Text>{domain}</Text> },
    {
        key: "address",
        title: "Address",
        cell: ({ mapping }) => (
            <code>
                <Text>{mapping}</Text>
            </code>
        ),
    },
];
