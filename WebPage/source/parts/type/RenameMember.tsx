import { useState } from "preact/hooks";
import { Problem, request } from "../../data/api";
import { isSame } from "../../data/json";
import type { JsonObject } from "../../data/json";
import { Dialog } from "../Dialog";
import { Actions, Form, NameField, sayEdited } from "../EntryDialogs";
import { Failure } from "../State";

interface RenameMemberProps {
    type: string;
    name: string;
    /** As it is shown: another one isn't renamed. */
    member: JsonObject;
    onClose: () => void;
    onDone: () => void;
}

/** Another name for a member. Unlike a member that is removed and added anew, it keeps its values in all recipes. */
export function RenameMember({ type, name, member, onClose, onDone }: RenameMemberProps) {
    const [newName, setNewName] = useState(name);
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const isTaken = error instanceof Problem && error.code === "ID_IN_USE";
    const submit = async () => {
        setIsBusy(true);
        try {
            const path = `recipeTypeList::${type}::members::`;
            const answer = await move(path + name, path + newName, member);
            onClose();
            sayEdited(`${name} is ${newName} now, in all recipes of the type too.`, answer);
            onDone();
        } catch (reason) {
            setError(reason);
            setIsBusy(false);
        }
    };
    const input = (text: string) => {
        setNewName(text);
        setError(undefined);
    };
    return (
        <Dialog title={`Rename the member ${name}`} onClose={onClose}>
            <Form onSubmit={() => void submit()}>
                <NameField
                    label="Name"
                    value={newName}
                    onInput={input}
                    mistake={isTaken ? error.message : ""}
                    hint="Stored at once. The values in recipes follow."
                />
                {error !== undefined && !isTaken && <Failure error={error} />}
                <Actions onClose={onClose}>
                    <button
                        type="submit"
                        class="primary"
                        disabled={isBusy || newName === "" || newName === name || newName.includes("::")}
                    >
                        Rename
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

/** The tag of a member is told only with the refusal of an edit under another one. */
async function move(from: string, to: string, shown: JsonObject): Promise<string> {
    const text = JSON.stringify({ from, to });
    const under = async (tag: string) => (await request("POST", "/moves", { text, headers: { "If-Match": tag } })).text;
    try {
        return await under('"unknown"');
    } catch (error) {
        const current = error instanceof Problem && error.status === 412 ? error.members.get("current") : undefined;
        if (current === undefined || !isSame(current, shown)) {
            throw error;
        }
        return under((error as Problem).etag);
    }
}
