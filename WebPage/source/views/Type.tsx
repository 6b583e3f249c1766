import { useEffect, useMemo, useState } from "preact/hooks";
import { Problem } from "../data/api";
import { readTypes, types, want } from "../data/recipes";
import { go, place } from "../data/router";
import { may } from "../data/session";
import { useStore } from "../data/store";
import { wantSymbols } from "../data/symbols";
import {
    isDisabled,
    marksOf,
    memberOf,
    membersOf,
    movedMember,
    parentsOf,
    withMember,
    withoutMember,
    withParents,
} from "../data/type_entry";
import { CopyDialog, DeleteDialog, RenameDialog } from "../parts/EntryDialogs";
import { SearchField } from "../parts/SearchField";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading, Notice } from "../parts/State";
import { EntryName, Link, Text, Time, Who, counted } from "../parts/Text";
import { Conflict } from "../parts/type/Conflict";
import { memberRows, useResolved } from "../parts/type/member_rows";
import type { MemberRow, Resolved } from "../parts/type/member_rows";
import { MemberDialog } from "../parts/type/MemberDialog";
import { MemberGrid } from "../parts/type/MemberGrid";
import { Parents } from "../parts/type/Parents";
import { RenameMember } from "../parts/type/RenameMember";
import { Saved } from "../parts/type/Saved";
import { Uses, useUses } from "../parts/type/Uses";
import { useSaveKey, useTypeDraft } from "../parts/type/useTypeDraft";
import type { TypeDraft } from "../parts/type/useTypeDraft";

export function Type() {
    const { query } = useStore(place);
    const name = query.get("name") ?? "";
    useEffect(() => want(readTypes, types), []);
    return name ? (
        <TypeOf key={name} name={name} />
    ) : (
        <Empty title="No type is named here.">
            <Link to="/types">To the types</Link>
        </Empty>
    );
}

function TypeOf({ name }: { name: string }) {
    const draft = useTypeDraft(name);
    const used = useUses(name);
    const parents = draft.entry ? parentsOf(draft.entry) : [];
    const resolved = useResolved(name, parents);
    const mayEdit = may("edit");
    useEffect(() => (mayEdit ? wantSymbols() : undefined), []);
    useSaveKey(draft.save);
    if (!draft.base || !draft.entry) {
        const { unread } = draft;
        return unread instanceof Problem && unread.status === 404 ? (
            <Empty title="There is no such type.">
                <Link to="/types">To the types</Link>
            </Empty>
        ) : unread !== undefined ? (
            <Failure error={unread} retry={draft.again} />
        ) : (
            <Loading what="the type" />
        );
    }
    const { base, entry } = draft;
    return (
        <section class="view fill type-view">
            <TypeHead name={name} draft={draft} />
            <Messages name={name} draft={draft} recipeCount={used.answer?.recipes ?? 0} mistakes={resolved.mistakes} />
            <div class="type-facts">
                <Parents
                    type={name}
                    names={parents}
                    onChange={mayEdit ? (names) => draft.set(withParents(entry, names)) : undefined}
                />
                <Uses type={name} used={used} />
            </div>
            <Members name={name} draft={draft} resolved={resolved} />
            {draft.conflict && (
                <Conflict
                    before={base.value}
                    theirs={draft.conflict}
                    mine={entry}
                    onGoOn={draft.goOn}
                    onClose={() => draft.goOn(base, entry)}
                />
            )}
        </section>
    );
}

function TypeHead({ name, draft }: { name: string; draft: TypeDraft }) {
    const changed = useStore(types).items.find((item) => item.name === name)?.changed;
    const note = changed && (
        <>
            Changed <Time of={changed.time} /> by <Who of={changed.who} />,{" "}
            <Link to="/record" query={{ id: String(changed.id) }}>
                record {changed.id}
            </Link>
        </>
    );
    return (
        <Head title={<EntryName name={name} />} note={note}>
            {may("edit") && <EntryActions name={name} isDirty={draft.isDirty} />}
            {may("edit") && draft.isDirty && (
                <button type="button" onClick={() => draft.base && draft.goOn(draft.base, draft.base.value)}>
                    Discard
                </button>
            )}
            {may("edit") && (
                <button
                    type="button"
                    class="primary"
                    disabled={!draft.isDirty || draft.isBusy}
                    title="Ctrl+S"
                    onClick={draft.save}
                >
                    Save
                </button>
            )}
        </Head>
    );
}

const dialogs = { rename: RenameDialog, copy: CopyDialog, delete: DeleteDialog };

function EntryActions({ name, isDirty }: { name: string; isDirty: boolean }) {
    const [opened, setOpened] = useState<keyof typeof dialogs>();
    const Opened = opened && dialogs[opened];
    const button = (title: string, which: keyof typeof dialogs) => (
        <button
            type="button"
            disabled={isDirty}
            title={isDirty ? "Save or discard the changes first." : undefined}
            onClick={() => setOpened(which)}
        >
            {title}
        </button>
    );
    return (
        <>
            {button("Rename …", "rename")}
            {button("Copy …", "copy")}
            {button("Delete …", "delete")}
            {Opened && (
                <Opened
                    kind="type"
                    list="types"
                    name={name}
                    onClose={() => setOpened(undefined)}
                    onDone={(newName) => (newName ? go("/type", { name: newName }) : go("/types"))}
                />
            )}
        </>
    );
}

function Messages({
    name,
    draft,
    recipeCount,
    mistakes,
}: {
    name: string;
    draft: TypeDraft;
    recipeCount: number;
    mistakes: string[];
}) {
    return (
        <>
            {draft.isOvertaken && (
                <Notice kind="warn">Somebody has saved this type since. Saving shows both, and nothing is lost.</Notice>
            )}
            {draft.entry && isDisabled(draft.entry) && (
                <Notice kind="warn">
                    This type is disabled as a whole: nothing of it is written to the controllers.
                </Notice>
            )}
            {mistakes.map((text) => (
                <Notice kind="warn">
                    <Text long>{text}</Text>
                </Notice>
            ))}
            {draft.unread !== undefined && <Failure error={draft.unread} retry={draft.again} />}
            {draft.refusal !== undefined && <Failure error={draft.refusal} />}
            {draft.edited && <Saved type={name} edited={draft.edited} recipeCount={recipeCount} />}
        </>
    );
}

function unsavedText({ base, entry }: TypeDraft): string {
    const marks = base && entry ? [...marksOf(base.value, entry).values()] : [];
    const parts = (["new", "changed", "removed"] as const)
        .map((mark) => ({ mark, count: marks.filter((each) => each === mark).length }))
        .filter(({ count }) => count > 0)
        .map(({ mark, count }) => `${counted(count, "member")} ${mark}`);
    return `not saved: ${parts.join(", ") || "the order or what it inherits from"}`;
}

function Members({ name, draft, resolved }: { name: string; draft: TypeDraft; resolved: Resolved }) {
    const [match, setMatch] = useState("");
    const [opened, setOpened] = useState<string>();
    const base = draft.base!.value;
    const entry = draft.entry!;
    const rows = useMemo(
        () => memberRows(base, entry, resolved, mistakesOf(draft.refusal)),
        [base, entry, resolved, draft.refusal],
    );
    const shown = useMemo(() => filtered(rows, match), [rows, match]);
    const edit = may("edit")
        ? { onOpen: setOpened, onMove: (member: string, by: number) => draft.set(movedMember(entry, member, by)) }
        : undefined;
    return (
        <>
            <div class="filters" role="search">
                <SearchField what="members" value={match} onInput={setMatch} />
                <p class="note members-count">
                    {counted(rows.length, "member")}, {rows.filter(({ from }) => from).length} inherited
                    {draft.isDirty && (
                        <span class="state warn mark">
                            <span aria-hidden="true">✎</span> {unsavedText(draft)}
                        </span>
                    )}
                </p>
                {edit && (
                    <button type="button" onClick={() => setOpened("")}>
                        Add a member …
                    </button>
                )}
            </div>
            <MemberGrid rows={shown} isFiltered={match !== ""} edit={edit} />
            {opened !== undefined && (
                <OpenedMember
                    type={name}
                    name={opened}
                    draft={draft}
                    rows={rows}
                    onClose={() => setOpened(undefined)}
                />
            )}
        </>
    );
}

function filtered(rows: MemberRow[], match: string): MemberRow[] {
    const text = match.toLowerCase();
    return text === ""
        ? rows
        : rows.filter(({ name, symbol, nestedType }) =>
              [name, symbol, nestedType].some((each) => each.toLowerCase().includes(text)),
          );
}

/** The service's mistakes, by the member that they stand in. */
function mistakesOf(error: unknown): ReadonlyMap<string, string> {
    const errors = error instanceof Problem ? error.errors : [];
    return new Map(
        errors.flatMap(({ pointer, detail }) => {
            const [, key, member] = pointer.split("/").map((part) => part.replaceAll("~1", "/").replaceAll("~0", "~"));
            return key === "members" && member !== undefined ? [[member, detail] as const] : [];
        }),
    );
}

interface OpenedMemberProps {
    type: string;
    name: string;
    draft: TypeDraft;
    rows: MemberRow[];
    onClose: () => void;
}

function OpenedMember({ type, name, draft, rows, onClose }: OpenedMemberProps) {
    const [isRenaming, setIsRenaming] = useState(false);
    const entry = draft.entry!;
    const row = rows.find((each) => each.from === "" && each.name === name);
    const member = memberOf(entry, name);
    const change = (changed: typeof entry) => {
        draft.set(changed);
        onClose();
    };
    return isRenaming ? (
        <RenameMember type={type} name={name} member={member} onClose={onClose} onDone={draft.again} />
    ) : (
        <MemberDialog
            name={name}
            member={member}
            input={row?.input ?? {}}
            mistake={row?.mistake ?? ""}
            onClose={onClose}
            isTaken={(each) => membersOf(entry).has(each)}
            isInherited={(each) => rows.some((other) => other.from !== "" && other.name === each)}
            onDone={(newName, made) => change(withMember(entry, newName, made))}
            onRemove={() => change(withoutMember(entry, name))}
            onRename={draft.isDirty ? undefined : () => setIsRenaming(true)}
        />
    );
}
