import { useEffect, useId, useRef, useState } from "preact/hooks";
import { compare, rangeText, readTyped, typedText } from "../data/input";
import type { Typed } from "../data/input";
import { isSame, NumberText, shown, write } from "../data/json";
import type { Json } from "../data/json";
import type { Input } from "../data/shapes";

export interface ValueFieldProps {
    /** Its name, for those who don't see what it stands beside. */
    label: string;
    /** Of a member or symbol: `fields<Input>(member.input)`. */
    input: Input;
    /** What stands in it at first. Another value begins anew where `key` is another one too. */
    value: Json | undefined;
    /**
     * Called with each change: the value, or what is wrong with what was typed, and the text. With `new RawText(text)`
     * as `value` the field shows that again.
     */
    onChange: (typed: Typed, text: string) => void;
    /** What the service found wrong with the value; what the field itself finds goes before it. */
    mistake?: string | undefined;
    /** Takes the focus, its text marked, when it is shown. */
    isFocused?: boolean;
    isDisabled?: boolean;
    /** Enter; in a text of several lines Ctrl+Enter. */
    onDone?: () => void;
    /** Escape, which the field keeps to itself then. */
    onCancel?: () => void;
}

interface ControlProps {
    id: string;
    label: string;
    describedBy: string;
    input: Input;
    value: Json | undefined;
    isWrong: boolean;
    isDisabled: boolean;
    onText: (text: string) => void;
    onValue: (value: Json) => void;
}

/** The editor of a value: a switch, a choice, a number with its range and unit, a text, or JSON for everything else. */
export function ValueField(props: ValueFieldProps) {
    const { label, input, value, onChange, isFocused, isDisabled, onDone, onCancel } = props;
    const [own, setOwn] = useState("");
    const frame = useRef<HTMLDivElement>(null);
    const id = useId();
    const mistake = own || props.mistake || "";
    useEffect(() => {
        const control = isFocused ? frame.current?.querySelector<HTMLElement>("input, select, textarea") : undefined;
        control?.focus();
        if (control instanceof HTMLInputElement || control instanceof HTMLTextAreaElement) {
            control.select();
        }
    }, []);
    const tell = (typed: Typed, text: string) => {
        setOwn("mistake" in typed ? typed.mistake : "");
        onChange(typed, text);
    };
    const onKeyDown = (event: KeyboardEvent) => {
        const isLine = !(event.target instanceof HTMLTextAreaElement);
        if (event.key === "Enter" && (isLine || event.ctrlKey) && onDone) {
            event.preventDefault();
            onDone();
        } else if (event.key === "Escape" && onCancel) {
            event.preventDefault();
            event.stopPropagation();
            onCancel();
        }
    };
    const Control = controlOf(input, value);
    const range = input.choices ? "" : rangeText(input);
    const hint = range || (Control === JsonText ? "JSON; a text stands in quotes" : "");
    return (
        <div ref={frame} class="value-field" onKeyDown={onKeyDown}>
            <div class="value-control">
                <Control
                    id={id}
                    label={label}
                    describedBy={`${id}-hint`}
                    input={input}
                    value={value}
                    isWrong={mistake !== ""}
                    isDisabled={isDisabled === true}
                    onText={(text) => tell(readTyped(text, input), text)}
                    onValue={(chosen) => tell({ value: chosen }, shown(chosen))}
                />
                {input.unit && (
                    <span class="unit">
                        <bdi>{input.unit}</bdi>
                    </span>
                )}
            </div>
            <div id={`${id}-hint`} class="value-hint">
                {hint && !mistake && (
                    <span class="hint">
                        <bdi>{hint}</bdi>
                    </span>
                )}
                {mistake && (
                    <span class="mistake" role="alert">
                        <span aria-hidden="true">✕</span> <bdi>{mistake}</bdi>
                    </span>
                )}
            </div>
        </div>
    );
}

function controlOf(input: Input, value: Json | undefined) {
    if (input.choices && input.choices.length > 0) {
        return Choice;
    }
    switch (input.type) {
        case "boolean":
            // Where nothing stands yet a switch could not tell "off" from "nothing".
            return typeof value === "boolean" ? Switch : Choice;
        case "integer":
        case "number":
            return Line;
        case "string":
            return typeof value === "string" && (value.length > 80 || value.includes("\n")) ? LongText : Line;
        default:
            return JsonText;
    }
}

function Switch({ id, label, describedBy, value, isDisabled, onValue }: ControlProps) {
    const [isOn, setIsOn] = useState(value === true);
    const change = (event: Event) => {
        const { checked } = event.target as HTMLInputElement;
        setIsOn(checked);
        onValue(checked);
    };
    return (
        <span class="switch">
            <input
                id={id}
                type="checkbox"
                role="switch"
                aria-label={label}
                aria-describedby={describedBy}
                checked={isOn}
                disabled={isDisabled}
                onChange={change}
            />
            <span aria-hidden="true">{String(isOn)}</span>
        </span>
    );
}

function Choice({ id, label, describedBy, input, value, isWrong, isDisabled, onValue }: ControlProps) {
    const choices = input.choices && input.choices.length > 0 ? input.choices : [true, false];
    const [chosen, setChosen] = useState(() => choices.findIndex((choice) => isAlike(choice, value)));
    const change = (event: Event) => {
        const index = Number((event.target as HTMLSelectElement).value);
        setChosen(index);
        onValue(choices[index]!);
    };
    return (
        <select
            id={id}
            aria-label={label}
            aria-describedby={describedBy}
            aria-invalid={isWrong}
            disabled={isDisabled}
            value={String(chosen)}
            onChange={change}
        >
            {chosen < 0 && (
                <option value="-1" disabled>
                    {shown(value) || "choose …"}
                </option>
            )}
            {choices.map((choice, index) => (
                <option value={String(index)}>{shown(choice) || "(empty)"}</option>
            ))}
        </select>
    );
}

function isAlike(one: Json, other: Json | undefined): boolean {
    return one instanceof NumberText && other instanceof NumberText
        ? compare(one.text, other.text) === 0
        : other !== undefined && isSame(one, other);
}

function Line({ id, label, describedBy, input, value, isWrong, isDisabled, onText }: ControlProps) {
    const [text, setText] = useState(() => typedText(value, input));
    const isNumber = input.type !== "string";
    // A phone's keys for decimal numbers have no minus.
    const isPositive = isNumber && input.minimum instanceof NumberText && !input.minimum.text.startsWith("-");
    const change = (event: Event) => {
        const typed = (event.target as HTMLInputElement).value;
        setText(typed);
        onText(typed);
    };
    return (
        <input
            id={id}
            class={isNumber ? "number" : undefined}
            inputMode={isPositive ? "decimal" : undefined}
            autocomplete="off"
            spellcheck={false}
            dir={isNumber ? "ltr" : "auto"}
            aria-label={label}
            aria-describedby={describedBy}
            aria-invalid={isWrong}
            disabled={isDisabled}
            value={text}
            onInput={change}
        />
    );
}

function LongText(props: ControlProps) {
    return <Area {...props} first={typeof props.value === "string" ? props.value : ""} isCode={false} />;
}

function JsonText(props: ControlProps) {
    return (
        <Area
            {...props}
            first={props.value === undefined || props.value === null ? "" : write(props.value, "  ")}
            isCode
        />
    );
}

function Area({
    id,
    label,
    describedBy,
    isWrong,
    isDisabled,
    onText,
    first,
    isCode,
}: ControlProps & { first: string; isCode: boolean }) {
    const [text, setText] = useState(first);
    const change = (event: Event) => {
        const typed = (event.target as HTMLTextAreaElement).value;
        setText(typed);
        onText(typed);
    };
    return (
        <textarea
            id={id}
            class={isCode ? "mono" : undefined}
            rows={Math.min(10, Math.max(3, first.split("\n").length))}
            spellcheck={false}
            dir={isCode ? "ltr" : "auto"}
            aria-label={label}
            aria-describedby={describedBy}
            aria-invalid={isWrong}
            disabled={isDisabled}
            value={text}
            onInput={change}
        />
    );
}
