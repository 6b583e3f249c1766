import { useCallback, useEffect, useRef, useState } from "preact/hooks";
import { Problem, readEntry, request } from "../../data/api";
import type { Entry } from "../../data/api";
import { isSame, write } from "../../data/json";
import type { JsonObject } from "../../data/json";
import { keepDraft, takeDraft } from "../../data/drafts";
import { revision } from "../../data/live";
import { guardLeaving } from "../../data/router";
import { session } from "../../data/session";
import { useStore } from "../../data/store";
import { useAnswer } from "../../data/useAnswer";

/** What an edit has done besides. */
export interface Edited {
    written: string[];
    removed: string[];
    warnings: { path?: string; text: string }[];
}

export interface TypeDraft {
    /** As it stands; undefined until it is read. */
    base: Entry | undefined;
    entry: JsonObject | undefined;
    isDirty: boolean;
    /** Somebody else has saved it since what is edited here was read. */
    isOvertaken: boolean;
    isBusy: boolean;
    /** Why it can't be read. */
    unread: unknown;
    /** Why it wasn't saved. */
    refusal: unknown;
    /** What stands there where somebody was faster. */
    conflict: Entry | undefined;
    edited: Edited | undefined;
    set: (entry: JsonObject) => void;
    save: () => void;
    /** Goes on with another state of the entry as what is edited. */
    goOn: (base: Entry, entry: JsonObject) => void;
    again: () => void;
}

interface State {
    base: Entry;
    entry: JsonObject;
}

/** A type that is edited here; saved as a whole, and only over what was read. */
export function useTypeDraft(name: string): TypeDraft {
    const { configuration } = useStore(revision);
    const asked = useAnswer((signal) => readEntry("type", name, signal), [name, configuration]);
    const [state, setState] = useState(() => takeDraft<State>("type " + name));
    const [refusal, setRefusal] = useState<unknown>();
    const [conflict, setConflict] = useState<Entry>();
    const [edited, setEdited] = useState<Edited>();
    const [isBusy, setIsBusy] = useState(false);
    const isDirty = state !== undefined && !isSame(state.entry, state.base.value);
    // What was read before it was saved here is old news.
    const latest = useRef(asked.answer);
    const taken = useRef<Entry | undefined>(undefined);
    latest.current = asked.answer;
    const goOn = useCallback((base: Entry, entry: JsonObject) => {
        taken.current = latest.current;
        setState({ base, entry });
        setConflict(undefined);
        setRefusal(undefined);
    }, []);
    useEffect(() => {
        if (asked.answer && asked.answer !== taken.current && !isDirty && !isBusy) {
            taken.current = asked.answer;
            setState({ base: asked.answer, entry: asked.answer.value });
        }
    }, [asked.answer, isDirty, isBusy]);
    useUnsaved(name, isDirty ? state : undefined);
    const save = async () => {
        if (!state || !isDirty || isBusy) {
            return;
        }
        setIsBusy(true);
        setRefusal(undefined);
        setEdited(undefined);
        try {
            const headers = { "If-Match": state.base.etag };
            const answer = await request("PUT", "/type", { query: { name }, text: write(state.entry), headers });
            goOn({ name, etag: answer.etag, value: state.entry }, state.entry);
            asked.again();
            setEdited(JSON.parse(answer.text) as Edited);
        } catch (reason) {
            const current =
                reason instanceof Problem && reason.status === 412 ? reason.members.get("current") : undefined;
            if (current instanceof Map) {
                setConflict({ name, etag: (reason as Problem).etag, value: current });
            } else {
                setRefusal(reason);
            }
        }
        setIsBusy(false);
    };
    return {
        base: state?.base,
        entry: state?.entry,
        isDirty,
        isBusy,
        conflict,
        edited,
        goOn,
        isOvertaken:
            isDirty &&
            !isBusy &&
            asked.answer !== undefined &&
            asked.answer !== taken.current &&
            asked.answer.etag !== state.base.etag,
        unread: asked.error,
        refusal,
        again: asked.again,
        save: () => void save(),
        set: (entry) => state && (setState({ ...state, entry }), setEdited(undefined)),
    };
}

/** Whoever leaves with unsaved edits is asked, and they are kept where the session ended. */
function useUnsaved(name: string, edited: State | undefined): void {
    const current = useRef(edited);
    current.current = edited;
    useEffect(() => {
        const user = session.value?.user ?? "";
        const lift = guardLeaving(() => (current.current ? "The type has unsaved changes. Leave without them?" : ""));
        return () => {
            lift();
            if (current.current) {
                keepDraft("type " + name, user, current.current);
            }
        };
    }, []);
}

/** Ctrl+S, unless a dialog is open. */
export function useSaveKey(save: () => void): void {
    const current = useRef(save);
    current.current = save;
    useEffect(() => {
        const onKey = (event: KeyboardEvent) => {
            if (event.key.toLowerCase() === "s" && (event.ctrlKey || event.metaKey) && !event.altKey) {
                event.preventDefault();
                if (!document.querySelector("dialog[open]")) {
                    current.current();
                }
            }
        };
        addEventListener("keydown", onKey);
        return () => removeEventListener("keydown", onKey);
    }, []);
}
