import { useState } from "preact/hooks";
import { request } from "../data/api";
import { types } from "../data/recipes";
import { session } from "../data/session";
import { useStore } from "../data/store";
import { Failure } from "./State";

/** Everything as JSON, or the recipes of a type as a table. */
export function Export() {
    const { items } = useStore(types);
    const [type, setType] = useState("");
    const [forSpreadsheet, setForSpreadsheet] = useState(true);
    const [error, setError] = useState<unknown>();
    const run = async (query: Record<string, string>, file: string, turn: (text: string) => string) => {
        setError(undefined);
        try {
            save(turn((await request("GET", "/exports", { query })).text), file);
        } catch (reason) {
            setError(reason);
        }
    };
    const exportAll = () => run({ format: "json" }, `${session.value?.project || "ravik"}.json`, (text) => text);
    const exportTable = (event: SubmitEvent) => {
        event.preventDefault();
        void run({ format: "csv", type }, tableName(type), forSpreadsheet ? spreadsheetTable : (text) => text);
    };
    return (
        <section class="card export" aria-labelledby="export">
            <h2 id="export">Export</h2>
            <div>
                <p>All types and recipes, to be imported here or elsewhere.</p>
                <button type="button" onClick={() => void exportAll()}>
                    Export everything (JSON)
                </button>
            </div>
            <form onSubmit={exportTable}>
                <label>
                    Recipes of the type
                    <select value={type} required onChange={(event) => setType(event.currentTarget.value)}>
                        <option value="">Choose a type</option>
                        {items
                            .filter(({ kind }) => kind === "type")
                            .map(({ name }) => (
                                <option value={name}>{name}</option>
                            ))}
                    </select>
                </label>
                <label class="form-choice">
                    <input
                        type="checkbox"
                        checked={forSpreadsheet}
                        onChange={(event) => setForSpreadsheet(event.currentTarget.checked)}
                    />
                    For a spreadsheet: semicolons and a byte order mark
                </label>
                <button type="submit">Export the table (CSV)</button>
            </form>
            {error !== undefined && <Failure error={error} />}
        </section>
    );
}

/** The name of the file that a type's recipes are saved in. */
export function tableName(type: string): string {
    return type.replaceAll("::", ".") + ".csv";
}

/** Separated by semicolons, with a mark that tells spreadsheets it is UTF-8. Cells that hold either stand in quotes. */
function spreadsheetTable(text: string): string {
    return "\uFEFF" + text.replace(/"(?:[^"]|"")*"|,/g, (part) => (part === "," ? ";" : part));
}

/** A link of its own to the API would come without the session's token. */
function save(text: string, file: string): void {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(new Blob([text]));
    link.download = file;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
}
