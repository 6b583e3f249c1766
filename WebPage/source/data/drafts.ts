// Edits of a session that ended by itself; they go on when the same user has signed in again.
import { session } from "./session";

const drafts = new Map<string, { user: string; draft: unknown }>();

/** Called when a view is left: keeps what it holds of the user, unless that one is still signed in. */
export function keepDraft(key: string, user: string, draft: unknown): void {
    if (!session.value) {
        drafts.set(key, { user, draft });
    }
}

/** What was kept for the user who is signed in, and is kept no longer. */
export function takeDraft<T>(key: string): T | undefined {
    const kept = drafts.get(key);
    drafts.delete(key);
    return kept?.user === session.value?.user ? (kept?.draft as T | undefined) : undefined;
}
