import { useState } from "preact/hooks";
import { request } from "../../data/api";
import { Dialog } from "../Dialog";
import { PathLink } from "../PathLink";
import { Failure, Notice } from "../State";
import { counted, EntryName, Link, Text } from "../Text";
import type { Edited } from "./useTypeDraft";

/** What saving the type has done besides, and what can be done about its recipes. */
export function Saved({
    type,
    edited: { written, removed, warnings },
    recipeCount,
}: {
    type: string;
    edited: Edited;
    recipeCount: number;
}) {
    return (
        <Notice kind={warnings.length > 0 ? "warn" : "good"}>
            <p>The type is saved.</p>
            {warnings.length > 0 && (
                <ul>
                    {warnings.map(({ path, text }) => (
                        <li>
                            {path && (
                                <>
                                    <PathLink path={path} />:{" "}
                                </>
                            )}
                            <Text>{text}</Text>
                        </li>
                    ))}
                </ul>
            )}
            <Paths title="Written too" paths={written} />
            <Paths title="Removed too" paths={removed} />
            {recipeCount > 0 && <Update type={type} recipeCount={recipeCount} />}
        </Notice>
    );
}

function Paths({ title, paths }: { title: string; paths: string[] }) {
    const most = 50;
    return paths.length === 0 ? null : (
        <details>
            <summary>
                {title}: {counted(paths.length, "place")}
            </summary>
            <ul>
                {paths.slice(0, most).map((path) => (
                    <li>
                        <PathLink path={path} />
                    </li>
                ))}
                {paths.length > most && <li>and {paths.length - most} more</li>}
            </ul>
        </details>
    );
}

interface Updates {
    counts: { updated: number; same: number; failed: number };
    rows: { recipe: string; state: string; text: string; info: string[] }[];
}

/** Recipes get values only when somebody asks for it: theirs may be wanted as they are. */
function Update({ type, recipeCount }: { type: string; recipeCount: number }) {
    const [updates, setUpdates] = useState<Updates>();
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const update = async () => {
        setIsBusy(true);
        setError(undefined);
        try {
            setUpdates(
                JSON.parse((await request("POST", "/updates", { text: JSON.stringify({ type }) })).text) as Updates,
            );
        } catch (reason) {
            setError(reason);
        }
        setIsBusy(false);
    };
    return (
        <>
            <p>
                {counted(recipeCount, "recipe is", "recipes are")} as before. Values that they lack now can be filled in
                from the type.
            </p>
            {error !== undefined && <Failure error={error} />}
            <button type="button" disabled={isBusy} onClick={() => void update()}>
                {isBusy ? "Bringing them into line …" : "Bring its recipes into line"}
            </button>
            {updates && <UpdateRows updates={updates} onClose={() => setUpdates(undefined)} />}
        </>
    );
}

const signs: Record<string, [sign: string, kind: string]> = {
    updated: ["✓", "good"],
    same: ["=", "quiet"],
    failed: ["✕", "bad"],
};

function UpdateRows({ updates: { counts, rows }, onClose }: { updates: Updates; onClose: () => void }) {
    const most = 500;
    // What failed is what somebody has to see to.
    const sorted = ["failed", "updated", "same"].flatMap((state) => rows.filter((row) => row.state === state));
    return (
        <Dialog title="The recipes of the type" onClose={onClose} wide>
            <p class="note">
                {counts.updated} updated, {counts.same} the same, {counts.failed} failed.
            </p>
            <ul class="update-rows">
                {sorted.slice(0, most).map(({ recipe, state, text, info }) => (
                    <li key={recipe}>
                        <span class={"state " + (signs[state]?.[1] ?? "quiet")}>
                            <span aria-hidden="true">{signs[state]?.[0]}</span> {state}
                        </span>
                        <span>
                            <Link to="/recipe" query={{ name: recipe }}>
                                <EntryName name={recipe} />
                            </Link>
                            {[text, ...info].filter(Boolean).map((line) => (
                                <span class="update-line">
                                    <Text long>{line}</Text>
                                </span>
                            ))}
                        </span>
                    </li>
                ))}
                {sorted.length > most && <li>and {sorted.length - most} more</li>}
            </ul>
        </Dialog>
    );
}
