// A table or tree of any length: only the rows in sight are in the document.
import type { ComponentChildren, VNode } from "preact";
import { useEffect, useLayoutEffect, useRef, useState } from "preact/hooks";
import { Store, useStore } from "../data/store";

export interface Column<T> {
    key: string;
    title: string;
    /** Numbers and their title stand at the right. */
    right?: boolean;
    cell: (row: T) => ComponentChildren;
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
    onToggle?: (row: T, isExpanded: boolean) => void;
    /** The keys of the rows in sight, whenever they change. */
    onSight?: (rows: T[]) => void;
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

export function Grid<T>(props: GridProps<T>) {
    const { label, kind, columns, rows, keyOf, branch, onOpen, onToggle, onSight } = props;
    const height = useStore(rowHeight);
    const frame = useRef<HTMLDivElement>(null);
    const [first, setFirst] = useState(0);
    const [fits, setFits] = useState(40);
    const [activeKey, setActiveKey] = useState("");
    const id = `grid-${kind}`;
    const activeIndex = Math.max(0, rows.findIndex((row) => keyOf(row) === activeKey));
    const from = Math.max(0, Math.min(first - spare, rows.length - fits - spare));
    const inSight = rows.slice(from, first + fits + spare);

    const look = () => {
        const { scrollTop, clientHeight } = frame.current!;
        setFirst(Math.floor(scrollTop / height));
        setFits(Math.ceil(clientHeight / height) + 1);
    };
    useLayoutEffect(() => {
        look();
        const observer = new ResizeObserver(look);
        observer.observe(frame.current!);
        return () => observer.disconnect();
    }, [height]);
    useEffect(() => onSight?.(inSight), [inSight.map(keyOf).join("\n")]);

    const moveTo = (index: number) => {
        const row = rows[Math.max(0, Math.min(rows.length - 1, index))];
        if (row !== undefined) {
            setActiveKey(keyOf(row));
            showRow(frame.current!, rows.indexOf(row), height);
        }
    };
    const onKeyDown = (event: KeyboardEvent) => {
        if (event.target !== frame.current) {
            return;
        }
        const row = rows[activeIndex];
        const isExpanded = row === undefined ? undefined : branch?.(row).isExpanded;
        const page = Math.max(1, fits - 2);
        const moves: Record<string, () => void> = {
            ArrowDown: () => moveTo(activeIndex + (activeKey === "" ? 0 : 1)),
            ArrowUp: () => moveTo(activeIndex - 1),
            PageDown: () => moveTo(activeIndex + page),
            PageUp: () => moveTo(activeIndex - page),
            Home: () => moveTo(0),
            End: () => moveTo(rows.length - 1),
            ArrowRight: () => row !== undefined && (isExpanded === false ? onToggle?.(row, true) : moveTo(activeIndex + 1)),
            ArrowLeft: () =>
                row !== undefined && (isExpanded ? onToggle?.(row, false) : moveTo(parentOf(rows, activeIndex, branch))),
            Enter: () => row !== undefined && onOpen?.(row),
        };
        const move = event.ctrlKey || event.altKey || event.metaKey ? undefined : moves[event.key];
        if (move) {
            event.preventDefault();
            move();
        }
    };

    return (
        <div
            ref={frame} class={"grid " + kind} role="treegrid" aria-label={label} tabIndex={0}
            aria-rowcount={rows.length + 1} aria-colcount={columns.length}
            aria-activedescendant={inSight.some((row) => keyOf(row) === activeKey) ? `${id}-${activeIndex}` : undefined}
            onScroll={look} onKeyDown={onKeyDown}
        >
            <div role="rowgroup" class="grid-head">
                <div role="row" class="row" aria-rowindex={1}>
                    {columns.map(({ key, title, right }) => (
                        <div role="columnheader" class={cellClass(key, right)}>{title}</div>
                    ))}
                </div>
            </div>
            <div role="rowgroup" class="grid-body" style={{ height: `${rows.length * height}px` }}>
                {inSight.map((row, offset) => (
                    <GridRow
                        key={keyOf(row)} id={`${id}-${from + offset}`} index={from + offset} height={height} row={row} columns={columns}
                        branch={branch?.(row)} isActive={keyOf(row) === activeKey} extraClass={props.rowClass?.(row) ?? ""}
                        onPick={() => setActiveKey(keyOf(row))} onOpen={onOpen} onToggle={onToggle}
                    />
                ))}
            </div>
            {rows.length === 0 && (
                <div role="rowgroup"><div role="row"><div role="gridcell" aria-colspan={columns.length}>{props.empty}</div></div></div>
            )}
        </div>
    );
}

interface GridRowProps<T> {
    id: string;
    index: number;
    height: number;
    row: T;
    columns: Column<T>[];
    branch: Branch | undefined;
    isActive: boolean;
    extraClass: string;
    onPick: () => void;
    onOpen: ((row: T) => void) | undefined;
    onToggle: ((row: T, isExpanded: boolean) => void) | undefined;
}

function GridRow<T>({ id, index, height, row, columns, branch, isActive, extraClass, onPick, onOpen, onToggle }: GridRowProps<T>) {
    const style = { transform: `translateY(${index * height}px)`, height: `${height}px` };
    const isBranch = branch?.isExpanded !== undefined;
    const open = (event: MouseEvent) => {
        onPick();
        const isControl = event.target instanceof Element && event.target.closest("a, button, input, select, textarea, label");
        // Who marks a text to copy it opens nothing.
        if (!isControl && !getSelection()?.toString()) {
            onOpen?.(row);
        }
    };
    return (
        <div
            id={id} role="row" style={style} aria-rowindex={index + 2} aria-level={branch?.level} aria-expanded={branch?.isExpanded}
            aria-selected={isActive} class={`row ${extraClass}${isActive ? " active" : ""}${onOpen ? " opens" : ""}`} onClick={open}
        >
            {columns.map(({ key, right, cell }, column) => (
                <div role="gridcell" class={cellClass(key, right)} style={indent(column, branch)}>
                    {column === 0 && isBranch && (
                        <button
                            type="button" class="quiet toggle" tabIndex={-1} aria-label={branch?.isExpanded ? "Close" : "Open"}
                            onClick={() => onToggle?.(row, !branch?.isExpanded)}
                        >
                            {branch?.isExpanded ? "▾" : "▸"}
                        </button>
                    )}
                    {cell(row)}
                </div>
            ))}
        </div>
    );
}

function cellClass(key: string, right: boolean | undefined): string {
    return `cell cell-${key}${right ? " right" : ""}`;
}

function indent(column: number, branch: Branch | undefined): Record<string, string> | undefined {
    return column === 0 && branch ? { paddingInlineStart: `${branch.level * 1.25 - (branch.isExpanded === undefined ? 0 : 1)}rem` } : undefined;
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
