import type { ComponentChildren } from "preact";
import { useMemo, useState } from "preact/hooks";
import type { Json } from "../../data/json";
import { Dialog } from "../Dialog";
import { Notice } from "../State";
import { counted, Text, ValueText } from "../Text";
import type { Book } from "./book";
import { changesBetween, rebased } from "./edits";
import type { Edit, Edits, Theirs } from "./edits";

interface ConflictProps {
    before: Book;
    now: Book;
    edits: Edits;
    isSaving: boolean;
    onClose: () => void;
    onGoOn: (edits: Edits) => void;
    onSave: (edits: Edits) => void;
}

/** What others saved meanwhile beside what was edited here, to be chosen member by member. */
export function Conflict({ before, now, edits, isSaving, onClose, onGoOn, onSave }: ConflictProps) {
    const [theirs, setTheirs] = useState<ReadonlySet<string>>(new Set());
    const changes = useMemo(() => changesBetween(before, now, edits), [before, now, edits]);
    const clashes = changes.filter(({ mine }) => mine !== undefined);
    const others = changes.filter(({ mine }) => mine === undefined);
    const rest = rebased(edits, now, (member) => theirs.has(member));
    const hasMistakes = [...rest.values()].some(({ mistake }) => mistake !== "");
    const choose = (member: string, isTheirs: boolean) => {
        const chosen = new Set(theirs);
        chosen[isTheirs ? "add" : "delete"](member);
        setTheirs(chosen);
    };
    return (
        <Dialog title="Somebody else has saved this recipe" onClose={onClose} wide>
            <div class="form">
                {before.type !== now.type && (
                    <Notice kind="warn">
                        <p>
                            It is of the type <Text>{now.type}</Text> now, before of <Text>{before.type}</Text>.
                        </p>
                    </Notice>
                )}
                {clashes.length > 0 ? (
                    <p>
                        {counted(clashes.length, "member was", "members were")} changed by both. Choose what is to
                        stand; nothing has been saved yet.
                    </p>
                ) : (
                    <p>Nothing that they changed was changed here too.</p>
                )}
                {clashes.length > 0 && <ChangeTable changes={clashes} theirs={theirs} choose={choose} />}
                {others.length > 0 && (
                    <details open={clashes.length === 0}>
                        <summary>
                            {counted(others.length, "other change", "other changes")} of theirs, taken over
                        </summary>
                        <ChangeTable changes={others} />
                    </details>
                )}
                <div class="actions">
                    <button type="button" onClick={() => onGoOn(rest)}>
                        Go on editing
                    </button>
                    <button
                        type="button"
                        class="primary"
                        disabled={isSaving || rest.size === 0 || hasMistakes}
                        onClick={() => onSave(rest)}
                    >
                        {rest.size === 0 ? "Nothing left to save" : `Save ${counted(rest.size, "change")}`}
                    </button>
                </div>
            </div>
        </Dialog>
    );
}

interface ChangeTableProps {
    changes: Theirs[];
    /** What was chosen to be theirs, where there is a choice. */
    theirs?: ReadonlySet<string>;
    choose?: (member: string, isTheirs: boolean) => void;
}

function ChangeTable({ changes, theirs, choose }: ChangeTableProps) {
    const titles = choose ? ["Member", "Mine", "Theirs", "Before"] : ["Member", "Theirs", "Before"];
    const choice = (member: string, isTheirs: boolean, value: ComponentChildren) => (
        <label>
            <input
                type="radio"
                name={member}
                checked={theirs?.has(member) === isTheirs}
                onChange={() => choose?.(member, isTheirs)}
            />
            <span class="hidden">{isTheirs ? "Theirs:" : "Mine:"}</span> {value}
        </label>
    );
    return (
        <table class="clashes">
            <thead>
                <tr>
                    {titles.map((title) => (
                        <th scope="col">{title}</th>
                    ))}
                </tr>
            </thead>
            <tbody>
                {changes.map(({ member, before, theirs: value, mine }) => (
                    <tr key={member}>
                        <th scope="row">
                            <Text>{member}</Text>
                        </th>
                        {mine && <td data-title="Mine">{choice(member, false, <Mine edit={mine} />)}</td>}
                        <td data-title="Theirs">
                            {mine ? choice(member, true, <OrNothing value={value} />) : <OrNothing value={value} />}
                        </td>
                        <td data-title="Before">
                            <OrNothing value={before} />
                        </td>
                    </tr>
                ))}
            </tbody>
        </table>
    );
}

function Mine({ edit }: { edit: Edit }) {
    return edit.mistake ? (
        <span class="mistake">
            <Text>{edit.text}</Text> ✕
        </span>
    ) : (
        <OrNothing value={edit.value} />
    );
}

function OrNothing({ value }: { value: Json | undefined }) {
    return value === undefined ? <span class="nothing">left out</span> : <ValueText value={value} />;
}
