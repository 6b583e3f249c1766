import { useState } from "preact/hooks";
import { isOwn, readPeople } from "../data/people";
import type { Kind, Person } from "../data/people";
import { may } from "../data/session";
import { useAnswer } from "../data/useAnswer";
import { AddToken, AddUser, ChangePerson, RemovePerson, ShowToken } from "../parts/PersonDialogs";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { Text, Time } from "../parts/Text";

type Open =
    | { is: "addUser" | "addToken" }
    | { is: "token"; name: string; token: string }
    | { is: "change" | "remove"; kind: Kind; person: Person };

export function Users() {
    return may("administer") ? <People /> : <Empty title="Users and tokens are for admins." />;
}

function People() {
    const { answer, error, again } = useAnswer(readPeople, []);
    const [open, setOpen] = useState<Open>();
    if (!answer) {
        return error === undefined ? <Loading what="the users" /> : <Failure error={error} retry={again} />;
    }
    const { users, tokens } = answer;
    const isFirst = users.length === 0;
    return (
        <section class="view">
            <Head title="Users and tokens">
                {!isFirst && (
                    <button type="button" onClick={() => setOpen({ is: "addToken" })}>
                        Make a token …
                    </button>
                )}
                <button type="button" class="primary" onClick={() => setOpen({ is: "addUser" })}>
                    {isFirst ? "Add the first user …" : "Add a user …"}
                </button>
            </Head>
            {error !== undefined && <Failure error={error} retry={again} />}
            {isFirst ? (
                <Empty title="There is no user yet.">
                    <p>
                        Add the first user, an admin. This session came by the link that the service printed, and ends
                        then.
                    </p>
                </Empty>
            ) : (
                <PersonTable kind="user" people={users} onOpen={setOpen} />
            )}
            {(!isFirst || tokens.length > 0) && <h2>Tokens</h2>}
            {tokens.length > 0 && <PersonTable kind="token" people={tokens} onOpen={setOpen} />}
            {!isFirst && tokens.length === 0 && (
                <p class="quiet-text">
                    There are none. Programs and panels come in with a token instead of a password.
                </p>
            )}
            {open && <OpenDialog open={open} isFirst={isFirst} onOpen={setOpen} onChange={again} />}
        </section>
    );
}

interface OpenDialogProps {
    open: Open;
    isFirst: boolean;
    onOpen: (open: Open | undefined) => void;
    /** Something is another way than it was read. */
    onChange: () => void;
}

function OpenDialog({ open, isFirst, onOpen, onChange }: OpenDialogProps) {
    const onClose = () => onOpen(undefined);
    const onDone = () => {
        onChange();
        onClose();
    };
    const onToken = (name: string, token: string) => {
        onChange();
        onOpen({ is: "token", name, token });
    };
    switch (open.is) {
        case "addUser":
            return <AddUser isFirst={isFirst} onClose={onClose} onDone={onDone} />;
        case "addToken":
            return <AddToken onClose={onClose} onDone={onToken} />;
        case "token":
            return <ShowToken name={open.name} token={open.token} onClose={onClose} />;
        case "change":
            return <ChangePerson kind={open.kind} person={open.person} onClose={onClose} onDone={onDone} />;
        case "remove":
            return <RemovePerson kind={open.kind} person={open.person} onClose={onClose} onDone={onDone} />;
    }
}

function PersonTable({ kind, people, onOpen }: { kind: Kind; people: Person[]; onOpen: (open: Open) => void }) {
    return (
        <table class="people">
            <thead>
                <tr>
                    <th>Name</th>
                    <th>Role</th>
                    <th>Added</th>
                    {kind === "token" && <th>Good</th>}
                    <th>
                        <span class="hidden">Actions</span>
                    </th>
                </tr>
            </thead>
            <tbody>
                {people.map((person) => (
                    <tr key={person.name}>
                        <td>
                            <Text>{person.name}</Text>
                            {isOwn(kind, person.name) && <span class="quiet-text"> (you)</span>}
                        </td>
                        <td>{person.role}</td>
                        <td>
                            <Time of={person.created} short />
                        </td>
                        {kind === "token" && (
                            <td>
                                <Expiry of={person.expires ?? null} />
                            </td>
                        )}
                        <td class="row-actions">
                            <button
                                type="button"
                                aria-label={`Change the ${kind} ${person.name}`}
                                onClick={() => onOpen({ is: "change", kind, person })}
                            >
                                Change
                            </button>
                            <button
                                type="button"
                                class="danger"
                                aria-label={`Remove the ${kind} ${person.name}`}
                                onClick={() => onOpen({ is: "remove", kind, person })}
                            >
                                Remove
                            </button>
                        </td>
                    </tr>
                ))}
            </tbody>
        </table>
    );
}

function Expiry({ of }: { of: string | null }) {
    if (of === null) {
        return <>until it is removed</>;
    }
    const isOver = Date.parse(of) < Date.now();
    return isOver ? (
        <span class="state bad">
            <span aria-hidden="true">✕</span> expired
        </span>
    ) : (
        <>
            until <Time of={of} />
        </>
    );
}
