import { useEffect, useRef, useState } from "preact/hooks";
import type { Row } from "../../data/shapes";
import { counted, Text } from "../Text";
import { countOf, domainsOf, toBeWritten } from "./rows";

/** A touch that was meant for what stood here before is none for the button. */
const settling = 500;
const longestNote = 500;

interface WriteBarProps {
    rows: Row[];
    /** Why nothing can be written now; empty where it can. */
    hindrance: string;
    mayLeaveUnverified: boolean;
    onWrite: (note: string, verify: boolean) => void;
}

/** What is about to be written, and the one button that does it. */
export function WriteBar({ rows, hindrance, mayLeaveUnverified, onWrite }: WriteBarProps) {
    const [note, setNote] = useState("");
    const [verify, setVerify] = useState(true);
    const unread = countOf(rows, "unread");
    const written = toBeWritten(rows);
    return (
        <div class="write-bar">
            {unread > 0 && (
                <p class="write-warning">
                    <strong>
                        {unread === 1 ? "1 value could not be read." : `${unread} values could not be read.`}
                    </strong>{" "}
                    What stands there now is not known; it is written all the same.
                </p>
            )}
            <div class="write-options">
                <input
                    class="write-note"
                    aria-label="Note"
                    placeholder="Note, such as order 4711"
                    value={note}
                    maxLength={longestNote}
                    onInput={(event) => setNote(event.currentTarget.value)}
                />
                {mayLeaveUnverified && (
                    <label class="check">
                        <input
                            type="checkbox"
                            checked={!verify}
                            onChange={(event) => setVerify(!event.currentTarget.checked)}
                        />
                        Without verification
                    </label>
                )}
            </div>
            <div class="write-act">
                <p role="status">{hindrance || differingText(countOf(rows, "differs"), written.length)}</p>
                <WriteButton
                    written={written}
                    isReady={hindrance === "" && written.length > 0}
                    onWrite={() => onWrite(note.trim(), verify)}
                />
            </div>
        </div>
    );
}

function differingText(differing: number, written: number): string {
    if (differing === 0) {
        return "None of them is known to differ.";
    }
    return differing === written
        ? "All of them differ."
        : `${differing} of them ${differing === 1 ? "differs" : "differ"}.`;
}

interface WriteButtonProps {
    written: Row[];
    isReady: boolean;
    onWrite: () => void;
}

/**
 * Takes a press only where it has stood ready for a while, the press began after that, and it is no second one of two:
 * neither a double touch nor one that came too late for what stood there before writes to a machine.
 */
function WriteButton({ written, isReady, onWrite }: WriteButtonProps) {
    const [isArmed, setIsArmed] = useState(false);
    const isPressed = useRef(false);
    useEffect(() => {
        setIsArmed(false);
        isPressed.current = false;
        const timer = isReady ? setTimeout(() => setIsArmed(true), settling) : undefined;
        return () => clearTimeout(timer);
    }, [isReady]);
    const press = (event: MouseEvent) => {
        const isByKey = event.detail === 0;
        if (isReady && isArmed && (isByKey || (isPressed.current && event.detail === 1))) {
            onWrite();
        }
        isPressed.current = false;
    };
    return (
        <button
            type="button"
            class="primary write"
            disabled={!isReady || !isArmed}
            onClick={press}
            onPointerDown={() => (isPressed.current = true)}
            onKeyDown={(event) => event.repeat && event.preventDefault()}
        >
            {written.length === 0 ? (
                "Nothing to write"
            ) : (
                <>
                    Write {counted(written.length, "value")} to <Listed names={domainsOf(written)} />
                </>
            )}
        </button>
    );
}

function Listed({ names }: { names: string[] }) {
    const shown = names.length > 4 ? names.slice(0, 3) : names;
    const rest = names.length - shown.length;
    return (
        <>
            {shown.map((name, index) => (
                <>
                    {index === 0 ? "" : index === names.length - 1 ? " and " : ", "}
                    <Text>{name}</Text>
                </>
            ))}
            {rest > 0 && ` and ${rest} more`}
        </>
    );
}
