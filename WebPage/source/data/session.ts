import { csrf, onSessionEnd, Problem, readPlain, request } from "./api";
import { Store } from "./store";

export type Role = "viewer" | "operator" | "engineer" | "admin";

export interface Session {
    user: string;
    role: Role;
    project: string;
}

/** `undefined` until the service has told whether there is one. */
export const session = new Store<Session | null | undefined>(undefined);
/** Why the way in is shown, where there is something to say. */
export const signInNote = new Store("");

const rights: Record<string, readonly Role[]> = {
    activate: ["operator", "engineer", "admin"],
    edit: ["engineer", "admin"],
    administer: ["admin"],
};

export function may(right: "activate" | "edit" | "administer"): boolean {
    const role = session.value?.role;
    return role !== undefined && (rights[right]?.includes(role) ?? false);
}

/** Goes on with the session of before, or begins one with the token of the link that the service printed. */
export async function begin(): Promise<void> {
    onSessionEnd(() => session.value !== null && leave("The session has ended. Sign in to go on."));
    addEventListener("storage", (event) => event.key === "ravik.csrf" && void followOtherTab());
    // The link may be opened in a tab that shows the page already.
    addEventListener("hashchange", () => tokenLink.test(location.hash) && void enter());
    await enter();
}

/** Another tab has signed in or out. Loaded anew, this one would lose what isn't saved. */
function followOtherTab(): Promise<void> {
    session.set(null);
    return enter();
}

async function enter(): Promise<void> {
    const token = tokenOfAddress();
    try {
        if (token) {
            await signIn({ token: decodeURIComponent(token) });
            return;
        }
        session.set(csrf.get() ? await readPlain<Session>("/session") : null);
    } catch (error) {
        const isOver = !(error instanceof Problem) || error.status === 401;
        if (token && isOver) {
            signInNote.set("This link has been used or is too old. Start the service again for another.");
        } else if (!isOver) {
            signInNote.set(error.message);
        }
        session.set(null);
    }
}

const tokenLink = /^#token=(.+)$/;

/** Taken out of the address at once, so that it stays in no history and no picture. */
function tokenOfAddress(): string {
    const token = tokenLink.exec(location.hash)?.[1] ?? "";
    if (token) {
        history.replaceState(history.state, "", location.pathname + location.search);
    }
    return token;
}

export async function signIn(proof: { user: string; password: string } | { token: string }): Promise<void> {
    csrf.clear();
    const answer = await request("POST", "/session", { text: JSON.stringify(proof) });
    const begun = JSON.parse(answer.text) as Session & { csrf: string };
    csrf.set(begun.csrf);
    signInNote.set("");
    session.set(begun);
}

export async function signOut(): Promise<void> {
    // Where the service can't be asked, forgetting the token ends the session for this browser all the same.
    await request("DELETE", "/session").catch(() => {});
    leave("");
}

/** Where the session is over or of no more use: back to the sign-in, with what is to be said there. */
export function leave(note: string): void {
    csrf.clear();
    signInNote.set(note);
    session.set(null);
}
