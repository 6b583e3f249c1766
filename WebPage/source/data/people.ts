// Users and tokens, as an admin looks after them.
import { readPlain, request } from "./api";
import { session } from "./session";
import type { Role } from "./session";

export const roles: readonly { role: Role; may: string }[] = [
    { role: "viewer", may: "Reads everything but users and tokens." },
    { role: "operator", may: "Also activates recipes, and takes activations back." },
    { role: "engineer", may: "Also edits, imports and writes single symbols." },
    { role: "admin", may: "Also looks after users and tokens." },
];

export type Kind = "user" | "token";

export interface Person {
    name: string;
    role: Role;
    created: string;
    /** Of tokens alone; null for good. */
    expires?: string | null;
}

export interface People {
    users: Person[];
    tokens: Person[];
}

export async function readPeople(signal: AbortSignal): Promise<People> {
    const [users, tokens] = await Promise.all([
        readPlain<{ items: Person[] }>("/users", {}, signal),
        readPlain<{ items: Person[] }>("/tokens", {}, signal),
    ]);
    return { users: users.items, tokens: tokens.items };
}

/** Whether the session belongs to it, and ends when its role changes or it is removed. */
export function isOwn(kind: Kind, name: string): boolean {
    return session.value?.user === `${kind}:${name}`;
}

export async function addUser(name: string, password: string, role: Role): Promise<void> {
    await request("POST", "/users", { text: JSON.stringify({ name, password, role }) });
}

/** Returns the token, which nobody can ask for later. */
export async function addToken(name: string, role: Role, days: number | undefined): Promise<string> {
    const answer = await request("POST", "/tokens", { text: JSON.stringify({ name, role, expires: days }) });
    return (JSON.parse(answer.text) as { token: string }).token;
}

export async function change(kind: Kind, name: string, to: { role?: Role; password?: string }): Promise<void> {
    await request("PUT", `/${kind}s`, { query: { name }, text: JSON.stringify(to) });
}

export async function remove(kind: Kind, name: string): Promise<void> {
    await request("DELETE", `/${kind}s`, { query: { name } });
}
