// What the rows of a plan and of an outcome come to.
import type { Outcome } from "../../data/activation";
import { shown } from "../../data/json";
import type { Row } from "../../data/shapes";
import { counted } from "../Text";

/** Those of a plan that an activation writes; others are there to say that it doesn't. */
const planned = new Set(["differs", "same", "unread"]);

export function countOf(rows: readonly Row[], state: string): number {
    return rows.filter((row) => row.state === state).length;
}

export function toBeWritten(rows: readonly Row[]): Row[] {
    return rows.filter(({ state }) => planned.has(state));
}

/** The controllers that they go to. */
/** Where the rows are written: the domains of controllers, the server's own last. */
export function domainsOf(rows: readonly Row[]): string[] {
    const names = new Set(rows.map(({ domain }) => domain));
    return names.delete("RavikSrv") ? [...names, "the server"] : [...names];
}

const planOrder = ["unread", "failed", "not tried", "not written", "differs", "same"];
const outcomeOrder = ["failed", "planned", "differs", "not tried", "not written", "written", "verified"];

export function ordered(rows: readonly Row[], isOutcome: boolean): Row[] {
    const order = isOutcome ? outcomeOrder : planOrder;
    return [...rows].sort((one, other) => order.indexOf(one.state) - order.indexOf(other.state));
}

/** Written, and not known to stand: the controller could not be asked again. */
function isDoubtful(row: Row): boolean {
    return row.state === "written" && row.text !== "";
}

export function standsAsAsked(row: Row): boolean {
    return row.state === "verified" || (row.state === "written" && !isDoubtful(row));
}

export interface Verdict {
    kind: "good" | "info" | "warn" | "bad";
    title: string;
    /** Whether the title begins with the recipe's name. */
    isNamed?: boolean;
    /** What else has to be known, each a sentence. */
    more: string[];
}

/** The rows tell all of it. */
const longestText = 300;

/** Good only where everything was done as asked and read back. */
export function verdictOf({ outcome, rows, text, isRemembered, isVerified }: Outcome): Verdict {
    const total = counted(rows.length, "value");
    const verified = countOf(rows, "verified");
    const told = text.length > longestText ? text.slice(0, longestText) + " …" : text;
    const more = [isRemembered ? "" : "The history knows nothing of it.", told, ...remarks(rows)];
    if (outcome === "begun") {
        return {
            kind: "bad",
            title: "The service ended in the middle. What was written is not known.",
            more: [lookAgain],
        };
    }
    const isWhole = rows.every(standsAsAsked);
    const kind = !isWhole ? "bad" : outcome !== "done" ? "warn" : verified > 0 && isVerified ? "good" : "info";
    if (isWhole && verified === rows.length) {
        return { kind, isNamed: true, title: ` stands in the controllers: ${verified} of ${total}.`, more };
    }
    const isUnseen = isWhole && verified === 0;
    const title = isUnseen
        ? `${total} written. Nobody looked whether the controllers kept them.`
        : `${verified} of ${total} stand as asked.`;
    return { kind, title, more };
}

const lookAgain = "Look at the plan again: it reads what the controllers hold now.";

function remarks(rows: readonly Row[]): string[] {
    const untried = countOf(rows, "not tried");
    const doubtful = rows.filter(isDoubtful).length;
    const verified = countOf(rows, "verified");
    const unchecked = verified > 0 || untried > 0 ? countOf(rows, "written") - doubtful : 0;
    return [
        countOf(rows, "failed") > 0
            ? "What failed may have arrived all the same, where only the controller's answer was lost."
            : "",
        untried > 0 ? `${valuesWere(untried)} not tried, and so not written.` : "",
        doubtful > 0 ? `${valuesWere(doubtful)} written and could not be read back.` : "",
        unchecked > 0 ? `${valuesWere(unchecked)} written and not read back.` : "",
    ];
}

function valuesWere(count: number): string {
    return counted(count, "value was", "values were");
}

/** A table for a spreadsheet or a message. */
export function tabSeparated(rows: readonly Row[]): string {
    const head = ["Symbol", "Controller", "Member", "Before", "Asked for", "After", "State", "Text"];
    const lines = rows.map(({ symbol, domain, member, before, value, after, state, text }) =>
        [symbol, domain, member, shown(before), shown(value), shown(after), state, text].map(oneCell),
    );
    return [head, ...lines].map((cells) => cells.join("\t")).join("\n") + "\n";
}

function oneCell(text: string): string {
    return text.replace(/[\t\r\n]+/g, " ");
}
