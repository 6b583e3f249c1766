import { useMemo, useState } from "preact/hooks";
import { request } from "../data/api";
import { recipes, types } from "../data/recipes";
import { go } from "../data/router";
import { useStore } from "../data/store";
import { Dialog } from "./Dialog";
import { Actions, Form, isOfName, NameField, nameMistake, sayEdited } from "./EntryDialogs";
import { Failure, Notice } from "./State";
import { say } from "./status";

interface NewProps {
    /** Where it is to stand; empty, or with :: at its end. */
    folder: string;
    onClose: () => void;
}

/** Makes a recipe of a type, with the values of another one if wanted, and opens it. */
export function NewRecipeDialog({ folder, onClose }: NewProps) {
    const [name, setName] = useState(folder);
    const [type, setType] = useState("");
    const [model, setModel] = useState("");
    const { error, isBusy, run, clear } = useRun();
    const all = useStore(types).items.filter(({ kind }) => kind === "type");
    const models = useModels(type);
    const hasModel = model === "" || models.includes(model);
    const submit = () =>
        run(async () => {
            const text =
                model === ""
                    ? JSON.stringify({ recipeTypeName: type, values: {} })
                    : (await request("GET", "/recipe", { query: { name: model } })).text;
            const answer = await request("PUT", "/recipe", {
                query: { name },
                text,
                headers: { "If-None-Match": "*" },
            });
            onClose();
            sayEdited(`${name} is made.`, answer.text);
            go("/recipe", { name });
        });
    if (all.length === 0) {
        return (
            <Dialog title="New recipe" onClose={onClose}>
                <Notice kind="info">
                    A recipe is of a type, and there is none yet. Make a type first, or import some.
                </Notice>
            </Dialog>
        );
    }
    return (
        <Dialog title="New recipe" onClose={onClose}>
            <Form onSubmit={submit}>
                <NameField
                    label="Name"
                    value={name}
                    onInput={(text) => (setName(text), clear())}
                    mistake={isOfName(error) ? nameMistake(error) : ""}
                    hint="Folders stand before it: Folder::Name. Those that are missing are made."
                />
                <label>
                    Type
                    <select required value={type} onChange={(event) => setType(event.currentTarget.value)}>
                        <option value="">Choose one</option>
                        {all.map((each) => (
                            <option key={each.name} value={each.name}>
                                {each.name}
                            </option>
                        ))}
                    </select>
                </label>
                <div class="field">
                    <label>
                        Values of
                        <input
                            list="models"
                            value={model}
                            disabled={type === ""}
                            placeholder="the defaults of the type"
                            autocomplete="off"
                            aria-invalid={!hasModel}
                            aria-describedby="model-hint"
                            onInput={(event) => setModel(event.currentTarget.value)}
                        />
                    </label>
                    <p id="model-hint" class={hasModel ? "hint" : "mistake"}>
                        {hasModel
                            ? "Another recipe of this type; empty for none."
                            : "There is no such recipe of this type."}
                    </p>
                    <datalist id="models">
                        {models
                            .filter((each) => each.includes(model))
                            .slice(0, 50)
                            .map((each) => (
                                <option value={each} />
                            ))}
                    </datalist>
                </div>
                {error !== undefined && !isOfName(error) && <Failure error={error} />}
                <Actions onClose={onClose}>
                    <button type="submit" class="primary" disabled={isBusy || !hasModel}>
                        Make the recipe
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

export function NewFolderDialog({ folder, onClose }: NewProps) {
    const [name, setName] = useState(folder);
    const { error, isBusy, run, clear } = useRun();
    const submit = () =>
        run(async () => {
            await request("POST", "/folder", { query: { name } });
            onClose();
            say(`The folder ${name} is made.`);
        });
    return (
        <Dialog title="New folder" onClose={onClose}>
            <Form onSubmit={submit}>
                <NameField
                    label="Name"
                    value={name}
                    onInput={(text) => (setName(text), clear())}
                    mistake={isOfName(error) ? nameMistake(error) : ""}
                    hint="In another folder: Folder::Name"
                />
                {error !== undefined && !isOfName(error) && <Failure error={error} />}
                <Actions onClose={onClose}>
                    <button type="submit" class="primary" disabled={isBusy}>
                        Make the folder
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

/** The names of all recipes of a type. */
function useModels(type: string): string[] {
    const { items } = useStore(recipes);
    return useMemo(() => items.filter((item) => item.type === type).map(({ name }) => name), [items, type]);
}

function useRun() {
    const [error, setError] = useState<unknown>();
    const [isBusy, setIsBusy] = useState(false);
    const run = (edit: () => Promise<void>) => {
        setIsBusy(true);
        setError(undefined);
        edit().catch((reason: unknown) => {
            setError(reason);
            setIsBusy(false);
        });
    };
    return { error, isBusy, run, clear: () => setError(undefined) };
}
