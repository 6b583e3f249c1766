import { useState } from "preact/hooks";
import { types } from "../../data/recipes";
import { useStore } from "../../data/store";
import { Dialog } from "../Dialog";
import { Actions, Form } from "../EntryDialogs";
import { EntryName, Link } from "../Text";
import { Choice } from "./Choice";

interface ParentsProps {
    type: string;
    names: string[];
    onChange?: ((names: string[]) => void) | undefined;
}

/** The types that this one inherits from. */
export function Parents({ type, names, onChange }: ParentsProps) {
    const [isAdding, setIsAdding] = useState(false);
    return (
        <section class="parents" aria-label="Inherits from">
            <h2>Inherits from</h2>
            {names.length === 0 && <span class="quiet-text">no other type</span>}
            {names.map((name) => (
                <span key={name} class="parent">
                    <Link to="/type" query={{ name }}>
                        <EntryName name={name} />
                    </Link>
                    {onChange && (
                        <button
                            type="button"
                            class="quiet icon"
                            aria-label={`Inherit from ${name} no longer`}
                            onClick={() => onChange(names.filter((each) => each !== name))}
                        >
                            ✕
                        </button>
                    )}
                </span>
            ))}
            {onChange && (
                <button type="button" onClick={() => setIsAdding(true)}>
                    Add …
                </button>
            )}
            {isAdding && (
                <AddParent
                    taken={[type, ...names]}
                    onAdd={(name) => onChange?.([...names, name])}
                    onClose={() => setIsAdding(false)}
                />
            )}
        </section>
    );
}

function AddParent({ taken, onAdd, onClose }: { taken: string[]; onAdd: (name: string) => void; onClose: () => void }) {
    const [name, setName] = useState("");
    const { items } = useStore(types);
    const options = items.filter((item) => item.kind === "type" && !taken.includes(item.name)).map((item) => item.name);
    const isChosen = options.includes(name);
    const submit = () => {
        onAdd(name);
        onClose();
    };
    return (
        <Dialog title="Inherit from another type" onClose={onClose}>
            <Form onSubmit={submit}>
                <Choice
                    label="Type"
                    value={name}
                    onInput={setName}
                    options={options}
                    hint="Its members become members of this type too."
                    mistake={name && !isChosen ? "There is no such type." : ""}
                />
                <Actions onClose={onClose}>
                    <button type="submit" class="primary" disabled={!isChosen}>
                        Add
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}
