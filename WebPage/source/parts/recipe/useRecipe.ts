// A recipe that is looked at and perhaps edited, while others edit it too.
import { useEffect, useRef, useState } from "preact/hooks";
import { Problem, request } from "../../data/api";
import { counted } from "../Text";
import { keepDraft, takeDraft } from "../../data/drafts";
import { revision } from "../../data/live";
import { guardLeaving } from "../../data/router";
import { session } from "../../data/session";
import { useStore } from "../../data/store";
import { sayEdited } from "../EntryDialogs";
import { bookOf, readBook, withMembers } from "./book";
import type { Book } from "./book";
import { changeOf, withEdit } from "./edits";
import type { Edit, Edits } from "./edits";
import type { ValueRow } from "./rows";

export interface RecipeState {
    book: Book | undefined;
    error: unknown;
    /** It was deleted or renamed while it was looked at. */
    isGone: boolean;
    /** What somebody else saved while this one was being edited. */
    newer: Book | undefined;
    edits: Edits;
    /** The key of the row whose field is open. */
    key: string;
    /** What the service found wrong, by member. */
    refused: ReadonlyMap<string, string>;
    isSaving: boolean;
    saveError: unknown;
    /** Saving found that somebody else was faster. */
    isConflict: boolean;
    again: () => void;
    open: (key: string) => void;
    set: (row: ValueRow, edit: Edit | undefined) => void;
    discard: () => void;
    /** Goes on with other edits on top of what stands there now. */
    rebase: (now: Book, edits: Edits) => void;
    save: (book: Book, edits: Edits) => Promise<void>;
    look: (isLooking: boolean) => void;
}

interface Draft {
    book: Book;
    edits: Edits;
}

const draftKey = (name: string) => "recipe " + name;

export function useRecipe(name: string): RecipeState {
    const [draft] = useState(() => takeDraft<Draft>(draftKey(name)));
    const [book, setBook] = useState(draft?.book);
    const [edits, setEdits] = useState<Edits>(draft?.edits ?? new Map());
    const [newer, setNewer] = useState<Book>();
    const [isConflict, setIsConflict] = useState(false);
    const [key, setKey] = useState("");
    const [refused, setRefused] = useState<ReadonlyMap<string, string>>(new Map());
    const [isSaving, setIsSaving] = useState(false);
    const [saveError, setSaveError] = useState<unknown>();
    const [isGone, setIsGone] = useState(false);
    const [error, setError] = useState<unknown>();
    const [turn, setTurn] = useState(0);
    const { configuration } = useStore(revision);
    const latest = useRef({ book, edits, key });
    latest.current = { book, edits, key };

    /** What is being edited stays as it is; the rest is shown as it stands now. */
    const receive = (now: Book) => {
        const { book: shown, edits: mine, key: openKey } = latest.current;
        setError(undefined);
        setIsGone(false);
        if (shown && shown.etag !== now.etag && (mine.size > 0 || openKey !== "")) {
            setNewer(now);
        } else {
            setBook(now);
            setNewer(undefined);
        }
    };
    const fail = (reason: unknown) => {
        const isMissing = reason instanceof Problem && reason.status === 404 && latest.current.book !== undefined;
        return isMissing ? setIsGone(true) : setError(reason);
    };
    useEffect(() => {
        const abort = new AbortController();
        readBook(name, abort.signal).then(
            (now) => abort.signal.aborted || receive(now),
            (reason: unknown) => abort.signal.aborted || fail(reason),
        );
        return () => abort.abort();
    }, [name, configuration, turn]);
    useGuard(name, latest);
    useEffect(() => {
        if (newer && edits.size === 0 && key === "") {
            rebase(newer, edits);
        }
    }, [newer, edits, key]);

    const rebase = (now: Book, rest: Edits) => {
        setBook(now);
        setEdits(rest);
        setNewer(undefined);
        setIsConflict(false);
        setRefused(new Map());
        setSaveError(undefined);
    };
    const save = async (base: Book, sent: Edits) => {
        rebase(base, sent);
        setIsSaving(true);
        setKey("");
        try {
            const { method, body } = changeOf(base, sent);
            const type = method === "PATCH" ? "application/merge-patch+json" : "application/json";
            const answer = await request(method, "/recipe", {
                query: { name },
                body,
                type,
                headers: { "If-Match": base.etag },
            });
            const now = await readBook(name);
            // What was typed meanwhile is still to be saved.
            rebase(now, new Map([...latest.current.edits].filter(([member, edit]) => sent.get(member) !== edit)));
            sayEdited(`${counted(sent.size, "change")} saved.`, answer.text);
        } catch (reason) {
            await refuse(reason).catch(setSaveError);
        }
        setIsSaving(false);
    };
    const refuse = async (reason: unknown) => {
        const current = reason instanceof Problem ? reason.members.get("current") : undefined;
        if (reason instanceof Problem && reason.status === 412 && current !== null) {
            const now =
                current instanceof Map ? await withMembers(bookOf(name, reason.etag, current)) : await readBook(name);
            setNewer(now);
            setIsConflict(true);
            return;
        }
        setRefused(reason instanceof Problem ? refusedOf(reason) : new Map());
        setSaveError(reason);
        if (reason instanceof Problem && (reason.status === 404 || current === null)) {
            setIsGone(true);
        }
    };
    const set = ({ member, stored }: ValueRow, edit: Edit | undefined) => {
        setEdits((before) => withEdit(before, member.name, stored, edit));
        setRefused((before) =>
            before.has(member.name) ? new Map([...before].filter(([each]) => each !== member.name)) : before,
        );
    };
    const discard = () => {
        setKey("");
        rebase(newer ?? book!, new Map());
    };
    return {
        book,
        error,
        isGone,
        newer,
        edits,
        key,
        refused,
        isSaving,
        saveError,
        isConflict,
        open: setKey,
        set,
        discard,
        rebase,
        save,
        again: () => setTurn(turn + 1),
        look: setIsConflict,
    };
}

/** Asks before unsaved edits are left, and keeps them where the session ended. */
function useGuard(name: string, latest: { current: { book: Book | undefined; edits: Edits } }): void {
    useEffect(() => {
        const user = session.value?.user ?? "";
        const lift = guardLeaving(() => {
            const { size } = latest.current.edits;
            return size === 0
                ? ""
                : `${counted(size, "change")} of ${name} ${size === 1 ? "is" : "are"} not saved. Leave all the same?`;
        });
        return () => {
            lift();
            const { book, edits } = latest.current;
            if (book && edits.size > 0) {
                keepDraft(draftKey(name), user, { book, edits });
            }
        };
    }, [name]);
}

/** The members that a refusal is about. */
function refusedOf(problem: Problem): Map<string, string> {
    return new Map(
        problem.errors.flatMap(({ pointer, detail }) => {
            const member = /^\/values\/([^/]+)/.exec(pointer)?.[1]?.replaceAll("~1", "/").replaceAll("~0", "~");
            return member === undefined ? [] : [[member, detail.replace(` [${member}]`, "")] as const];
        }),
    );
}
