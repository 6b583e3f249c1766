// A list of entries as a tree of folders.

interface Named {
    name: string;
    kind: string;
}

export interface TreeRow<T extends Named> {
    item: T;
    level: number;
    isFolder: boolean;
    isExpanded: boolean;
}

export function parentOf(name: string): string {
    const at = name.lastIndexOf("::");
    return at < 0 ? "" : name.slice(0, at);
}

export function leafOf(name: string): string {
    const at = name.lastIndexOf("::");
    return at < 0 ? name : name.slice(at + 2);
}

/** The rows to show of `items`, which stand in the order of the tree: those whose folders are open. */
export function treeRows<T extends Named>(items: readonly T[], isExpanded: (folder: string) => boolean): TreeRow<T>[] {
    const rows: TreeRow<T>[] = [];
    const closed = new Set<string>();
    for (const item of items) {
        const parent = parentOf(item.name);
        const isFolder = item.kind === "folder";
        const isHidden = closed.has(parent);
        if (isFolder && (isHidden || !isExpanded(item.name))) {
            closed.add(item.name);
        }
        if (!isHidden) {
            rows.push({ item, level: item.name.split("::").length, isFolder, isExpanded: isFolder && !closed.has(item.name) });
        }
    }
    return rows;
}

/** What `wants` and the folders that lead there, in the order of `items`. */
export function filteredTree<T extends Named>(items: readonly T[], wants: (item: T) => boolean): T[] {
    const kept = new Set<string>();
    for (const item of items) {
        if (item.kind !== "folder" && wants(item)) {
            for (let name = item.name; name !== "" && !kept.has(name); name = parentOf(name)) {
                kept.add(name);
            }
        }
    }
    return items.filter((item) => kept.has(item.name));
}
