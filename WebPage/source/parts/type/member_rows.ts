// The members of a type as rows: the inherited ones, as the service resolves them, and its own, as they are edited.
import { errorText, readExact } from "../../data/api";
import { rows } from "../../data/json";
import type { Json, JsonObject } from "../../data/json";
import { revision } from "../../data/live";
import type { Input, Member } from "../../data/shapes";
import { useStore } from "../../data/store";
import { inputOf, symbolOf, symbols } from "../../data/symbols";
import { marksOf, memberOf, membersOf } from "../../data/type_entry";
import type { Mark } from "../../data/type_entry";
import { useAnswer } from "../../data/useAnswer";

export interface MemberRow {
    name: string;
    /** The type that it is inherited from; empty for the type's own. */
    from: string;
    symbol: string;
    /** Undefined where that isn't known yet. */
    isMapped: boolean | undefined;
    nestedType: string;
    value: Json | undefined;
    isEnabled: boolean;
    input: Input;
    mark: Mark;
    /** What is wrong with it. */
    mistake: string;
}

export interface Resolved {
    own: ReadonlyMap<string, Member>;
    inherited: Member[];
    /** Types that can't be inherited from, and why. */
    mistakes: string[];
}

/** What the service knows of the members of a type, and of those that it would inherit from `parents`. */
export function useResolved(name: string, parents: readonly string[]): Resolved {
    const { configuration } = useStore(revision);
    const { answer } = useAnswer(
        async (signal) => {
            const read = async (type: string) =>
                rows<Member>((await readExact("/members", { type }, signal)).get("members"));
            const mistakes: string[] = [];
            const told = await Promise.all(
                [name, ...parents].map((type, index) =>
                    read(type).catch((error: unknown) => {
                        if (index > 0) {
                            mistakes.push(`${type}: ${errorText(error)}`);
                        }
                        return [];
                    }),
                ),
            );
            const own = new Map(told[0]!.filter(({ type }) => type === name).map((member) => [member.name, member]));
            return { own, inherited: told.slice(1).flat(), mistakes };
        },
        [name, parents.join("\n"), configuration],
    );
    return answer ?? nothing;
}

const nothing: Resolved = { own: new Map(), inherited: [], mistakes: [] };

export function memberRows(
    before: JsonObject,
    entry: JsonObject,
    resolved: Resolved,
    mistakes: ReadonlyMap<string, string>,
): MemberRow[] {
    const marks = marksOf(before, entry);
    const inherited = new Set(resolved.inherited.map(({ name }) => name));
    const ownRows = [...membersOf(entry).keys()].map((name) => {
        const mistake =
            mistakes.get(name) ?? (inherited.has(name) ? "inherited too, and values belong to that one" : "");
        return ownRow(name, memberOf(entry, name), resolved.own.get(name), marks.get(name) ?? "", mistake);
    });
    return [...resolved.inherited.map(inheritedRow), ...ownRows];
}

function inheritedRow(member: Member): MemberRow {
    return {
        name: member.name,
        from: member.type,
        symbol: member.symbol ?? "",
        isMapped: member.domain !== null,
        nestedType: member.nestedType ?? "",
        value: member.default,
        isEnabled: member.enabled,
        input: inputOf(member.input),
        mark: "",
        mistake: "",
    };
}

function ownRow(name: string, member: JsonObject, told: Member | undefined, mark: Mark, mistake: string): MemberRow {
    const symbol = textOf(member.get("symbol"));
    const nestedType = textOf(member.get("recipeType"));
    const isAsTold = told !== undefined && (told.symbol ?? "") === symbol;
    return {
        name,
        from: "",
        symbol,
        nestedType,
        value: member.get("defaultValue"),
        isEnabled: member.get("enabled") === true,
        mark,
        mistake,
        isMapped: isAsTold ? told.domain !== null : isMapped(symbol),
        input: isAsTold ? inputOf(told.input) : formOf(symbol, nestedType),
    };
}

export function textOf(value: Json | undefined): string {
    return typeof value === "string" ? value : "";
}

/** A member may be written to a place inside of a symbol. */
function rootOf(symbol: string): string {
    return symbol.split("::")[0]!;
}

/** Whether there is such a symbol; undefined where that isn't known. */
export function isMapped(symbol: string): boolean | undefined {
    return symbols.value.isRead ? symbolOf(rootOf(symbol)) !== undefined : undefined;
}

/** What a form has to know of a default value that nobody has told of yet. */
export function formOf(symbol: string, nestedType: string): Input {
    return symbolOf(symbol)?.input ?? (symbol === "" && nestedType !== "" ? nameForm : anyForm);
}

const nameForm: Input = { type: "string" };
const anyForm: Input = { type: "other" };
