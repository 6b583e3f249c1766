import { useEffect, useRef, useState } from "preact/hooks";
import type { Row } from "../../data/shapes";
import { Dialog } from "../Dialog";
import { say } from "../status";
import { counted } from "../Text";
import { tabSeparated } from "./rows";

/** Copies the rows as a table; where a page may not reach the clipboard, the text is there to be copied by hand. */
export function CopyRows({ rows }: { rows: Row[] }) {
    const [text, setText] = useState("");
    const copy = async () => {
        const table = tabSeparated(rows);
        try {
            await navigator.clipboard.writeText(table);
            say(`${counted(rows.length, "row")} copied as a table.`);
        } catch {
            setText(table);
        }
    };
    return (
        <>
            <button type="button" disabled={rows.length === 0} onClick={() => void copy()}>
                Copy as a table
            </button>
            {text && (
                <Dialog title="Copy the text" onClose={() => setText("")} wide>
                    <Selected text={text} />
                </Dialog>
            )}
        </>
    );
}

function Selected({ text }: { text: string }) {
    const area = useRef<HTMLTextAreaElement>(null);
    useEffect(() => {
        area.current?.focus();
        area.current?.select();
    }, []);
    return <textarea ref={area} class="copy-text" aria-label="The rows as a table" readOnly rows={12} value={text} />;
}
