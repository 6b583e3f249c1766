import { useEffect, useMemo, useRef, useState } from "preact/hooks";
import { readList } from "../../data/api";
import { RawText } from "../../data/json";
import type { Json } from "../../data/json";
import type { Typed } from "../../data/input";
import type { Input, RecipeItem } from "../../data/shapes";
import { useAnswer } from "../../data/useAnswer";
import { Failure } from "../State";
import { Text, ValueText } from "../Text";
import { ValueField } from "../ValueField";
import { leftOut, typedEdit } from "./edits";
import type { Edit } from "./edits";
import type { ValueRow } from "./rows";
import type { Editing } from "./ValueTable";

interface CellEditorProps {
    row: ValueRow;
    edit: Edit | undefined;
    mistake: string;
    editing: Editing;
}

/** The open field of a value, over its cell. What is typed counts at once; Escape takes it back. */
export function CellEditor({ row, edit, mistake, editing }: CellEditorProps) {
    const { member, stored } = row;
    const [before] = useState(edit);
    // What stands in the field at first; another turn begins the field anew.
    const [first, setFirst] = useState<{ turn: number; value: Json | undefined }>({
        turn: 0,
        value: valueShown(edit, stored),
    });
    const frame = useRef<HTMLDivElement>(null);
    const close = () => editing.open("");
    useClosing(frame, close);
    useEffect(() => frame.current?.scrollIntoView({ block: "nearest" }), [mistake]);
    const set = (next: Edit | undefined) => editing.set(row, next);
    const restart = (next: Edit | undefined) => {
        set(next);
        setFirst({ turn: first.turn + 1, value: valueShown(next, stored) });
    };
    const cancel = () => {
        set(before);
        close();
    };
    const isOut = edit ? edit.value === undefined && edit.mistake === "" : stored === undefined;
    const fieldProps = {
        label: member.name,
        value: first.value,
        mistake,
        isFocused: true,
        onDone: close,
        onCancel: cancel,
        onChange: (typed: Typed, text: string) => set(typedEdit(typed, text)),
    };
    return (
        <div ref={frame} class="cell-editor" role="group" aria-label={`Value of ${member.name}`}>
            {member.nestedType === null ? (
                <ValueField key={first.turn} {...fieldProps} input={member.input} />
            ) : (
                <NestedField key={first.turn} {...fieldProps} type={member.nestedType} />
            )}
            {isOut && (
                <p class="hint">
                    <LeftOutHint value={member.default} unit={member.input.unit} />
                </p>
            )}
            {member.type && (
                <p class="hint">
                    Member of <Text>{member.type}</Text>
                </p>
            )}
            <div class="actions">
                {edit && (
                    <button type="button" class="quiet" onClick={() => restart(undefined)}>
                        Undo
                    </button>
                )}
                <button type="button" class="quiet" disabled={isOut} onClick={() => restart(leftOut)}>
                    Leave out
                </button>
                <button type="button" onClick={close}>
                    Done
                </button>
            </div>
        </div>
    );
}

function valueShown(edit: Edit | undefined, stored: Json | undefined): Json | undefined {
    return !edit ? stored : edit.mistake ? new RawText(edit.text) : edit.value;
}

/** Closed by a touch outside, and by the focus when it goes elsewhere; otherwise the table has the focus after it. */
function useClosing(frame: { current: HTMLDivElement | null }, close: () => void): void {
    const latest = useRef(close);
    latest.current = close;
    useEffect(() => {
        const shown = frame.current!;
        const grid = shown.closest<HTMLElement>("[role=treegrid]");
        const leave = ({ target }: Event) =>
            target instanceof Node && target.isConnected && !shown.contains(target) && latest.current();
        document.addEventListener("pointerdown", leave);
        document.addEventListener("focusin", leave);
        return () => {
            document.removeEventListener("pointerdown", leave);
            document.removeEventListener("focusin", leave);
            if (document.activeElement === document.body) {
                grid?.focus({ preventScroll: true });
            }
        };
    }, []);
}

function LeftOutHint({ value, unit }: { value: Json; unit: string | undefined }) {
    return value === null ? (
        <>Left out of the recipe: nothing is written.</>
    ) : (
        <>
            Left out of the recipe: the default of its type counts, <ValueText value={value} unit={unit} />.
        </>
    );
}

interface NestedFieldProps {
    type: string;
    label: string;
    value: Json | undefined;
    mistake: string;
    isFocused: boolean;
    onChange: (typed: Typed, text: string) => void;
    onDone: () => void;
    onCancel: () => void;
}

/** A choice of the recipes of a type. */
function NestedField({ type, ...props }: NestedFieldProps) {
    const { answer, error, again } = useAnswer((signal) => namesOfType(type, signal), [type]);
    const input = useMemo<Input>(() => ({ type: "string", ...(answer && { choices: answer }) }), [answer]);
    if (error !== undefined) {
        return <Failure error={error} retry={again} />;
    }
    if (answer?.length === 0) {
        return (
            <p>
                There is no recipe of the type <Text>{type}</Text>.
            </p>
        );
    }
    return answer ? (
        <ValueField {...props} input={input} />
    ) : (
        <p class="hint" role="status">
            Reading the recipes …
        </p>
    );
}

async function namesOfType(type: string, signal: AbortSignal): Promise<string[]> {
    const names: string[] = [];
    await readList<RecipeItem>("/recipes", { type }, (items) => names.push(...items.map(({ name }) => name)), signal);
    return names;
}
