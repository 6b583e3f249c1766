import { useState } from "preact/hooks";
import { request } from "../../data/api";
import { write } from "../../data/json";
import type { Json } from "../../data/json";
import { types } from "../../data/recipes";
import { go } from "../../data/router";
import { useStore } from "../../data/store";
import { Dialog } from "../Dialog";
import { Actions, Form, isOfName, nameMistake, NameField, sayEdited } from "../EntryDialogs";
import { Failure } from "../State";
import { Choice } from "./Choice";

interface NewProps {
    /** Where it is to stand; empty, or with :: at its end. */
    folder: string;
    onClose: () => void;
}

/** A type without members of its own, for the user to go on with. */
export function NewType({ folder, onClose }: NewProps) {
    const [name, setName] = useState(folder);
    const [parent, setParent] = useState("");
    const { items } = useStore(types);
    const making = useMaking();
    const typeNames = items.filter(({ kind }) => kind === "type").map((item) => item.name);
    const isUnknown = parent !== "" && !typeNames.includes(parent);
    const submit = () =>
        making.run(async () => {
            const entry = new Map<string, Json>(parent ? [["recipeTypeNames", [parent]]] : []).set(
                "members",
                new Map(),
            );
            const answer = await request("PUT", "/type", {
                query: { name },
                text: write(entry),
                headers: { "If-None-Match": "*" },
            });
            onClose();
            sayEdited(`${name} is made.`, answer.text);
            go("/type", { name });
        });
    return (
        <Dialog title="New type" onClose={onClose}>
            <Form onSubmit={submit}>
                <NameField
                    label="Name"
                    value={name}
                    onInput={(text) => (setName(text), making.clear())}
                    mistake={making.nameMistake}
                    hint="Folders stand before it: Folder::Name"
                />
                <Choice
                    label="Inherits from"
                    value={parent}
                    onInput={setParent}
                    options={typeNames}
                    hint="Optional. Its members become members of the new type too."
                    mistake={isUnknown ? "There is no such type." : ""}
                />
                {making.failure !== undefined && <Failure error={making.failure} />}
                <Actions onClose={onClose}>
                    <button type="submit" class="primary" disabled={making.isBusy || isUnknown || name === folder}>
                        Make the type
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

export function NewFolder({ folder, onClose }: NewProps) {
    const [name, setName] = useState(folder);
    const making = useMaking();
    const submit = () =>
        making.run(async () => {
            const answer = await request("POST", "/folder", { query: { name, list: "types" } });
            onClose();
            sayEdited(`The folder ${name} is made.`, answer.text || "{}");
        });
    return (
        <Dialog title="New folder of types" onClose={onClose}>
            <Form onSubmit={submit}>
                <NameField
                    label="Name"
                    value={name}
                    onInput={(text) => (setName(text), making.clear())}
                    mistake={making.nameMistake}
                    hint="Folders stand before it: Folder::Name"
                />
                {making.failure !== undefined && <Failure error={making.failure} />}
                <Actions onClose={onClose}>
                    <button type="submit" class="primary" disabled={making.isBusy || name === folder}>
                        Make the folder
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

interface Making {
    isBusy: boolean;
    nameMistake: string;
    /** What went wrong that isn't due to the name. */
    failure: unknown;
    run: (make: () => Promise<void>) => void;
    clear: () => void;
}

function useMaking(): Making {
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const run = (make: () => Promise<void>) => {
        setIsBusy(true);
        make().catch((reason: unknown) => {
            setError(reason);
            setIsBusy(false);
        });
    };
    const isNamed = isOfName(error);
    return {
        isBusy,
        run,
        nameMistake: isNamed ? nameMistake(error) : "",
        failure: isNamed ? undefined : error,
        clear: () => setError(undefined),
    };
}
