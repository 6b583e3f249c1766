import { useId, useMemo } from "preact/hooks";

interface ChoiceProps {
    label: string;
    value: string;
    options: readonly string[];
    onInput: (text: string) => void;
    hint?: string;
    mistake?: string;
}

/** So many names are offered at a time; typing on narrows them down. */
const most = 50;

/** A name out of many, found by typing a part of it. */
export function Choice({ label, value, options, onInput, hint, mistake }: ChoiceProps) {
    const id = useId();
    const offered = useMemo(() => fitting(options, value), [options, value]);
    // A part of a name is no mistake yet.
    const isWrong = Boolean(mistake) && offered.length === 0;
    return (
        <div class="field">
            <label>
                {label}
                <input
                    value={value}
                    list={`${id}-list`}
                    autocomplete="off"
                    spellcheck={false}
                    aria-invalid={isWrong}
                    aria-describedby={id}
                    onInput={(event) => onInput(event.currentTarget.value)}
                />
            </label>
            <datalist id={`${id}-list`}>
                {offered.map((name) => (
                    <option key={name} value={name} />
                ))}
            </datalist>
            <p id={id} class={isWrong ? "mistake" : "hint"}>
                {isWrong ? mistake : mistake ? "Choose one of those that are offered." : hint}
            </p>
        </div>
    );
}

function fitting(options: readonly string[], typed: string): string[] {
    const text = typed.toLowerCase();
    const found: string[] = [];
    for (const option of options) {
        if (option.toLowerCase().includes(text) && found.push(option) === most) {
            break;
        }
    }
    return found;
}
