import { useEffect, useRef, useState } from "preact/hooks";
import { rangeText } from "../../data/input";
import type { Typed } from "../../data/input";
import { shown } from "../../data/json";
import type { Json } from "../../data/json";
import { link, liveValue, useWatch } from "../../data/live";
import { may } from "../../data/session";
import { useStore } from "../../data/store";
import { writeSymbol } from "../../data/symbols";
import type { SymbolItem } from "../../data/symbols";
import { Dialog } from "../Dialog";
import { Live } from "../Live";
import { Failure, Notice } from "../State";
import { say } from "../status";
import { Text } from "../Text";
import { ValueField } from "../ValueField";
import { Quality } from "./Quality";

/** A symbol in full; engineers write it here. */
export function SymbolDialog({ symbol, onClose }: { symbol: SymbolItem; onClose: () => void }) {
    useWatch([symbol.name]);
    const { name, domain, mapping, input } = symbol;
    const range = rangeText(input);
    return (
        <Dialog title={may("edit") ? "Write a symbol" : "A symbol"} onClose={onClose}>
            <dl class="symbol-facts">
                <dt>Symbol</dt>
                <dd>
                    <Text long>{name}</Text>
                </dd>
                <dt>Domain</dt>
                <dd>
                    <Text>{domain}</Text>
                </dd>
                <dt>Address</dt>
                <dd>
                    <code>
                        <Text long>{mapping}</Text>
                    </code>
                </dd>
                {range && !may("edit") && (
                    <>
                        <dt>Range</dt>
                        <dd>{range}</dd>
                    </>
                )}
                <dt>Now</dt>
                <dd class="symbol-now" tabIndex={0}>
                    <Live symbol={name} domain={domain} unit={input.unit} /> <Quality symbol={symbol} />
                </dd>
            </dl>
            {may("edit") ? <WriteForm symbol={symbol} /> : <p class="hint">Engineers may write symbols.</p>}
        </Dialog>
    );
}

/** Nothing is written by a single key: Enter in the field does nothing, and the button says what it will do. */
function WriteForm({ symbol }: { symbol: SymbolItem }) {
    const { name, domain, input } = symbol;
    const { isOpen } = useStore(link);
    // What stands there at first is what is written over; a value that is out of date is no start.
    const [standing] = useState(() => liveValue(name, domain));
    const [typed, setTyped] = useState<Typed>();
    const [note, setNote] = useState("");
    const [isBusy, setIsBusy] = useState(false);
    const [outcome, setOutcome] = useState<Outcome>();
    const value = typed && "value" in typed ? typed.value : undefined;
    const write = async (value: Json) => {
        setIsBusy(true);
        setOutcome(undefined);
        try {
            setOutcome({ written: shown(value), text: await writeSymbol(name, value, note) });
            say(`${brief(value)} was written to ${name}.`);
        } catch (error) {
            setOutcome({ error });
        }
        setIsBusy(false);
    };
    return (
        <div class="form">
            <div class="field">
                <span class="field-title" aria-hidden="true">
                    Value to write
                </span>
                <ValueField
                    label="Value to write"
                    input={input}
                    value={standing?.isCurrent ? standing.value : undefined}
                    isFocused
                    onChange={setTyped}
                />
            </div>
            <label>
                Note, for the history
                <input value={note} onInput={(event) => setNote(event.currentTarget.value)} />
            </label>
            {outcome && <OutcomeNotice outcome={outcome} name={name} />}
            {!isOpen && <Notice kind="warn">The link is lost. Nothing can be written before it is back.</Notice>}
            <div class="actions">
                <button
                    type="button"
                    class="primary write-button"
                    disabled={!isOpen || isBusy || value === undefined}
                    onClick={() => value !== undefined && void write(value)}
                >
                    {value === undefined ? (
                        "Write"
                    ) : (
                        <>
                            Write <Text>{brief(value)}</Text> to <Text>{name}</Text>
                        </>
                    )}
                </button>
            </div>
        </div>
    );
}

interface Outcome {
    written?: string;
    text?: string;
    error?: unknown;
}

/** It takes the focus from the button, so that no second Enter writes once more. */
function OutcomeNotice({ outcome, name }: { outcome: Outcome; name: string }) {
    const frame = useRef<HTMLDivElement>(null);
    useEffect(() => frame.current?.focus(), [outcome]);
    return (
        <div ref={frame} tabIndex={-1} class="outcome">
            {outcome.error !== undefined ? (
                <Failure error={outcome.error} />
            ) : (
                <Notice kind="good">
                    <p>
                        <Text long>{outcome.written || "The empty text"}</Text> was written to <Text>{name}</Text>. What
                        stands there now is shown above.
                    </p>
                    {outcome.text && <p class="state warn">{outcome.text}</p>}
                </Notice>
            )}
        </div>
    );
}

/** As much of a value as fits a button. */
function brief(value: Json): string {
    const text = shown(value) || "the empty text";
    return text.length > 40 ? text.slice(0, 40) + "…" : text;
}
