// A table or tree of any length: only the rows in sight are in the document.
import type { ComponentChildren, JSX, VNode } from "preact";
import { useEffect, useLayoutEffect, useMemo, useRef, useState } from "preact/hooks";
import { Store, useStore } from "../data/store";
import { Dialog } from "./Dialog";

export interface Column<T> {
    key: string;
    title: ComponentChildren;
    /** Numbers and their title stand at the right. */
    right?: boolean;
    cell: (row: T) => ComponentChildren;
    /** How the rows are ordered by this column; undefined where they can't be. */
    sort?: "ascending" | "descending" | "none";
}

export interface Branch {
    level: number;
    /** Undefined for a row that holds no others. */
    isExpanded?: boolean;
}

interface GridProps<T> {
    label: string;
    /** The name of the class that gives the columns their widths. */
    kind: string;
    columns: Column<T>[];
    rows: T[];
    keyOf: (row: T) => string;
    rowClass?: (row: T) => string;
    branch?: (row: T) => Branch;
    onOpen?: (row: T) => void;
    /** F2 on a row, and Enter where nothing opens. */
    onEdit?: (row: T) => void;
    onToggle?: (row: T, isExpanded: boolean) => void;
    /** A press on the title of a column that can be sorted. */
    onSort?: (key: string) => void;
    /** Shift+F10, the menu key or a point: what else can be done to the active row. */
    onMenu?: (row: T, place: Element) => void;
    /** The rows in sight, whenever others are. */
    onSight?: (rows: T[]) => void;
    /** The name under which the place that was scrolled to is kept, while the page is open. */
    keep?: string;
    /** Stands where there are no rows. */
    empty?: VNode;
}

const narrow = matchMedia("(max-width: 40rem)");
const coarse = matchMedia("(pointer: coarse), (max-width: 64rem)");
/** What a row measures, in pixels; on a phone a row has two lines. */
const rowHeight = new Store(measure());
narrow.addEventListener("change", () => rowHeight.set(measure()));
coarse.addEventListener("change", () => rowHeight.set(measure()));

function measure(): number {
    return narrow.matches ? 64 : coarse.matches ? 44 : 36;
}

/** Rows above and below those in sight. */
const spare = 6;

interface Kept {
    top: number;
    activeKey: string;
}

const keptPlaces = new Map<string, Kept>();

export function Grid<T>(props: GridProps<T>) {
    const { label, kind, columns, rows, keyOf, branch, onOpen, onToggle, onSight, keep = "" } = props;
    const height = useStore(rowHeight);
    const frame = useRef<HTMLDivElement>(null);
    const before = useMemo(() => keptPlaces.get(keep) ?? { top: 0, activeKey: "" }, []);
    const { first, fits, look } = useSight(frame, height, before.top);
    const [activeKey, setActiveKey] = useState(before.activeKey);
    const activeIndex = useMemo(() => rows.findIndex((row) => keyOf(row) === activeKey), [rows, activeKey]);
    const id = `grid-${kind}`;
    const from = Math.max(0, Math.min(first - spare, rows.length - fits - spare));
    const inSight = rows.slice(from, first + fits + spare);
    useEffect(() => onSight?.(inSight), [inSight.map(keyOf).join("\n")]);
    const keepPlace = () => keep && keptPlaces.set(keep, { top: frame.current!.scrollTop, activeKey });
    useEffect(() => void keepPlace(), [activeKey]);

    const [whole, showWhole] = useState<T>();
    useEffect(() => leaveOneRowToTab(frame.current!));

    const moveTo = (index: number) => {
        const to = Math.max(0, Math.min(rows.length - 1, index));
        if (rows[to] !== undefined) {
            setActiveKey(keyOf(rows[to]));
            showRow(frame.current!, to, height);
        }
    };
    const onKeyDown = (event: KeyboardEvent) => {
        const isPlain = event.target === frame.current && !event.ctrlKey && !event.altKey && !event.metaKey;
        const act =
            isPlain &&
            keyActs({ props, frame: frame.current!, activeIndex, fits, moveTo, showWhole }, event.shiftKey)[event.key];
        if (act) {
            event.preventDefault();
            act();
        }
    };
    // Who comes by keyboard is told at once on which row he stands.
    const onFocus = () => activeIndex < 0 && frame.current!.matches(":focus-visible") && moveTo(first);

    const pick = useRef<Picked<T>>({});
    pick.current = { onOpen, onToggle, onPick: (row) => setActiveKey(keyOf(row)), onCut: showWhole };
    const drawn = useDrawnRows<T>();
    const isActiveInSight = activeIndex >= from && activeIndex < from + inSight.length;
    return (
        <>
            <div
                ref={frame}
                class={"grid " + kind}
                role="treegrid"
                aria-label={label}
                tabIndex={0}
                aria-rowcount={rows.length + 1}
                aria-colcount={columns.length}
                aria-activedescendant={isActiveInSight ? `${id}-${activeIndex}` : undefined}
                onScroll={() => (look(), keepPlace())}
                onKeyDown={onKeyDown}
                onFocus={onFocus}
            >
                <GridHead columns={columns} onSort={props.onSort} />
                <div role="rowgroup" class="grid-body" style={{ height: `${rows.length * height}px` }}>
                    {drawn(
                        inSight.map((row, offset) => ({
                            key: keyOf(row),
                            id: `${id}-${from + offset}`,
                            index: from + offset,
                            height,
                            row,
                            columns,
                            pick,
                            level: branch?.(row).level,
                            isExpanded: branch?.(row).isExpanded,
                            isActive: from + offset === activeIndex,
                            opens: onOpen !== undefined,
                            extraClass: props.rowClass?.(row) ?? "",
                        })),
                    )}
                </div>
                {rows.length === 0 && (
                    <div role="rowgroup">
                        <div role="row">
                            <div role="gridcell" aria-colspan={columns.length}>
                                {props.empty}
                            </div>
                        </div>
                    </div>
                )}
            </div>
            {whole !== undefined && <Whole row={whole} columns={columns} onClose={() => showWhole(undefined)} />}
        </>
    );
}

/** Tab leads into the active row and then out of the table, not through all that is in sight. */
function leaveOneRowToTab(frame: HTMLElement): void {
    for (const stop of frame.querySelectorAll(".row:not(.active) :is(a, button):not([tabindex], .cell-editor *)")) {
        if (!stop.closest(".grid-head")) {
            stop.setAttribute("tabindex", "-1");
            stop.setAttribute("data-kept", "");
        }
    }
    for (const stop of frame.querySelectorAll(".row.active [data-kept]")) {
        stop.removeAttribute("tabindex");
        stop.removeAttribute("data-kept");
    }
}

/** A row whose texts are cut in the table. */
function Whole<T>({ row, columns, onClose }: { row: T; columns: Column<T>[]; onClose: () => void }) {
    // Texts are read here and links followed; what a press does in the table it does there alone.
    const onPress = (event: Event) => (event.target as Element).closest("a") ?? event.stopPropagation();
    return (
        <Dialog title="The row in full" onClose={onClose} wide>
            <dl class="row-facts" onClickCapture={onPress}>
                {columns.map(({ title, cell }) => (
                    <>
                        <dt>{title}</dt>
                        <dd class="pre">{cell(row)}</dd>
                    </>
                ))}
            </dl>
        </Dialog>
    );
}

/** Which row is the first in sight, and how many there is room for. */
function useSight(frame: { current: HTMLDivElement | null }, height: number, top: number) {
    const [first, setFirst] = useState(Math.floor(top / height));
    const [fits, setFits] = useState(40);
    const look = () => {
        const { scrollTop, clientHeight } = frame.current!;
        setFirst(Math.floor(scrollTop / height));
        setFits(Math.ceil(clientHeight / height) + 1);
    };
    useLayoutEffect(() => {
        frame.current!.scrollTop = top;
    }, []);
    useLayoutEffect(() => {
        look();
        const observer = new ResizeObserver(look);
        observer.observe(frame.current!);
        return () => observer.disconnect();
    }, [height]);
    return { first, fits, look };
}

interface Walk<T> {
    props: GridProps<T>;
    frame: HTMLElement;
    /** -1 before any row was. */
    activeIndex: number;
    fits: number;
    moveTo: (index: number) => void;
    showWhole: (row: T) => void;
}

/** What each key does. */
function keyActs<T>(
    { props, frame, activeIndex, fits, moveTo, showWhole }: Walk<T>,
    isShifted: boolean,
): Record<string, () => unknown> {
    const { rows, branch, onOpen, onEdit, onToggle, onMenu } = props;
    const at = Math.max(0, activeIndex);
    const row = rows[at];
    const page = Math.max(1, fits - 2);
    const walks = {
        ArrowDown: () => moveTo(activeIndex + 1),
        ArrowUp: () => moveTo(at - 1),
        PageDown: () => moveTo(at + page),
        PageUp: () => moveTo(at - page),
        Home: () => moveTo(0),
        End: () => moveTo(rows.length - 1),
    };
    if (row === undefined) {
        return walks;
    }
    const isExpanded = branch?.(row).isExpanded;
    const menu = () => onMenu?.(row, frame.querySelector(".row.active") ?? frame);
    return {
        ...walks,
        ArrowRight: () => (isExpanded === false ? onToggle?.(row, true) : moveTo(at + 1)),
        ArrowLeft: () => (isExpanded ? onToggle?.(row, false) : moveTo(parentOf(rows, at, branch))),
        Enter: () => (onOpen ?? onEdit)?.(row),
        F2: () => onEdit?.(row),
        " ": () => showWhole(row),
        ...(onMenu && { ".": menu, ContextMenu: menu, ...(isShifted && { F10: menu }) }),
    };
}

const sortSigns = { ascending: " ▲", descending: " ▼", none: " ↕" };

function GridHead<T>({ columns, onSort }: { columns: Column<T>[]; onSort: ((key: string) => void) | undefined }) {
    return (
        <div role="rowgroup" class="grid-head">
            <div role="row" class="row" aria-rowindex={1}>
                {columns.map(({ key, title, right, sort }) => (
                    <div role="columnheader" class={cellClass(key, right)} aria-sort={sort}>
                        {sort ? (
                            <button type="button" class="quiet sort" onClick={() => onSort?.(key)}>
                                {title}
                                <span aria-hidden="true">{sortSigns[sort]}</span>
                            </button>
                        ) : (
                            title
                        )}
                    </div>
                ))}
            </div>
        </div>
    );
}

interface Picked<T> {
    onPick?: (row: T) => void;
    onOpen?: ((row: T) => void) | undefined;
    onToggle?: ((row: T, isExpanded: boolean) => void) | undefined;
    /** A press on a text that is cut, in a row that doesn't open. */
    onCut?: (row: T) => void;
}

interface GridRowProps<T> {
    key: string;
    id: string;
    index: number;
    height: number;
    row: T;
    columns: Column<T>[];
    level: number | undefined;
    isExpanded: boolean | undefined;
    isActive: boolean;
    opens: boolean;
    extraClass: string;
    /** What a press does; always the same object, so that it makes no row another one. */
    pick: { current: Picked<T> };
}

/** Rows that stay as they are while others come into sight are not drawn again. */
function useDrawnRows<T>(): (rows: GridRowProps<T>[]) => JSX.Element[] {
    const before = useRef(new Map<string, { props: GridRowProps<T>; node: JSX.Element }>());
    return (rows) => {
        const now: typeof before.current = new Map();
        for (const props of rows) {
            const drawn = before.current.get(props.key);
            now.set(
                props.key,
                drawn && isSameRow(drawn.props, props) ? drawn : { props, node: <GridRow {...props} /> },
            );
        }
        before.current = now;
        return [...now.values()].map(({ node }) => node);
    };
}

function isSameRow<T>(one: GridRowProps<T>, other: GridRowProps<T>): boolean {
    return (Object.keys(one) as (keyof GridRowProps<T>)[]).every((name) => one[name] === other[name]);
}

function GridRow<T>({
    id,
    index,
    height,
    row,
    columns,
    level,
    isExpanded,
    isActive,
    opens,
    extraClass,
    pick,
}: GridRowProps<T>) {
    const style = {
        transform: `translateY(${index * height}px)`,
        height: `${height}px`,
        "--level": `${(level ?? 1) - 1}`,
    };
    const open = (event: MouseEvent) => {
        pick.current.onPick?.(row);
        const target = event.target as Element;
        // Who marks a text to copy it opens nothing.
        if (target.closest("a, button, input, select, textarea, label, dialog") || getSelection()?.toString()) {
            return;
        }
        if (pick.current.onOpen) {
            pick.current.onOpen(row);
        } else if (isCut(target.closest(".cell")) && !target.closest(".editable, .cell-editor")) {
            pick.current.onCut?.(row);
        }
    };
    const kind = level === undefined ? "" : isExpanded === undefined ? " leaf-row" : " branch-row";
    return (
        <div
            id={id}
            role="row"
            style={style}
            aria-rowindex={index + 2}
            aria-level={level}
            aria-expanded={isExpanded}
            aria-selected={isActive}
            class={`row ${extraClass}${kind}${isActive ? " active" : ""}${opens ? " opens" : ""}`}
            onClick={open}
        >
            {columns.map(({ key, right, cell }, column) => (
                <div role="gridcell" class={cellClass(key, right)}>
                    {column === 0 && isExpanded !== undefined && (
                        <button
                            type="button"
                            class="quiet toggle"
                            tabIndex={-1}
                            aria-label={isExpanded ? "Close" : "Open"}
                            onClick={() => pick.current.onToggle?.(row, !isExpanded)}
                        >
                            {isExpanded ? "▾" : "▸"}
                        </button>
                    )}
                    {cell(row)}
                </div>
            ))}
        </div>
    );
}

function isCut(cell: Element | null): boolean {
    const boxes = cell ? [cell, ...cell.querySelectorAll("*")] : [];
    return boxes.some(({ clientWidth, scrollWidth }) => clientWidth > 0 && scrollWidth > clientWidth);
}

function cellClass(key: string, right: boolean | undefined): string {
    return `cell cell-${key}${right ? " right" : ""}`;
}

function parentOf<T>(rows: T[], index: number, branch: ((row: T) => Branch) | undefined): number {
    const level = rows[index] === undefined ? 1 : (branch?.(rows[index]).level ?? 1);
    for (let above = index - 1; above >= 0; above--) {
        if ((branch?.(rows[above]!).level ?? 1) < level) {
            return above;
        }
    }
    return index;
}

function showRow(frame: HTMLElement, index: number, height: number): void {
    const head = frame.firstElementChild?.clientHeight ?? 0;
    const top = index * height;
    if (top < frame.scrollTop) {
        frame.scrollTop = top;
    } else if (top + height + head > frame.scrollTop + frame.clientHeight) {
        frame.scrollTop = top + height + head - frame.clientHeight;
    }
}
