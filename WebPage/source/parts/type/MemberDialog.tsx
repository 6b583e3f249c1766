import { useMemo, useState } from "preact/hooks";
import type { Typed } from "../../data/input";
import { isSame, write } from "../../data/json";
import type { Json, JsonObject } from "../../data/json";
import { types } from "../../data/recipes";
import type { Input } from "../../data/shapes";
import { useStore } from "../../data/store";
import { symbols } from "../../data/symbols";
import { withKey } from "../../data/type_entry";
import { Dialog } from "../Dialog";
import { Actions, Form } from "../EntryDialogs";
import { Notice } from "../State";
import { ValueField } from "../ValueField";
import { Choice } from "./Choice";
import { formOf, isMapped, textOf } from "./member_rows";

interface MemberDialogProps {
    /** Empty for a new one. */
    name: string;
    member: JsonObject;
    /** What the form of its saved symbol is. */
    input: Input;
    mistake: string;
    /** Whether the type has a member of this name, or would have by inheriting it. */
    isTaken: (name: string) => boolean;
    isInherited: (name: string) => boolean;
    onDone: (name: string, member: JsonObject) => void;
    onRemove: () => void;
    /** Undefined where it can't be renamed now. */
    onRename: (() => void) | undefined;
    onClose: () => void;
}

/** A member as it is to be saved with its type. */
export function MemberDialog(props: MemberDialogProps) {
    const { member, mistake, isInherited, onRemove, onRename, onDone, onClose } = props;
    const isNew = props.name === "";
    const form = useMemberForm(props);
    const submit = () => form.made && onDone(form.name, form.made);
    return (
        <Dialog title={isNew ? "Add a member" : `Member ${props.name}`} onClose={onClose}>
            <Form onSubmit={submit}>
                {mistake && <Notice kind="bad">{mistake}</Notice>}
                {isNew && <NameOfMember form={form} />}
                {isNew && isInherited(form.name) && (
                    <p class="hint">A member of this name is inherited, and comes first: values belong to that one.</p>
                )}
                <Choice
                    label="Symbol"
                    value={form.symbol}
                    onInput={form.setSymbol}
                    options={form.symbolNames}
                    mistake={form.symbolMistake}
                    hint="Type a part of its name."
                />
                <Choice
                    label="Nested type"
                    value={form.nested}
                    onInput={form.setNested}
                    options={form.typeNames}
                    mistake={form.nestedMistake}
                    hint="A recipe names one of that type here."
                />
                <DefaultValue form={form} />
                <label class="check">
                    <input
                        type="checkbox"
                        checked={form.isEnabled}
                        onChange={(event) => form.setEnabled(event.currentTarget.checked)}
                    />
                    Enabled: it takes part in activations
                </label>
                {member.has("schema") && (
                    <div class="field">
                        Schema of its own
                        <pre class="standing" tabIndex={0}>
                            {write(member.get("schema")!, "  ")}
                        </pre>
                    </div>
                )}
                <Actions onClose={onClose}>
                    {!isNew && (
                        <button type="button" class="danger" onClick={onRemove}>
                            Remove
                        </button>
                    )}
                    {!isNew && (
                        <button
                            type="button"
                            disabled={!onRename}
                            title={onRename ? undefined : "Save the type first."}
                            onClick={onRename}
                        >
                            Rename …
                        </button>
                    )}
                    <button type="submit" class="primary" disabled={!form.made}>
                        {isNew ? "Add" : "Change"}
                    </button>
                </Actions>
                <p class="hint">Nothing is stored before the type is saved.</p>
            </Form>
        </Dialog>
    );
}

function NameOfMember({ form }: { form: MemberForm }) {
    return (
        <label>
            Name
            <input
                autofocus
                required
                autocomplete="off"
                spellcheck={false}
                value={form.name}
                aria-invalid={form.nameMistake !== ""}
                onInput={(event) => form.setName(event.currentTarget.value)}
            />
            {form.nameMistake && (
                <span class="mistake" role="alert">
                    {form.nameMistake}
                </span>
            )}
        </label>
    );
}

function DefaultValue({ form }: { form: MemberForm }) {
    return (
        <div class="field">
            <label class="check">
                <input
                    type="checkbox"
                    checked={form.hasDefault}
                    onChange={(event) => form.setHasDefault(event.currentTarget.checked)}
                />
                Default value, where a recipe has none
            </label>
            {form.hasDefault && (
                <ValueField
                    key={form.symbol + "\n" + write(form.input as never)}
                    label="Default value"
                    input={form.input}
                    value={form.value}
                    onChange={form.setTyped}
                />
            )}
        </div>
    );
}

type MemberForm = ReturnType<typeof useMemberForm>;

function useMemberForm({ name: oldName, member, input: savedInput, isTaken }: MemberDialogProps) {
    const [name, setName] = useState(oldName);
    const [symbol, setSymbol] = useState(textOf(member.get("symbol")));
    const [nested, setNested] = useState(textOf(member.get("recipeType")));
    const [hasDefault, setHasDefault] = useState(member.has("defaultValue"));
    const [typed, setTyped] = useState<Typed>();
    const [isEnabled, setEnabled] = useState(oldName === "" || member.get("enabled") === true);
    const symbolNames = useNames(useStore(symbols).items);
    const typeNames = useNames(useStore(types).items.filter(({ kind }) => kind === "type"));
    const isOldSymbol = symbol === textOf(member.get("symbol"));
    const isOldNested = nested === textOf(member.get("recipeType"));
    const input = isOldSymbol && isOldNested && oldName !== "" ? savedInput : formOf(symbol, nested);
    const nameMistake =
        oldName === "" && isTaken(name)
            ? "The type has a member of this name."
            : name.includes("::")
              ? "A name has no ::."
              : "";
    const symbolMistake = symbol !== "" && !isOldSymbol && isMapped(symbol) === false ? "There is no such symbol." : "";
    const nestedMistake = nested !== "" && !isOldNested && !typeNames.includes(nested) ? "There is no such type." : "";
    const value = typed && "value" in typed ? typed.value : member.get("defaultValue");
    const isWrong =
        nameMistake ||
        symbolMistake ||
        nestedMistake ||
        (hasDefault && typed && "mistake" in typed) ||
        (hasDefault && value === undefined);
    const changes: [string, Json | undefined][] = [
        ["symbol", symbol || undefined],
        ["recipeType", nested || undefined],
        ["defaultValue", hasDefault ? value : undefined],
        ["enabled", isEnabled],
    ];
    const made =
        isWrong || name === "" || (symbol === "" && nested === "") ? undefined : changes.reduce(changedTo, member);
    return {
        name,
        setName,
        symbol,
        setSymbol,
        nested,
        setNested,
        hasDefault,
        setHasDefault,
        setTyped,
        isEnabled,
        setEnabled,
        input,
        value,
        symbolNames,
        typeNames,
        nameMistake,
        symbolMistake,
        nestedMistake,
        made,
    };
}

/** What wasn't touched stays exactly as it was: no symbol may be told by null, and not enabled by no key. */
function changedTo(member: JsonObject, [key, value]: [string, Json | undefined]): JsonObject {
    const before = member.get(key);
    const isAsBefore =
        (value === undefined && before === null) || (value === false && before === undefined && key === "enabled");
    return isAsBefore || (value !== undefined && before !== undefined && isSame(value, before))
        ? member
        : withKey(member, key, value);
}

function useNames(items: readonly { name: string }[]): string[] {
    return useMemo(() => items.map(({ name }) => name), [items]);
}
