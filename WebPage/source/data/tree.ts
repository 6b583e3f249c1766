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
    // Neighbours mostly stand in the same folder.
    let folder = "";
    let level = 1;
    let isHidden = false;
    for (const item of items) {
        const isFolder = item.kind === "folder";
        if (!standsIn(item.name, folder)) {
            folder = parentOf(item.name);
            level = item.name.split("::").length;
            isHidden = closed.has(folder);
        }
        const isOpen = isFolder && !isHidden && isExpanded(item.name);
        if (isFolder && !isOpen) {
            closed.add(item.name);
        }
        if (!isHidden) {
            rows.push({ item, level, isFolder, isExpanded: isOpen });
        }
    }
    return rows;
}

/** What `wants` and the folders that lead there, in the order of `items`. */
export function filteredTree<T extends Named>(items: readonly T[], wants: (item: T) => boolean): T[] {
    const kept: T[] = [];
    const folders = new Set<string>();
    let folder = "";
    // Backwards, so that what stands in a folder has been looked at before it.
    for (let index = items.length - 1; index >= 0; index--) {
        const item = items[index]!;
        if (item.kind === "folder" ? folders.has(item.name) : wants(item)) {
            kept.push(item);
            if (!standsIn(item.name, folder)) {
                folder = parentOf(item.name);
                folders.add(folder);
            }
        }
    }
    return kept.reverse();
}

function standsIn(name: string, folder: string): boolean {
    const at = name.lastIndexOf("::");
    return at < 0 ? folder === "" : at === folder.length && name.startsWith(folder);
}
