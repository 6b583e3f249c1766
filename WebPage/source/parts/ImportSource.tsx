import { useRef, useState } from "preact/hooks";
import { sourceOf } from "../data/imports";
import type { Source } from "../data/imports";

/** A file chosen or dropped, or a text pasted. */
export function ImportSource({ onSource }: { onSource: (source: Source) => void }) {
    const chooser = useRef<HTMLInputElement>(null);
    const [isOver, setIsOver] = useState(false);
    const take = async (file: File | null | undefined) => {
        if (file) {
            onSource(await sourceOf(file.name, file));
        }
    };
    const onDrag = (event: DragEvent) => {
        event.preventDefault();
        setIsOver(event.type === "dragover");
    };
    const onDrop = (event: DragEvent) => {
        onDrag(event);
        void take(event.dataTransfer?.files[0]);
    };
    const onChange = () => {
        const field = chooser.current!;
        void take(field.files?.[0]);
        // So that the same file, mended meanwhile, can be chosen once more.
        field.value = "";
    };
    return (
        <>
            <div class={isOver ? "drop over" : "drop"} onDragOver={onDrag} onDragLeave={onDrag} onDrop={onDrop}>
                <button type="button" class="primary" onClick={() => chooser.current?.click()}>
                    Choose a file
                </button>
                <p class="quiet-text">
                    or drop one here: JSON with types and recipes, or a table (CSV) of recipes of one type.
                </p>
                <input
                    ref={chooser}
                    type="file"
                    hidden
                    accept=".json,.csv,application/json,text/csv"
                    aria-label="File to import"
                    onChange={onChange}
                />
            </div>
            <Paste onSource={onSource} />
        </>
    );
}

function Paste({ onSource }: { onSource: (source: Source) => void }) {
    const [text, setText] = useState("");
    const check = async () => onSource(await sourceOf("the pasted text", new Blob([text])));
    return (
        <details class="paste">
            <summary>Paste a text</summary>
            <textarea
                class="mono"
                rows={8}
                aria-label="Text to import"
                spellcheck={false}
                value={text}
                onInput={(event) => setText(event.currentTarget.value)}
            />
            <button type="button" disabled={text.trim() === ""} onClick={() => void check()}>
                Check the text
            </button>
        </details>
    );
}
