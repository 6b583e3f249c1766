import { useRef, useState } from "preact/hooks";
import { addToken, addUser, change, isOwn, remove, roles } from "../data/people";
import type { Kind, Person } from "../data/people";
import { leave } from "../data/session";
import type { Role } from "../data/session";
import { Dialog } from "./Dialog";
import { FormDialog, textIn } from "./FormDialog";
import { NewPassword } from "./NewPassword";
import { Notice } from "./State";
import { say } from "./status";
import { Text } from "./Text";

interface DialogProps {
    onClose: () => void;
    onDone: () => void;
}

export function AddUser({ isFirst, onClose, onDone }: DialogProps & { isFirst: boolean }) {
    const add = async (form: FormData) => {
        const name = textIn(form, "name");
        await addUser(name, textIn(form, "password"), isFirst ? "admin" : roleIn(form));
        if (isFirst) {
            leave(`The user ${name} is there. Sign in with the new password.`);
            return;
        }
        say(`The user ${name} is added.`);
        onDone();
    };
    return (
        <FormDialog
            title={isFirst ? "Add the first user" : "Add a user"}
            action="Add the user"
            onClose={onClose}
            onSubmit={add}
        >
            {isFirst && (
                <Notice kind="info">
                    The first user is an admin. This session ends then; sign in as the new user.
                </Notice>
            )}
            <NameField />
            <NewPassword title="Password" />
            {!isFirst && <RoleField value="operator" />}
        </FormDialog>
    );
}

/** `onDone` is given the token. */
export function AddToken({ onClose, onDone }: { onClose: () => void; onDone: (name: string, token: string) => void }) {
    const add = async (form: FormData) => {
        const days = textIn(form, "days");
        const name = textIn(form, "name");
        onDone(name, await addToken(name, roleIn(form), days === "" ? undefined : Number(days)));
    };
    return (
        <FormDialog title="Make a token" action="Make the token" onClose={onClose} onSubmit={add}>
            <NameField />
            <RoleField value="operator" />
            <label>
                Days that it is good for
                <input
                    name="days"
                    type="number"
                    inputMode="numeric"
                    min="1"
                    max="36500"
                    step="1"
                    aria-describedby="days-hint"
                />
            </label>
            <p id="days-hint" class="hint">
                Without a number it is good until it is removed.
            </p>
        </FormDialog>
    );
}

export function ShowToken({ name, token, onClose }: { name: string; token: string; onClose: () => void }) {
    const field = useRef<HTMLInputElement>(null);
    const [told, setTold] = useState("");
    const copy = async () => {
        field.current?.select();
        try {
            // Where the page came without TLS, there is no clipboard.
            await navigator.clipboard.writeText(token);
            setTold("It is copied.");
        } catch {
            setTold("It is selected: copy it with Ctrl+C.");
        }
    };
    return (
        <Dialog title="The token" onClose={onClose}>
            <div class="form">
                <Notice kind="warn">It is shown this once. The service itself can't read it later.</Notice>
                <div class="token-line">
                    <input
                        ref={field}
                        class="mono"
                        readOnly
                        value={token}
                        aria-label={`Token ${name}`}
                        onFocus={() => field.current?.select()}
                    />
                    <button type="button" class="primary" onClick={() => void copy()}>
                        Copy
                    </button>
                </div>
                <p class="hint" role="status">
                    {told}
                </p>
                <p>
                    A program sends it with each request: <code>Authorization: Bearer</code>, a blank and the token.
                </p>
                <p>
                    A panel signs in with it for good: open <code class="text">{location.origin}/operator</code> there,
                    choose “With a token” and paste it.
                </p>
                <div class="actions">
                    <button type="button" onClick={onClose}>
                        Done
                    </button>
                </div>
            </div>
        </Dialog>
    );
}

export function ChangePerson({ kind, person, onClose, onDone }: DialogProps & { kind: Kind; person: Person }) {
    const { name } = person;
    const isMe = isOwn(kind, name);
    const save = async (form: FormData) => {
        const role = roleIn(form);
        const password = textIn(form, "password");
        const to = { ...(role !== person.role && { role }), ...(password !== "" && { password }) };
        if (Object.keys(to).length > 0) {
            await change(kind, name, to);
            if (isMe) {
                leave("Your sessions have ended with the change. Sign in to go on.");
                return;
            }
            say(`The ${kind} ${name} is changed.`);
        }
        onDone();
    };
    return (
        <FormDialog title={`Change the ${kind}`} action="Change" onClose={onClose} onSubmit={save}>
            <p>
                <Text>{name}</Text>
            </p>
            <Notice kind={isMe ? "warn" : "info"}>
                {isMe
                    ? "This is you: with another role or password this session ends."
                    : "Sessions that are open with it end with a change."}
            </Notice>
            <RoleField value={person.role} />
            {kind === "user" && <NewPassword title="Another password, or nothing" isOptional />}
        </FormDialog>
    );
}

export function RemovePerson({ kind, person, onClose, onDone }: DialogProps & { kind: Kind; person: Person }) {
    const { name } = person;
    const isMe = isOwn(kind, name);
    const take = async () => {
        await remove(kind, name);
        if (isMe) {
            leave(`The ${kind} ${name} is removed.`);
            return;
        }
        say(`The ${kind} ${name} is removed.`);
        onDone();
    };
    return (
        <FormDialog
            title={`Remove the ${kind}`}
            action={`Remove the ${kind}`}
            isDanger
            onClose={onClose}
            onSubmit={take}
        >
            <p>
                <Text>{name}</Text>
            </p>
            {isMe ? (
                <Notice kind="warn">This is you: the session ends, and you can't come back in with it.</Notice>
            ) : (
                <p>Whatever is open with it ends at once. The history keeps the name.</p>
            )}
        </FormDialog>
    );
}

function NameField() {
    return (
        <label>
            Name
            <input name="name" required maxLength={64} autocomplete="off" autocapitalize="none" spellcheck={false} />
        </label>
    );
}

function RoleField({ value }: { value: Role }) {
    const [chosen, setChosen] = useState(value);
    return (
        <>
            <label>
                Role
                <select
                    name="role"
                    value={chosen}
                    aria-describedby="role-hint"
                    onChange={(event) => setChosen(event.currentTarget.value as Role)}
                >
                    {roles.map(({ role }) => (
                        <option value={role}>{role}</option>
                    ))}
                </select>
            </label>
            <p id="role-hint" class="hint">
                {roles.find(({ role }) => role === chosen)?.may}
            </p>
        </>
    );
}

function roleIn(form: FormData): Role {
    return textIn(form, "role") as Role;
}
